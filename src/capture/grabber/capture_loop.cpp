#include "capture/grabber/capture_loop.h"

#include <stdexcept>

#include "trace/v4lx_trace.h"

namespace V4lX
{

CaptureLoop::CaptureLoop(Callables callables) : m_callables(std::move(callables)) {}

void CaptureLoop::Run()
{
    for (;;) {
        switch (m_callables.waitForFrame({m_lastFrameNumber, m_lossCounter.lost})) {
        case WaitResult::Stop:
            return;
        case WaitResult::FrameReady:
            handleFrame();
            break;
        case WaitResult::Nothing:
            break;
        }
    }
}

void CaptureLoop::handleFrame()
{
    V4L2::Buffer* buffer = m_callables.dequeueBuffer();
    if (!buffer)
        return;
    number(buffer->sequence);
    if (m_callables.isStopping())
        return;
    m_lossCounter.lost += m_frameCounter.current - m_lossCounter.lastFrame - 1;
    m_lossCounter.lastFrame = m_frameCounter.current;
    deliver(*buffer);
    requeue(*buffer);
}

// 64-bit arithmetic on the kernel's 32 bits: a sequence that begins with 0 has a base of -1.
void CaptureLoop::number(std::uint32_t sequence) noexcept
{
    if (m_frameCounter.current == 0) {
        m_frameCounter.current = 1;
        m_frameCounter.base = std::uint64_t{sequence} - 1;
    } else {
        m_frameCounter.current = std::uint64_t{sequence} - m_frameCounter.base;
    }
    m_lastFrameNumber = m_frameCounter.current;
}

void CaptureLoop::deliver(const V4L2::Buffer& buffer)
{
    const std::shared_ptr<UserBuffer> userBuffer = m_callables.nextUserBuffer();
    if (userBuffer) {
        m_callables.processBuffer(buffer, userBuffer);
        m_callables.deliverBuffer(userBuffer,
                                  {m_frameCounter.current, !buffer.valid, buffer.timestamp});
        return;
    }
    ++m_lossCounter.lost;
    ++m_lossCounter.dropped;
    V4LX_TRACE(kTraceNotice, "inQueue is empty, discard buffer %d. Total %ld dropped frames",
               static_cast<int>(buffer.index), static_cast<long>(m_lossCounter.dropped));
}

void CaptureLoop::requeue(V4L2::Buffer& buffer)
{
    try {
        m_callables.requeueBuffer(buffer);
    } catch (const std::runtime_error& error) {
        V4LX_TRACE(kTraceError, "Failed to requeue buffer: %s", error.what());
    }
}

} // namespace V4lX
