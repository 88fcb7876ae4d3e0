// The capture thread's wait for frames.
#pragma once

#include "base/pipe_event.h"
#include "capture/grabber/capture_loop.h"
#include "capture/grabber/repeated_failure.h"
#include "v4l2/ivideo_device.h"

namespace V4lX
{

/// Waits for the capture node and the stop pipe, and takes frames from the node.
///
/// Nodes are readable whenever a dequeue wouldn't block, also if it would fail: before the stream
/// is on, behind its end, while no buffer is queued, on a device that has gone. Where a second
/// round in a row ends without a frame, the next wait begins with a pause, which a stop cuts
/// short. Device and stop pipe stay the caller's. Capture thread only.
class FrameWait final
{
public:
    FrameWait(V4L2::IVideoDevice& device, GenTLProducer::PipeEvent& stopPipe) noexcept;

    /// Blocks until there is a stop, which wins, or a frame.
    WaitResult Wait() noexcept;

    /// The next frame, null if there is none or the node fails. V4L2::GrabBufferIndexError.
    V4L2::Buffer* Dequeue();

private:
    bool isStoppedIn(int timeoutMs) noexcept;
    void noteRoundWithoutFrame(int error) noexcept;
    void noteFailedWait(int error) noexcept;
    void noteFailedDequeue(int error, const char* words) noexcept;

    V4L2::IVideoDevice& m_device;
    GenTLProducer::PipeEvent& m_stopPipe;
    unsigned m_roundsWithoutFrame = 0;
    int m_pauseMs = 0;
    RepeatedFailure m_failedWaits;
    RepeatedFailure m_failedDequeues;
};

} // namespace V4lX
