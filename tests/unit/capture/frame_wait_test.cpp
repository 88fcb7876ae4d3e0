#include "capture/grabber/frame_wait.h"

#include <cerrno>
#include <deque>
#include <string>
#include <vector>

#include <dlfcn.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <poll.h>

#include "support/fake_capture_node.h"
#include "v4l2/video_device.h"

namespace
{

// What poll was asked by this thread, looks without a wait aside: number of descriptors and timeout
// in milliseconds. Null: nobody listens.
using PollCall = std::pair<nfds_t, int>;
thread_local std::vector<PollCall>* t_pollCalls = nullptr;
thread_local std::deque<int>* t_pollErrors = nullptr;

} // namespace

// The definitions of a program stand before those of the C library.
extern "C" int poll(pollfd* entries, nfds_t count, int timeoutMs)
{
    if (t_pollCalls && timeoutMs != 0) {
        t_pollCalls->emplace_back(count, timeoutMs);
        if (!t_pollErrors->empty()) {
            errno = t_pollErrors->front();
            t_pollErrors->pop_front();
            return -1;
        }
    }
    using Poll = int(pollfd*, nfds_t, int);
    static const auto next = reinterpret_cast<Poll*>(::dlsym(RTLD_NEXT, "poll"));
    return next(entries, count, timeoutMs);
}

namespace V4lX
{
namespace
{

using GenTLProducer::PipeEvent;
using testing::ElementsAre;
using testing::ElementsAreArray;

constexpr PollCall kWait = {2, -1};
constexpr PollCall kShortPause = {1, 1};
constexpr PollCall kLongPause = {1, 10};

constexpr int kFrame = 0; ///< in place of an error number

/// The node is readable from the start, not being streaming.
class FrameWaitTest : public testing::Test
{
protected:
    FrameWaitTest()
    {
        node.handlers[VIDIOC_QBUF] = [](void*) { return 0; };
        t_pollCalls = &polls;
        t_pollErrors = &pollErrors;
    }
    ~FrameWaitTest() override
    {
        t_pollCalls = nullptr;
        t_pollErrors = nullptr;
    }

    /// A round in which the node answers the dequeue with a frame or an error number.
    void PassRound(FrameWait& frameWait, int answer)
    {
        EXPECT_EQ(frameWait.Wait(), WaitResult::FrameReady);
        node.handlers[VIDIOC_DQBUF] = [answer](void*) {
            return answer == ENOMEM ? throw std::bad_alloc() : answer;
        };
        device.QueueBuffer(*buffers[0]);
        EXPECT_EQ(frameWait.Dequeue(), answer == kFrame ? buffers[0].get() : nullptr);
    }

    test::FakeCaptureNode node;
    V4L2::VideoDevice device{"/dev/video9", node.Calls()};
    std::vector<std::unique_ptr<V4L2::Buffer>> buffers = device.RequestBuffers(1);
    std::unique_ptr<PipeEvent> stopPipe = PipeEvent::Create();
    std::vector<PollCall> polls;
    std::deque<int> pollErrors;
    FrameWait wait{device, *stopPipe};
};

TEST_F(FrameWaitTest, StopWinsOverAReadyFrameAndStays)
{
    EXPECT_EQ(wait.Wait(), WaitResult::FrameReady);
    stopPipe->Signal();
    EXPECT_EQ(wait.Wait(), WaitResult::Stop);
    EXPECT_EQ(wait.Wait(), WaitResult::Stop);
}

TEST_F(FrameWaitTest, PausesFromTheSecondRoundInARowWithoutAFrame)
{
    const std::pair<std::vector<int>, std::vector<PollCall>> rows[] = {
        {{kFrame, kFrame}, {kWait, kWait, kWait}},
        {{EAGAIN}, {kWait, kWait}},
        {{EAGAIN, EAGAIN}, {kWait, kWait, kShortPause, kWait}},
        {{EINVAL, EINVAL, EINVAL}, {kWait, kWait, kShortPause, kWait, kShortPause, kWait}},
        {{EAGAIN, kFrame, EAGAIN}, {kWait, kWait, kWait, kWait}},
        {{ENODEV, ENODEV}, {kWait, kWait, kLongPause, kWait}},
        {{EIO, EINVAL}, {kWait, kWait, kShortPause, kWait}},
        {{EAGAIN, EAGAIN, kFrame}, {kWait, kWait, kShortPause, kWait, kWait}},
        {{ENOMEM, ENOMEM}, {kWait, kWait, kLongPause, kWait}},
    };
    for (const auto& [answers, expected] : rows) {
        FrameWait fresh(device, *stopPipe);
        polls.clear();
        for (const int answer : answers)
            PassRound(fresh, answer);
        fresh.Wait();
        EXPECT_THAT(polls, ElementsAreArray(expected));
    }
}

TEST_F(FrameWaitTest, StopCutsThePauseShort)
{
    PassRound(wait, ENODEV);
    PassRound(wait, ENODEV);
    stopPipe->Signal();
    polls.clear();
    EXPECT_EQ(wait.Wait(), WaitResult::Stop);
    EXPECT_THAT(polls, ElementsAre(kLongPause));
}

TEST_F(FrameWaitTest, InterruptedWaitIsRepeated)
{
    pollErrors = {EINTR, EINTR};
    EXPECT_EQ(wait.Wait(), WaitResult::FrameReady);
    EXPECT_THAT(polls, ElementsAre(kWait, kWait, kWait));
}

TEST_F(FrameWaitTest, FailingWaitIsTracedAndPausesToo)
{
    testing::internal::CaptureStderr();
    pollErrors = {ENOMEM, ENOMEM};
    EXPECT_EQ(wait.Wait(), WaitResult::Nothing);
    EXPECT_EQ(wait.Wait(), WaitResult::Nothing);
    EXPECT_THAT(polls, ElementsAre(kWait, kWait));
    stopPipe->Signal();
    polls.clear();
    EXPECT_EQ(wait.Wait(), WaitResult::Stop);
    EXPECT_THAT(polls, ElementsAre(kLongPause));
    const std::string trace = testing::internal::GetCapturedStderr();
    EXPECT_THAT(trace, testing::EndsWith(" select failed (12, Cannot allocate memory)\n"));
    EXPECT_EQ(std::count(trace.begin(), trace.end(), '\n'), 1) << "the second comes too early";
}

TEST_F(FrameWaitTest, ClosedDescriptorIsAFailingWait)
{
    testing::internal::CaptureStderr();
    V4L2::SystemCalls calls = node.Calls();
    calls.open = [](const char*, int, int) { return 1'000'000; };
    V4L2::VideoDevice closed("/dev/video9", calls);
    FrameWait fresh(closed, *stopPipe);
    EXPECT_EQ(fresh.Wait(), WaitResult::Nothing);
    stopPipe->Signal();
    EXPECT_EQ(fresh.Wait(), WaitResult::Stop);
    EXPECT_THAT(testing::internal::GetCapturedStderr(),
                testing::EndsWith(" select failed (9, Bad file descriptor)\n"));
}

TEST_F(FrameWaitTest, OnlyFailuresInARowAreThinnedOut)
{
    testing::internal::CaptureStderr();
    for (const int answer : {EIO, EIO, kFrame, EIO, EAGAIN, EIO})
        PassRound(wait, answer);
    const std::string trace = testing::internal::GetCapturedStderr();
    EXPECT_EQ(std::count(trace.begin(), trace.end(), '\n'), 2) << trace;
}

TEST(RepeatedFailure, LineIsDueAtOnceThenOnceASecondWithTheCount)
{
    using std::chrono::milliseconds;
    const struct {
        int afterMs;
        int code;
        std::uint64_t due;
    } rows[] = {
        {0, 19, 1},    {10, 19, 0},   {999, 19, 0},  {1000, 19, 3}, {1001, 19, 0},
        {1002, 22, 1}, {1003, 22, 0}, {1004, 19, 1}, {5000, 19, 1},
    };
    RepeatedFailure failure;
    for (const auto& row : rows) {
        const RepeatedFailure::Clock::time_point now{milliseconds(row.afterMs)};
        EXPECT_EQ(failure.Note(row.code, now), row.due) << row.afterMs;
    }
}

} // namespace
} // namespace V4lX
