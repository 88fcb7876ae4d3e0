#include "grab/acquisition.h"

#include <algorithm>
#include <exception>
#include <utility>

#include "genapi/description.h"
#include "genapi/value_text.h"

namespace zevo_tool
{

namespace
{

constexpr std::uint64_t kNanosecondsPerSecond = 1'000'000'000;

std::string FirstStream(const Device& device)
{
    const std::vector<std::string> ids = device.StreamIds();
    if (ids.empty())
        throw Failure("the camera has no data stream");
    return ids.front();
}

std::unique_ptr<FeatureMap> DescribeStream(GenTLPort& port)
{
    try {
        return std::make_unique<FeatureMap>(port, FetchDescription(port));
    } catch (const Failure&) {
        return nullptr;
    }
}

Nanoseconds ToNanoseconds(std::uint64_t ticks, std::uint64_t tickRate)
{
    return ticks / tickRate * kNanosecondsPerSecond +
           ticks % tickRate * kNanosecondsPerSecond / tickRate;
}

} // namespace

Acquisition::Acquisition(const Device& device, const FeatureMap& camera, std::size_t buffers)
    : producer_(device.Library()), camera_(camera), stream_(device, FirstStream(device)),
      streamPort_(producer_, stream_.Handle()), streamFeatures_(DescribeStream(streamPort_)),
      tickRate_(InfoNumber(device.Infos(), DEVICE_INFO_TIMESTAMP_FREQUENCY).value_or(0))
{
    if (tickRate_ == 0)
        tickRate_ = kNanosecondsPerSecond;
    try {
        SetLocked(true);
        Announce(buffers);
        Start();
    } catch (...) {
        Release();
        throw;
    }
}

Acquisition::~Acquisition()
{
    Release();
}

std::size_t Acquisition::PayloadSize() const
{
    const InfoQuery infos = stream_.Infos();
    if (InfoNumber(infos, STREAM_INFO_DEFINES_PAYLOADSIZE).value_or(0) != 0)
        if (const auto size = InfoNumber(infos, STREAM_INFO_PAYLOAD_SIZE); size && *size > 0)
            return *size;
    const auto size = ParseInteger(camera_.Find("PayloadSize").Value());
    if (!size || *size <= 0)
        throw Failure("the camera doesn't tell the size of its frames");
    return static_cast<std::size_t>(*size);
}

void Acquisition::Announce(std::size_t buffers)
{
    const std::size_t size = PayloadSize();
    const std::size_t number = std::max<std::size_t>(
        buffers, InfoNumber(stream_.Infos(), STREAM_INFO_BUF_ANNOUNCE_MIN).value_or(1));
    while (buffers_.size() < number) {
        BUFFER_HANDLE buffer = GENTL_INVALID_HANDLE;
        producer_.Check("DSAllocAndAnnounceBuffer", producer_->DSAllocAndAnnounceBuffer(
                                                        stream_.Handle(), size, nullptr, &buffer));
        buffers_.push_back(buffer);
        producer_.Check("DSQueueBuffer", producer_->DSQueueBuffer(stream_.Handle(), buffer));
    }
}

void Acquisition::Start()
{
    producer_.Check("GCRegisterEvent",
                    producer_->GCRegisterEvent(stream_.Handle(), EVENT_NEW_BUFFER, &event_));
    // A stream whose start has failed may still want to be stopped.
    isStreamRunning_ = true;
    producer_.Check(
        "DSStartAcquisition",
        producer_->DSStartAcquisition(stream_.Handle(), ACQ_START_FLAGS_DEFAULT, GENTL_INFINITE));
    camera_.Find("AcquisitionStart").Execute();
    isCameraRunning_ = true;
}

std::optional<Frame> Acquisition::Next(std::chrono::milliseconds timeout)
{
    EVENT_NEW_BUFFER_DATA data{};
    std::size_t size = sizeof data;
    const GC_ERROR result =
        producer_->EventGetData(event_, &data, &size, static_cast<std::uint64_t>(timeout.count()));
    if (result == GC_ERR_TIMEOUT)
        return std::nullopt;
    producer_.Check("EventGetData", result);
    return Describe(data.BufferHandle);
}

Frame Acquisition::Describe(BUFFER_HANDLE buffer) const
{
    const InfoQuery infos = stream_.BufferInfos(buffer);
    const auto number = [&](std::int32_t command, std::uint64_t fallback = 0) {
        return InfoNumber(infos, command).value_or(fallback);
    };
    Frame frame{};
    frame.buffer = buffer;
    frame.isIncomplete = number(BUFFER_INFO_IS_INCOMPLETE) != 0;
    if (frame.isIncomplete)
        return frame;
    frame.timestamp = InfoNumber(infos, BUFFER_INFO_TIMESTAMP_NS);
    if (!frame.timestamp)
        if (const auto ticks = InfoNumber(infos, BUFFER_INFO_TIMESTAMP))
            frame.timestamp = ToNanoseconds(*ticks, tickRate_);
    const std::uint64_t size = number(BUFFER_INFO_SIZE_FILLED, number(BUFFER_INFO_SIZE));
    const std::uint64_t offset = std::min(number(BUFFER_INFO_IMAGEOFFSET), size);
    const void* base = InfoPointer(infos, BUFFER_INFO_BASE);
    if (base == nullptr)
        throw Failure("the producer doesn't tell where the frame's data is");
    frame.image.pixelFormat = number(BUFFER_INFO_PIXELFORMAT);
    frame.image.width = number(BUFFER_INFO_WIDTH);
    frame.image.height = number(BUFFER_INFO_DELIVERED_IMAGEHEIGHT, number(BUFFER_INFO_HEIGHT));
    frame.image.linePadding = number(BUFFER_INFO_XPADDING);
    frame.image.data = static_cast<const std::uint8_t*>(base) + offset;
    frame.image.size = size - offset;
    return frame;
}

void Acquisition::GiveBack(const Frame& frame)
{
    producer_.Check("DSQueueBuffer", producer_->DSQueueBuffer(stream_.Handle(), frame.buffer));
}

void Acquisition::Stop()
{
    if (std::exchange(isCameraRunning_, false))
        camera_.Find("AcquisitionStop").Execute();
    if (std::exchange(isStreamRunning_, false))
        producer_.Check("DSStopAcquisition",
                        producer_->DSStopAcquisition(stream_.Handle(), ACQ_STOP_FLAGS_DEFAULT));
    SetLocked(false);
}

std::uint64_t Acquisition::Lost()
{
    if (streamFeatures_)
        if (const auto feature = streamFeatures_->TryFind("StreamLostFrameCount"))
            if (const auto count = ParseInteger(feature->Value()); count && *count >= 0)
                return static_cast<std::uint64_t>(*count);
    return InfoNumber(stream_.Infos(), STREAM_INFO_NUM_UNDERRUN).value_or(0);
}

/// A camera that has the feature refuses changes of the image's size from here on.
void Acquisition::SetLocked(bool isLocked) const
{
    if (const auto feature = camera_.TryFind("TLParamsLocked"))
        feature->Set(isLocked ? "1" : "0", Checking::SyntaxOnly);
}

void Acquisition::Release() noexcept
{
    try {
        Stop();
    } catch (const std::exception&) {
        // On the way out of a failure that has been told already.
    }
    if (isStreamRunning_)
        producer_->DSStopAcquisition(stream_.Handle(), ACQ_STOP_FLAGS_KILL);
    if (event_ != GENTL_INVALID_HANDLE)
        producer_->GCUnregisterEvent(stream_.Handle(), EVENT_NEW_BUFFER);
    producer_->DSFlushQueue(stream_.Handle(), ACQ_QUEUE_ALL_DISCARD);
    for (BUFFER_HANDLE buffer : buffers_)
        producer_->DSRevokeBuffer(stream_.Handle(), buffer, nullptr, nullptr);
}

} // namespace zevo_tool
