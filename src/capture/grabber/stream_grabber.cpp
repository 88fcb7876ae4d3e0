#include "capture/grabber/stream_grabber.h"

#include <algorithm>
#include <cinttypes>
#include <new>

#include "base/signal_block.h"
#include "capture/grabber/pixel_format_table.h"
#include "image/copy_processing.h"
#include "trace/v4lx_trace.h"
#include "v4l2/error.h"
#include "v4l2/video_device.h"

namespace V4lX
{

namespace
{

constexpr std::uint32_t kBufferCount = 4;

std::unique_ptr<V4L2::IVideoDevice> makeVideoDevice(const std::string& path)
{
    return std::make_unique<V4L2::VideoDevice>(path);
}

void call(const std::function<void()>& hook)
{
    if (hook)
        hook();
}

} // namespace

StreamGrabber::StreamGrabber(std::string devicePath,
                             std::shared_ptr<IImageProcessing> imageProcessing,
                             CaptureNode::DeviceFactory makeDevice)
    : m_devicePath(std::move(devicePath)),
      m_imageProcessing(imageProcessing ? std::move(imageProcessing)
                                        : std::make_shared<CopyProcessing>()),
      m_makeDevice(makeDevice ? std::move(makeDevice) : makeVideoDevice),
      m_stopPipe(GenTLProducer::PipeEvent::Create())
{
}

StreamGrabber::~StreamGrabber()
{
    StreamGrabber::Close();
}

// --- settings

void StreamGrabber::SetWidth(std::uint32_t width)
{
    V4LX_TRACE(kTraceDetail, "%s: width=%u", "SetWidth", width);
    const Lock lock(m_mutex);
    m_geometry.width = width;
}

void StreamGrabber::SetHeight(std::uint32_t height)
{
    V4LX_TRACE(kTraceDetail, "%s: height=%u", "SetHeight", height);
    const Lock lock(m_mutex);
    m_geometry.height = height;
}

void StreamGrabber::SetOffsetX(std::uint32_t offsetX)
{
    V4LX_TRACE(kTraceDetail, "%s: offsetX=%u", "SetOffsetX", offsetX);
    const Lock lock(m_mutex);
    m_geometry.offsetX = offsetX;
}

void StreamGrabber::SetOffsetY(std::uint32_t offsetY)
{
    V4LX_TRACE(kTraceDetail, "%s: offsetY=%u", "SetOffsetY", offsetY);
    const Lock lock(m_mutex);
    m_geometry.offsetY = offsetY;
}

void StreamGrabber::SetPixelFormat(std::uint32_t pfncValue)
{
    V4LX_TRACE(kTraceDetail, "%s: pixelFormatPfncValue=0x%08x", "SetPixelFormat", pfncValue);
    const Lock lock(m_mutex);
    m_geometry.pixelFormatPfncValue = pfncValue;
}

void StreamGrabber::SetPayloadSize(std::size_t payloadSize)
{
    V4LX_TRACE(kTraceDetail, "%s: payloadSize=%zu", "SetPayloadSize", payloadSize);
    const Lock lock(m_mutex);
    m_geometry.payloadSize = payloadSize;
}

void StreamGrabber::SetScalingEnable(bool scalingEnable)
{
    V4LX_TRACE(kTraceDetail, "%s: scalingEnable=%d", "SetScalingEnable", scalingEnable);
    const Lock lock(m_mutex);
    m_geometry.scalingEnable = scalingEnable;
}

std::size_t StreamGrabber::GetPayloadSize() const
{
    const Lock lock(m_mutex);
    return m_geometry.payloadSize;
}

Result StreamGrabber::SetBufferAvailable(IBufferAvailable* handler)
{
    const Lock lock(m_mutex);
    m_bufferAvailable = handler;
    return Result::Success;
}

// --- the device

Result StreamGrabber::Open()
{
    std::unique_ptr<V4L2::IVideoDevice> device;
    {
        const Lock lock(m_mutex);
        m_queues.RestartHandles();
        device = CaptureNode::OpenDevice(m_devicePath, m_makeDevice);
    }
    if (!device)
        return Result::Failure;
    // Ends what the old device was doing, with the mutex free for the thread to end.
    Close();
    const Lock lock(m_mutex);
    m_node.Adopt(std::move(device));
    return Result::Success;
}

void StreamGrabber::Close()
{
    if (IsPrepared())
        finishCapturing();
    const Lock lock(m_mutex);
    m_node.Close();
}

bool StreamGrabber::IsPrepared() const
{
    const Lock lock(m_mutex);
    return isPreparedLocked();
}

bool StreamGrabber::isPreparedLocked() const noexcept
{
    return m_node.IsOpen() && (m_state == State::Prepared || m_state == State::Capturing);
}

// --- user buffers

Result StreamGrabber::RegisterBuffer(void* address, std::size_t size, std::uint64_t* handle)
{
    if (!handle)
        return Result::BadArgument;
    const Lock lock(m_mutex);
    *handle = m_queues.Register(address, size);
    return Result::Success;
}

Result StreamGrabber::DeregisterBuffer(std::uint64_t handle, void** address)
{
    Lock lock(m_mutex);
    bool wasQueued = false;
    const auto buffer = m_queues.Deregister(handle, wasQueued);
    if (!buffer)
        return Result::BadArgument;
    if (m_queues.GetFilling() == buffer.get())
        waitForCopyLocked(lock);
    if (address)
        *address = buffer->address;
    return wasQueued ? Result::BadState : Result::Success;
}

Result StreamGrabber::QueueBuffer(std::uint64_t handle, std::uint64_t context)
{
    const Lock lock(m_mutex);
    return m_queues.Queue(handle, context);
}

Result StreamGrabber::RetrieveBuffer(GrabResult* result, std::size_t* remaining)
{
    if (!result)
        return Result::BadArgument;
    const Lock lock(m_mutex);
    if (!m_queues.Retrieve(*result))
        return Result::NoFrame;
    if (remaining)
        *remaining = m_queues.GetResultCount();
    return Result::Success;
}

void StreamGrabber::TakeBackBuffers()
{
    Lock lock(m_mutex);
    m_queues.TakeBack();
    waitForCopyLocked(lock);
}

// Only the copy of this moment: others may queue and the thread go on while this one waits.
void StreamGrabber::waitForCopyLocked(Lock& lock)
{
    const std::uint64_t fill = m_queues.GetFillCount();
    ++m_waitingForCopy;
    m_copyDone.wait(lock,
                    [&] { return !m_queues.GetFilling() || m_queues.GetFillCount() != fill; });
    --m_waitingForCopy;
}

// --- preparation

Result StreamGrabber::prepareCapturing()
{
    const Lock lock(m_mutex);
    if (m_state != State::Idle)
        return Result::BadState;
    if (!m_node.IsOpen()) {
        V4LX_TRACE(kTraceError, "Device %s is not open", m_devicePath.c_str());
        return Result::Failure;
    }
    m_queues.DropResults();
    m_preparation = Result::Failure;
    m_preparedPayloadSize = m_geometry.payloadSize;
    m_preparation = PrepareLowLevelCaptureEngine();
    m_state = State::Prepared;
    m_isStopping = false;
    return m_preparation;
}

Result StreamGrabber::PrepareLowLevelCaptureEngine()
{
    m_node.ReleaseBuffers();
    const bool isImageSet =
        m_node.SetImage({m_geometry.width, m_geometry.height, m_geometry.pixelFormatPfncValue,
                         m_geometry.payloadSize});
    if (!isImageSet)
        return Result::Failure;
    const bool hasBuffers = allocateBuffers();
    const bool canProcess = prepareImageProcessing();
    return hasBuffers && canProcess ? Result::Success : Result::Failure;
}

bool StreamGrabber::allocateBuffers()
{
    switch (m_ioMethod) {
    case IoMethod::MemoryMapping:
        return m_node.AllocateBuffers(kBufferCount);
    case IoMethod::UserPointer:
        V4LX_TRACE(kTraceError, "I/O method user pointer not yet implemented");
        return false;
    }
    V4LX_TRACE(kTraceError, "Unknown I/O method %d", static_cast<int>(m_ioMethod));
    return false;
}

bool StreamGrabber::prepareImageProcessing()
{
    const std::uint32_t pfncValue = m_geometry.pixelFormatPfncValue;
    ImageProperties source = {m_geometry.width, m_geometry.height,
                              FindFourcc(pfncValue).value_or(0), m_geometry.payloadSize};
    ImageProperties destination = source;
    destination.pixelFormat = pfncValue;
    try {
        m_imageProcessing->Prepare(source, destination);
        return true;
    } catch (const UnsupportedFormats& error) {
        V4LX_TRACE(kTraceError, "%s", error.what());
        return false;
    }
}

std::size_t StreamGrabber::GetPreparedPayloadSize() const
{
    const Lock lock(m_mutex);
    return isPreparedLocked() && m_preparation == Result::Success ? m_preparedPayloadSize : 0;
}

// --- start and stop

Result StreamGrabber::startCapturing()
{
    {
        const Lock lock(m_mutex);
        if (!m_node.IsOpen() || m_state != State::Prepared)
            return Result::BadState;
        if (m_preparation != Result::Success)
            return Result::Failure;
    }
    if (!m_stopPipe) {
        V4LX_TRACE(kTraceError, "There is no pipe to stop the grab loop thread by");
        return Result::Failure;
    }
    createCaptureLoop();
    m_stopPipe->Clear();
    try {
        if (!m_node.QueueAllBuffers() || !startCaptureThread())
            return Result::Failure;
    } catch (...) {
        m_node.StreamOff("startCapturing"); // takes the buffers back, for the next start
        throw;
    }
    call(m_hooks.beforeStreamOn);
    if (!m_node.StreamOn("startCapturing"))
        return Result::Failure;
    call(m_hooks.afterStreamOn);
    return Result::Success;
}

void StreamGrabber::createCaptureLoop()
{
    V4L2::IVideoDevice& device = m_node.GetDevice();
    m_frameWait.emplace(device, *m_stopPipe);
    CaptureLoop::Callables callables;
    callables.waitForFrame = [this](const FrameStatistics& statistics) {
        m_totalGrabbedFrames = statistics.lastFrame;
        m_lostFrameCount = statistics.lost;
        return m_frameWait->Wait();
    };
    callables.dequeueBuffer = [this] { return m_frameWait->Dequeue(); };
    callables.requeueBuffer = [&device](V4L2::Buffer& buffer) { device.QueueBuffer(buffer); };
    callables.processBuffer = [this](const V4L2::Buffer& buffer,
                                     const std::shared_ptr<UserBuffer>& userBuffer) {
        processBuffer(buffer, *userBuffer);
    };
    callables.nextUserBuffer = [this] {
        const Lock lock(m_mutex);
        return m_queues.BeginFill();
    };
    callables.isStopping = [this] { return m_isStopping.load(); };
    callables.deliverBuffer = [this](const std::shared_ptr<UserBuffer>& userBuffer,
                                     const FrameResult& frame) {
        deliverBuffer(*userBuffer, frame);
    };
    m_captureLoop = std::make_unique<CaptureLoop>(std::move(callables));
}

bool StreamGrabber::startCaptureThread()
{
    const Lock lock(m_mutex);
    try {
        const GenTLProducer::SignalBlock noSignals;
        m_captureThread = std::thread([this] { runCaptureThread(); });
        m_state = State::Capturing;
        return true;
    } catch (const std::bad_alloc&) {
        throw;
    } catch (const std::exception& error) {
        V4LX_TRACE(kTraceError, "Failed to start grab loop thread: %s", error.what());
    } catch (...) {
        V4LX_TRACE(kTraceError, "Failed to start grab loop thread");
    }
    return false;
}

Result StreamGrabber::finishCapturing()
{
    if (!IsPrepared())
        return Result::BadState;
    if (m_evenFrameRule)
        EnsureToReceiveEvenNumberOfFrames();
    bool isStreamOff = false;
    {
        const Lock lock(m_mutex);
        m_state = State::Finishing;
        call(m_hooks.beforeStreamOff);
        isStreamOff = m_node.StreamOff("finishCapturing");
        call(m_hooks.afterStreamOff);
    }
    stopCaptureThread();
    const Lock lock(m_mutex);
    returnQueuedBuffersLocked();
    m_node.ReleaseBuffers();
    m_state = State::Idle;
    return isStreamOff ? Result::Success : Result::Failure;
}

// The byte stays in the pipe until the next start.
void StreamGrabber::stopCaptureThread() noexcept
{
    if (m_stopPipe)
        m_stopPipe->Signal();
    if (m_captureThread.joinable())
        m_captureThread.join();
}

void StreamGrabber::EnsureToReceiveEvenNumberOfFrames()
{
    using std::chrono::milliseconds;
    constexpr const char* kName = "EnsureToReceiveEvenNumberOfFrames";
    constexpr milliseconds kStep{10};
    constexpr milliseconds kLongestWait{100};
    const auto trace = [&](int place) {
        V4LX_TRACE(kTraceDetail, "%s: %d. m_totalGrabbedFrames=%" PRIu64, kName, place,
                   m_totalGrabbedFrames.load());
    };

    trace(1);
    if (m_stopDelay > milliseconds::zero())
        std::this_thread::sleep_for(m_stopDelay);
    trace(2);
    m_isStopping = true;
    if (!isFrameCountOdd())
        return;
    if (m_singleFrameGenerator)
        m_singleFrameGenerator();
    else
        V4LX_TRACE(kTraceError, "Cannot generate single frame");
    trace(3);

    int waitedMs = 0;
    const auto start = std::chrono::steady_clock::now();
    while (isFrameCountOdd() && std::chrono::steady_clock::now() - start <= kLongestWait) {
        std::this_thread::sleep_for(kStep);
        waitedMs += static_cast<int>(kStep.count());
    }
    if (isFrameCountOdd())
        V4LX_TRACE(kTraceWarning, "Could not ensure to grab even count of frames in %i ms!",
                   waitedMs);
    else if (waitedMs != 0)
        V4LX_TRACE(kTraceDetail, "%s: Needed %i ms to grab even count of frames.", kName, waitedMs);
}

// --- the capture thread

void StreamGrabber::runCaptureThread() noexcept
{
    try {
        m_captureLoop->Run();
    } catch (const V4L2::GrabBufferIndexError& error) {
        V4LX_TRACE(kTraceError, "%s Working with %d buffers only. Bailing out", error.what(),
                   static_cast<int>(error.GetHighestValidIndex() + 1));
    } catch (const std::exception& error) {
        V4LX_TRACE(kTraceError, "Grab loop thread failed: %s", error.what());
    } catch (...) {
        V4LX_TRACE(kTraceError, "Grab loop thread failed");
    }
    // Whoever waits for the copy that an exception cut short must not wait for ever.
    const Lock lock(m_mutex);
    if (const UserBuffer* buffer = m_queues.GetFilling())
        finishFillLocked(describeLocked(*buffer));
}

void StreamGrabber::processBuffer(const V4L2::Buffer& buffer, const UserBuffer& userBuffer)
{
    const V4L2::Buffer::Plane& plane = buffer.planes.front();
    if (plane.bytesUsed != plane.length)
        V4LX_TRACE(kTraceWarning, "Got unexpected buffer size %zu. Expected: %zu bytes",
                   static_cast<std::size_t>(plane.bytesUsed),
                   static_cast<std::size_t>(plane.length));
    // Image processing writes up to the payload, whatever the buffer holds.
    if (userBuffer.size < m_preparedPayloadSize)
        return;
    m_imageProcessing->Process(plane.address, userBuffer.address,
                               std::min(plane.bytesUsed, plane.length));
}

void StreamGrabber::deliverBuffer(const UserBuffer& userBuffer, const FrameResult& frame)
{
    const Lock lock(m_mutex);
    GrabResult result = describeLocked(userBuffer);
    result.timestamp = frame.timestamp;
    if (userBuffer.size < m_preparedPayloadSize)
        result.error = Result::BufferTooSmall;
    else
        result.error = frame.incomplete ? Result::Failure : Result::Success;
    result.frameId = result.error == Result::Success ? frame.number : kNoFrameId;
    finishFillLocked(result);
}

void StreamGrabber::returnQueuedBuffersLocked() noexcept
{
    while (const auto buffer = m_queues.BeginFill())
        finishFillLocked(describeLocked(*buffer));
}

// Wakes the consumer with the mutex held: push and wake-up are one step, so that whoever sees no
// more results and takes the wake-up back takes no later one.
void StreamGrabber::finishFillLocked(const GrabResult& result) noexcept
{
    m_queues.FinishFill(result);
    if (m_bufferAvailable)
        m_bufferAvailable->OnBufferAvailable();
    if (m_waitingForCopy > 0)
        m_copyDone.notify_all();
}

// As a returned buffer: unfilled.
GrabResult StreamGrabber::describeLocked(const UserBuffer& userBuffer) const noexcept
{
    GrabResult result{};
    result.frameId = kNoFrameId;
    result.pixelFormat = m_geometry.pixelFormatPfncValue;
    result.width = m_geometry.width;
    result.height = m_geometry.height;
    result.offsetX = m_geometry.offsetX;
    result.offsetY = m_geometry.offsetY;
    result.size = userBuffer.size;
    result.handle = userBuffer.handle;
    result.address = userBuffer.address;
    result.context = userBuffer.context;
    result.error = Result::Unfilled;
    return result;
}

std::unique_ptr<StreamGrabber>
CreateStreamGrabber(const std::string& devicePath,
                    std::shared_ptr<IImageProcessing> imageProcessing)
{
    return std::make_unique<StreamGrabber>(devicePath, std::move(imageProcessing));
}

} // namespace V4lX
