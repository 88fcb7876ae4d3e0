// The image grabber of one capture node.
#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>

#include "base/pipe_event.h"
#include "capture/grabber/buffer_queues.h"
#include "capture/grabber/capture_loop.h"
#include "capture/grabber/capture_node.h"
#include "capture/grabber/frame_wait.h"
#include "capture/grabber/istream_grabber.h"
#include "image/iimage_processing.h"

namespace V4lX
{

/// Called around VIDIOC_STREAMON on the thread in startCapturing, and around VIDIOC_STREAMOFF on
/// that in finishCapturing with the grabber's mutex held. They must not throw.
struct StreamHooks {
    std::function<void()> beforeStreamOn;
    std::function<void()> afterStreamOn;
    std::function<void()> beforeStreamOff;
    std::function<void()> afterStreamOff;
};

/// How frames leave the kernel: as memory that the driver owns and the grabber maps.
enum class IoMethod : std::int32_t {
    UserPointer = 0,
    MemoryMapping = 1,
};

/// Negotiates the format with the capture node, owns the kernel's buffers, and runs the capture
/// thread, which copies each frame into the next waiting user buffer, or drops it.
///
/// One recursive mutex guards settings, state and buffer queues. The capture thread takes it to
/// fetch a buffer and to deliver it, never while it copies. A buffer that is being copied into
/// belongs to the capture thread: DeregisterBuffer and TakeBackBuffers wait for the copy's end.
class StreamGrabber final : public IStreamGrabber
{
public:
    /// Without image processing frames are copied as they are. makeDevice opens the node; empty
    /// for the kernel's.
    StreamGrabber(std::string devicePath, std::shared_ptr<IImageProcessing> imageProcessing,
                  CaptureNode::DeviceFactory makeDevice = {});
    StreamGrabber(const StreamGrabber&) = delete;
    StreamGrabber& operator=(const StreamGrabber&) = delete;
    ~StreamGrabber() override;

    std::string GetDevicePath() const override { return m_devicePath; }
    void SetWidth(std::uint32_t width) override;
    void SetHeight(std::uint32_t height) override;
    void SetOffsetX(std::uint32_t offsetX) override;
    void SetOffsetY(std::uint32_t offsetY) override;
    void SetPixelFormat(std::uint32_t pfncValue) override;
    void SetPayloadSize(std::size_t payloadSize) override;
    void SetScalingEnable(bool scalingEnable) override;
    Result Open() override;
    void Close() override;
    Result SetBufferAvailable(IBufferAvailable* handler) override;
    Result RegisterBuffer(void* address, std::size_t size, std::uint64_t* handle) override;
    Result DeregisterBuffer(std::uint64_t handle, void** address) override;
    Result QueueBuffer(std::uint64_t handle, std::uint64_t context) override;
    Result RetrieveBuffer(GrabResult* result, std::size_t* remaining) override;
    Result prepareCapturing() override;
    Result startCapturing() override;
    Result finishCapturing() override;
    bool IsPrepared() const override;
    std::size_t GetPayloadSize() const override;
    std::uint64_t GetLostFrameCount() const override { return m_lostFrameCount; }
    void TakeBackBuffers() override;
    std::size_t GetPreparedPayloadSize() const override;

    // For boards whose capture path needs them; set before prepareCapturing.
    void SetIoMethod(IoMethod method) { m_ioMethod = method; }
    void SetStreamHooks(StreamHooks hooks) { m_hooks = std::move(hooks); }
    /// Makes finishCapturing wait until the kernel has delivered an even number of frames.
    void SetEvenFrameRule(bool enabled) { m_evenFrameRule = enabled; }
    /// Causes one more frame for the even frame rule. Must not throw.
    void SetSingleFrameGenerator(std::function<void()> generator)
    {
        m_singleFrameGenerator = std::move(generator);
    }
    /// How long the even frame rule waits for frames under way before it counts.
    void SetStopDelay(std::chrono::milliseconds delay) { m_stopDelay = delay; }

private:
    enum class State {
        Idle, ///< closed or open
        Prepared,
        Capturing, ///< a capture thread exists
        Finishing,
    };

    using Lock = std::unique_lock<std::recursive_mutex>;

    struct Geometry {
        std::uint32_t width = 0;
        std::uint32_t height = 0;
        std::uint32_t offsetX = 0;
        std::uint32_t offsetY = 0;
        std::uint32_t pixelFormatPfncValue = 0;
        std::size_t payloadSize = 0;
        bool scalingEnable = false;
    };

    bool isPreparedLocked() const noexcept;
    Result PrepareLowLevelCaptureEngine();
    bool allocateBuffers();
    bool prepareImageProcessing();
    void createCaptureLoop();
    bool startCaptureThread();
    void stopCaptureThread() noexcept;
    void runCaptureThread() noexcept;
    void EnsureToReceiveEvenNumberOfFrames();
    bool isFrameCountOdd() const noexcept { return m_totalGrabbedFrames % 2 != 0; }

    void processBuffer(const V4L2::Buffer& buffer, const UserBuffer& userBuffer);
    void deliverBuffer(const UserBuffer& userBuffer, const FrameResult& frame);
    void returnQueuedBuffersLocked() noexcept;
    void finishFillLocked(const GrabResult& result) noexcept;
    GrabResult describeLocked(const UserBuffer& userBuffer) const noexcept;
    void waitForCopyLocked(Lock& lock);

    const std::string m_devicePath;
    const std::shared_ptr<IImageProcessing> m_imageProcessing;
    const CaptureNode::DeviceFactory m_makeDevice;
    const std::unique_ptr<GenTLProducer::PipeEvent> m_stopPipe; ///< a byte ends the capture thread

    IoMethod m_ioMethod = IoMethod::MemoryMapping;
    StreamHooks m_hooks;
    bool m_evenFrameRule = false;
    std::function<void()> m_singleFrameGenerator;
    std::chrono::milliseconds m_stopDelay{50};

    mutable std::recursive_mutex m_mutex;
    State m_state = State::Idle;
    Result m_preparation = Result::Failure; ///< of the last prepareCapturing
    Geometry m_geometry;
    CaptureNode m_node;
    BufferQueues m_queues;
    IBufferAvailable* m_bufferAvailable = nullptr;
    std::condition_variable_any m_copyDone;
    unsigned m_waitingForCopy = 0;

    // The capture thread's own while it runs; it reads the payload without the mutex.
    std::size_t m_preparedPayloadSize = 0;
    std::optional<FrameWait> m_frameWait;
    std::unique_ptr<ICaptureLoop> m_captureLoop;

    std::atomic<bool> m_isStopping{false};
    std::atomic<std::uint64_t> m_totalGrabbedFrames{0};
    std::atomic<std::uint64_t> m_lostFrameCount{0};
    std::thread m_captureThread;
};

/// A grabber on the kernel's node. Without image processing frames are copied as they are.
std::unique_ptr<StreamGrabber>
CreateStreamGrabber(const std::string& devicePath,
                    std::shared_ptr<IImageProcessing> imageProcessing);

} // namespace V4lX
