// The order of steps for each frame, the numbering of frames and the account of lost ones.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>

#include "capture/grabber/icapture_loop.h"
#include "capture/grabber/user_buffer.h"
#include "v4l2/buffer.h"

namespace V4lX
{

enum class WaitResult : std::uint32_t {
    Stop = 0,
    Nothing = 1,
    FrameReady = 2,
};

/// What the loop tells whenever it waits.
struct FrameStatistics {
    std::uint64_t lastFrame; ///< number of the last frame taken from the kernel
    std::uint64_t lost;      ///< frames missing so far, for any reason
};

/// What is known of one frame.
struct FrameResult {
    std::uint64_t number; ///< from 1 in each acquisition, with the gaps of the kernel's count
    bool incomplete;
    std::uint64_t timestamp; ///< nanoseconds
};

/// Knows no device, no queue and no thread: all it does goes through its callables. Made anew for
/// each acquisition; one thread.
class CaptureLoop final : public ICaptureLoop
{
public:
    struct Callables {
        std::function<WaitResult(const FrameStatistics&)> waitForFrame;
        /// Null if there is no frame.
        std::function<V4L2::Buffer*()> dequeueBuffer;
        /// Throws if the kernel refuses the buffer.
        std::function<void(V4L2::Buffer&)> requeueBuffer;
        std::function<void(const V4L2::Buffer&, const std::shared_ptr<UserBuffer>&)> processBuffer;
        /// Empty if no buffer waits to be filled.
        std::function<std::shared_ptr<UserBuffer>()> nextUserBuffer;
        std::function<bool()> isStopping;
        std::function<void(const std::shared_ptr<UserBuffer>&, const FrameResult&)> deliverBuffer;
    };

    explicit CaptureLoop(Callables callables);

    void Run() override;

private:
    void handleFrame();
    void number(std::uint32_t sequence) noexcept;
    void deliver(const V4L2::Buffer& buffer);
    void requeue(V4L2::Buffer& buffer);

    Callables m_callables;

    struct {
        std::uint64_t current = 0;
        std::uint64_t base = 0; ///< what the kernel's sequence is ahead
    } m_frameCounter;

    struct {
        std::uint64_t lost = 0;
        std::uint64_t dropped = 0; ///< thrown away here, for lack of a user buffer
        std::uint64_t lastFrame = 0;
    } m_lossCounter;

    std::uint64_t m_lastFrameNumber = 0;
};

} // namespace V4lX
