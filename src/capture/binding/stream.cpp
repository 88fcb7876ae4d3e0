#include "capture/binding/stream.h"

#include <algorithm>
#include <cstdio>

#include <boost/make_shared.hpp>

#include "base/last_error.h"
#include "registers/space/register_data.h"
#include "trace/gentl_trace.h"

namespace GenTLProducer
{

namespace
{

using V4lX::Result;

constexpr std::uint64_t kLostFrameCount = 0xA10; // StatisticBufferUnderrunCount_Reg

// Codes of the grabber that have an error of their own in GenTL; some only exist in its sources.
GC_ERROR errorOf(Result code)
{
    switch (static_cast<std::uint32_t>(code)) {
    case 5:
        return GC_ERR_TIMEOUT;
    case 6:
    case 7:
        return GC_ERR_NOT_AVAILABLE;
    default:
        return GC_ERR_ERROR;
    }
}

// Stores a failure of the grabber for the consumer, in words; 0 for a success.
GC_ERROR report(Result code, const char* words)
{
    if (code == Result::Success)
        return GC_ERR_SUCCESS;
    char text[128];
    std::snprintf(text, sizeof text, "%s (V4lXApi call failed with error code 0x%x)", words,
                  static_cast<unsigned>(code));
    GENTL_TRACE(kTraceStream, 1, "%s", text);
    SetLastError(errorOf(code), text);
    return kErrorAlreadyStored;
}

std::uint32_t errorCode(Result code)
{
    return static_cast<std::uint32_t>(code);
}

StreamBuffer& streamBuffer(CDefaultStreamBuffer& buffer)
{
    return static_cast<StreamBuffer&>(buffer);
}

} // namespace

Stream::Stream(InfoPtr streamInfo, Handle parent, V4lX::IStreamGrabber* grabber,
               const IPort* remotePort)
    : CDefaultStream(std::move(streamInfo), parent), grabber_(grabber), remotePort_(remotePort),
      wakePipe_(PipeEvent::Create())
{
}

Stream::~Stream()
{
    Stream::Close();
}

GC_ERROR Stream::Open()
{
    const Lock lock(mutex_);
    if (const GC_ERROR result = CDefaultStream::Open(); result != GC_ERR_SUCCESS)
        return result;
    if (!grabber_ || !remotePort_ || !wakePipe_)
        return GC_ERR_ERROR;
    if (const GC_ERROR result = report(grabber_->Open(), "Failed to open the stream");
        result != GC_ERR_SUCCESS)
        return result;
    grabber_->SetBufferAvailable(this);
    registers_.Declare64(kLostFrameCount, kReadOnly, 0, this);
    return GC_ERR_SUCCESS;
}

void Stream::Close()
{
    const Lock lock(mutex_);
    if (state_ == State::Closed)
        return;
    // The capture ends before any buffer goes: no frame may arrive in freed memory.
    if (grabber_) {
        FinishCapturing();
        ForgetBuffers();
    }
    state_ = State::Closed;
    CDefaultStream::Close();
    if (grabber_) {
        grabber_->SetBufferAvailable(nullptr);
        grabber_->Close();
    }
}

// Takes the buffers out of the grabber, which outlives the stream.
void Stream::ForgetBuffers()
{
    grabber_->TakeBackBuffers();
    for (const QueueId id : {kUnqueued, kInput, kToFill, kOutput}) {
        for (CQueueableStreamBuffer* element = GetQueue(id).head(); element;
             element = element->next())
            grabber_->DeregisterBuffer(streamBuffer(BufferOf(*element)).grabberHandle(), nullptr);
    }
}

void Stream::CreatePortInfo()
{
    SetPortInfo({CDefaultPortInfo::Endianness::Big, kStreamPortId, "TLDataStream", "StreamPort",
                 "Tolmen", "ZEVO", "2.0.0", "Custom", "Tolmen ZEVO GenTL Producer"});
}

void Stream::OnBufferAvailable() noexcept
{
    wakePipe_->Signal();
}

bool Stream::OnRegisterRead(std::uint64_t address, std::uint32_t* pUiRegisterData,
                            std::size_t uiRegisterDataSize)
{
    if (address != kLostFrameCount)
        return CDefaultStream::OnRegisterRead(address, pUiRegisterData, uiRegisterDataSize);
    underrun_ = grabber_->GetLostFrameCount();
    WriteRegisterValue(pUiRegisterData, uiRegisterDataSize, underrun_);
    return true;
}

Stream::BufferPtr Stream::LowLevelCreateBuffer(std::size_t index)
{
    return boost::make_shared<StreamBuffer>(index, GetHandle());
}

// ---- Capture ---------------------------------------------------------------------------------

GC_ERROR Stream::LowLevelPrepareCapture()
{
    if (state_ > State::Idle)
        return GC_ERR_SUCCESS;
    const GC_ERROR result = report(grabber_->prepareCapturing(), "Failed to prepare capturing");
    if (result == GC_ERR_SUCCESS)
        state_ = State::Prepared;
    return result;
}

GC_ERROR Stream::LowLevelStartCapture()
{
    if (state_ != State::Prepared)
        return GC_ERR_ERROR;
    // Capturing even after a failure: a stop then takes down what had been started.
    const GC_ERROR result = report(grabber_->startCapturing(), "Failed to start capturing");
    state_ = State::Capturing;
    return result;
}

void Stream::FinishCapturing()
{
    if (grabber_->IsPrepared())
        report(grabber_->finishCapturing(), "Failed to finish capturing");
}

GC_ERROR Stream::LowLevelStopCapture()
{
    if (state_ < State::Prepared)
        return GC_ERR_ERROR;
    if (state_ > State::Prepared) {
        state_ = State::Prepared;
        FinishCapturing();
        LowLevelUpdateQueues();
    }
    MoveQueues(kToFill, kInput);
    wakePipe_->Clear();
    return GC_ERR_SUCCESS;
}

GC_ERROR Stream::LowLevelUnprepare()
{
    if (state_ > State::Idle) {
        state_ = State::Idle;
        FinishCapturing();
        LowLevelUpdateQueues();
        MoveQueues(kToFill, kInput);
    }
    return GetQueue(kToFill).empty() ? GC_ERR_SUCCESS : GC_ERR_ERROR;
}

// ---- Buffers ---------------------------------------------------------------------------------

GC_ERROR Stream::LowLevelRegisterBuffer(CDefaultStreamBuffer& buffer)
{
    std::uint64_t handle = 0;
    const GC_ERROR result =
        report(grabber_->RegisterBuffer(buffer.GetData(), buffer.size(), &handle),
               "Failed to register buffer");
    if (result == GC_ERR_SUCCESS)
        streamBuffer(buffer).setGrabberHandle(handle);
    return result;
}

GC_ERROR Stream::LowLevelDeregisterBuffer(CDefaultStreamBuffer& buffer)
{
    const GC_ERROR result =
        report(grabber_->DeregisterBuffer(streamBuffer(buffer).grabberHandle(), nullptr),
               "Failed to deregister buffer");
    if (result == GC_ERR_SUCCESS)
        streamBuffer(buffer).setGrabberHandle(0);
    return result;
}

GC_ERROR Stream::LowLevelQueueBuffer(CDefaultStreamBuffer& buffer)
{
    TraceQueues("LowLevelQueueBuffer");
    if (state_ < State::Prepared) {
        GENTL_TRACE(kTraceStream, 3, "Implicit prepare grab");
        if (const GC_ERROR result = LowLevelPrepareCapture(); result != GC_ERR_SUCCESS)
            return result;
    }
    // A payload set since the preparation doesn't change what the running capture delivers.
    const std::size_t needed =
        std::max(grabber_->GetPayloadSize(), grabber_->GetPreparedPayloadSize());
    if (buffer.size() < needed) {
        buffer.MarkIncomplete(errorCode(Result::BufferTooSmall));
        GetQueue(kOutput).Append(buffer);
        return GC_ERR_BUFFER_TOO_SMALL;
    }
    buffer.Reset();
    const GC_ERROR result = report(grabber_->QueueBuffer(streamBuffer(buffer).grabberHandle(), 0),
                                   "Failed to queue buffer");
    if (result == GC_ERR_SUCCESS)
        GetQueue(kToFill).Append(buffer);
    return result;
}

GC_ERROR Stream::LowLevelFlushToFill(QueueId destination)
{
    if (destination == kToFill)
        return GC_ERR_SUCCESS;
    // Back from the grabber first, so that no frame finishes behind the fetch.
    StreamQueue& toFill = GetQueue(kToFill);
    GC_ERROR result = GC_ERR_SUCCESS;
    if (!toFill.empty())
        grabber_->TakeBackBuffers();
    if (state_ > State::Prepared)
        result = FetchResults(destination);
    StreamQueue& target = GetQueue(destination);
    while (toFill.head()) {
        CDefaultStreamBuffer& buffer = BufferOf(*toFill.head());
        buffer.MarkIncomplete(errorCode(Result::Unfilled));
        target.Append(buffer);
    }
    return result;
}

GC_ERROR Stream::LowLevelUpdateQueues()
{
    TraceQueues("Queues before LowLevelUpdateQueues");
    if (state_ > State::Prepared) {
        if (const GC_ERROR result = FetchResults(kOutput); result != GC_ERR_SUCCESS)
            return result;
    }
    GC_ERROR result = GC_ERR_SUCCESS;
    if (state_ > State::Idle) {
        StreamQueue& input = GetQueue(kInput);
        [[maybe_unused]] const std::size_t waiting = input.count();
        for (int number = 1; input.head() && result == GC_ERR_SUCCESS; ++number) {
            GENTL_TRACE(kTraceStream, 3, "Queueing %d / %zu", number, waiting);
            result = LowLevelQueueBuffer(BufferOf(*input.head()));
        }
    }
    TraceQueues("Queues after LowLevelUpdateQueues");
    return result;
}

GC_ERROR Stream::FetchResults(QueueId destination)
{
    StreamQueue& target = GetQueue(destination);
    if (destination == kToFill || GetQueue(kToFill).empty())
        return GC_ERR_SUCCESS;
    // Empty once more behind the clear, so that a result which came in between keeps its wake-up.
    for (bool isCleared = false;;) {
        V4lX::GrabResult grabbed{};
        const Result code = grabber_->RetrieveBuffer(&grabbed, nullptr);
        if (code == Result::NoFrame) {
            if (isCleared)
                return GC_ERR_SUCCESS;
            wakePipe_->Clear();
            isCleared = true;
            continue;
        }
        if (code != Result::Success)
            return report(code, "retrieve buffer failed");
        isCleared = false;
        Deliver(grabbed, target);
    }
}

CDefaultStreamBuffer* Stream::FindToFill(std::uint64_t grabberHandle) const
{
    for (CQueueableStreamBuffer* element = GetQueue(kToFill).head(); element;
         element = element->next()) {
        if (streamBuffer(BufferOf(*element)).grabberHandle() == grabberHandle)
            return &BufferOf(*element);
    }
    return nullptr;
}

void Stream::Deliver(const V4lX::GrabResult& result, StreamQueue& destination)
{
    CDefaultStreamBuffer* const buffer = FindToFill(result.handle);
    if (!buffer)
        return; // of a buffer that was taken back meanwhile
    BufferFrame& frame = buffer->frame();
    if (result.error != Result::Success) {
        buffer->MarkIncomplete(errorCode(result.error));
        frame.newData = true;
        frame.imagePresent = true;
    } else {
        frame.newData = true;
        frame.incomplete = false;
        frame.imagePresent = true;
        frame.sizeFilled = result.size;
        frame.timestamp = result.timestamp;
        frame.width = result.width;
        frame.height = result.height;
        frame.offsetX = result.offsetX;
        frame.offsetY = result.offsetY;
        frame.paddingX = 0;
        frame.paddingY = 0;
        frame.frameId = result.frameId;
        frame.payloadType = PAYLOAD_TYPE_IMAGE;
        frame.pixelFormat = result.pixelFormat;
        frame.pixelFormatNamespace = PIXELFORMAT_NAMESPACE_PFNC_32BIT;
        frame.deliveredHeight = result.height;
    }
    destination.Append(*buffer);
}

void Stream::TraceQueues(const char* title) const
{
    GENTL_TRACE(kTraceQueues, 4, "%s", title);
    GENTL_TRACE(
        kTraceQueues, 4, "unqueued queue: %d input queue: %d to-fill queue: %d ouput queue: %d",
        static_cast<int>(GetQueue(kUnqueued).count()), static_cast<int>(GetQueue(kInput).count()),
        static_cast<int>(GetQueue(kToFill).count()), static_cast<int>(GetQueue(kOutput).count()));
}

} // namespace GenTLProducer
