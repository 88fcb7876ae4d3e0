#include "capture/grabber/frame_wait.h"

#include <cerrno>
#include <cinttypes>
#include <cstring>
#include <new>

#include <poll.h>

#include "trace/v4lx_trace.h"
#include "v4l2/error.h"

namespace V4lX
{

namespace
{

constexpr int kForever = -1;
constexpr int kShortPauseMs = 1;
constexpr int kLongPauseMs = 10;

/// Number of ready entries, or -1 with errno set.
int pollRepeatedly(pollfd* entries, nfds_t count, int timeoutMs) noexcept
{
    int ready = 0;
    do {
        ready = ::poll(entries, count, timeoutMs);
    } while (ready == -1 && errno == EINTR);
    return ready;
}

} // namespace

FrameWait::FrameWait(V4L2::IVideoDevice& device, GenTLProducer::PipeEvent& stopPipe) noexcept
    : m_device(device), m_stopPipe(stopPipe)
{
}

WaitResult FrameWait::Wait() noexcept
{
    if (m_roundsWithoutFrame >= 2 && isStoppedIn(m_pauseMs))
        return WaitResult::Stop;

    pollfd entries[] = {
        {m_device.GetFileDescriptor(), POLLIN, 0},
        {m_stopPipe.GetReadDescriptor(), POLLIN, 0},
    };
    const auto& [node, stop] = entries;
    const int ready = pollRepeatedly(entries, 2, kForever);
    if (ready == -1 || (node.revents & POLLNVAL) != 0) {
        noteFailedWait(ready == -1 ? errno : EBADF);
        return m_stopPipe.IsSignalled() ? WaitResult::Stop : WaitResult::Nothing;
    }
    if (stop.revents != 0)
        return WaitResult::Stop;
    return node.revents != 0 ? WaitResult::FrameReady : WaitResult::Nothing;
}

V4L2::Buffer* FrameWait::Dequeue()
{
    try {
        V4L2::Buffer* buffer = m_device.DequeueBuffer();
        if (!buffer) {
            noteRoundWithoutFrame(EAGAIN);
            return nullptr;
        }
        m_roundsWithoutFrame = 0;
        m_failedWaits.End();
        m_failedDequeues.End();
        return buffer;
    } catch (const V4L2::GrabBufferIndexError&) {
        throw;
    } catch (const V4L2::Error& error) {
        noteFailedDequeue(error.code().value(), error.what());
    } catch (const std::bad_alloc& error) {
        // There wasn't even the memory for the words of a failure.
        noteFailedDequeue(ENOMEM, error.what());
    }
    return nullptr;
}

bool FrameWait::isStoppedIn(int timeoutMs) noexcept
{
    pollfd stop{m_stopPipe.GetReadDescriptor(), POLLIN, 0};
    return pollRepeatedly(&stop, 1, timeoutMs) > 0;
}

void FrameWait::noteRoundWithoutFrame(int error) noexcept
{
    ++m_roundsWithoutFrame;
    m_pauseMs = error == EAGAIN || error == EINVAL ? kShortPauseMs : kLongPauseMs;
}

void FrameWait::noteFailedWait(int error) noexcept
{
    ++m_roundsWithoutFrame;
    m_pauseMs = kLongPauseMs;
    const std::uint64_t count = m_failedWaits.Note(error, RepeatedFailure::Clock::now());
    char buffer[128];
    const char* words = ::strerror_r(error, buffer, sizeof buffer);
    if (count == 1)
        V4LX_TRACE(kTraceError, "select failed (%d, %s)", error, words);
    else if (count > 1)
        V4LX_TRACE(kTraceError, "select failed (%d, %s) (%" PRIu64 " times)", error, words, count);
}

// EINVAL is what a node answers before the stream is on and between its end and the stop.
void FrameWait::noteFailedDequeue(int error, const char* words) noexcept
{
    noteRoundWithoutFrame(error);
    const TraceLevel level = error == EINVAL ? kTraceDetail : kTraceError;
    const std::uint64_t count = m_failedDequeues.Note(error, RepeatedFailure::Clock::now());
    if (count == 1)
        V4LX_TRACE(level, "%s", words);
    else if (count > 1)
        V4LX_TRACE(level, "%s (%" PRIu64 " times)", words, count);
}

} // namespace V4lX
