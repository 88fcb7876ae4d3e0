#include "capture/grabber/capture_loop.h"

#include <deque>

#include <gtest/gtest.h>

namespace V4lX
{
namespace
{

// It counts for the even frame rule. Nothing else is asked: the other callables are empty.
TEST(CaptureLoop, FrameDuringStopIsNumberedAndKept)
{
    std::deque<std::uint32_t> sequences = {3, 5, 9};
    V4L2::Buffer buffer;
    FrameStatistics statistics{};
    CaptureLoop::Callables callables;
    callables.waitForFrame = [&](const FrameStatistics& now) {
        statistics = now;
        return sequences.empty() ? WaitResult::Stop : WaitResult::FrameReady;
    };
    callables.dequeueBuffer = [&] {
        buffer.sequence = sequences.front();
        sequences.pop_front();
        return &buffer;
    };
    callables.isStopping = [] { return true; };
    CaptureLoop(callables).Run();
    EXPECT_EQ(statistics.lastFrame, 7u);
    EXPECT_EQ(statistics.lost, 0u);
}

} // namespace
} // namespace V4lX
