#include "capture/grabber/frame_wait.h"

#include <cerrno>
#include <deque>
#include <optional>
#include <string>
#include <vector>

#include <dlfcn.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <poll.h>

#include "v4l2/error.h"

namespace
{

// What poll was asked by this thread: descriptors and timeout. Null: nobody listens.
struct PollCall {
    nfds_t count;
    int timeoutMs;
    bool operator==(const PollCall& other) const
    {
        return count == other.count && timeoutMs == other.timeoutMs;
    }
};
thread_local std::vector<PollCall>* t_pollCalls = nullptr;
thread_local std::deque<int>* t_pollErrors = nullptr;

} // namespace

// The definitions of a program stand before those of the C library.
extern "C" int poll(pollfd* entries, nfds_t count, int timeoutMs)
{
    if (t_pollCalls)
        t_pollCalls->push_back({count, timeoutMs});
    if (t_pollErrors && !t_pollErrors->empty()) {
        errno = t_pollErrors->front();
        t_pollErrors->pop_front();
        if (errno != 0)
            return -1;
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
constexpr PollCall kStopTest = {1, 0};

constexpr int kFrame = 0; ///< in place of an error number

/// A node that is readable while signalled and answers dequeues from a list.
class FakeNode : public V4L2::IVideoDevice
{
public:
    std::unique_ptr<PipeEvent> readiness = PipeEvent::Create();
    std::deque<int> answers; ///< error number, or kFrame
    V4L2::Buffer buffer;
    std::optional<int> descriptor;

    V4L2::Buffer* DequeueBuffer() override
    {
        const int error = answers.front();
        answers.pop_front();
        if (error == kFrame)
            return &buffer;
        if (error == ENOMEM)
            throw std::bad_alloc();
        if (error != EAGAIN)
            throw V4L2::Error(error, "VIDIOC_DQBUF failed");
        return nullptr;
    }
    int GetFileDescriptor() const override
    {
        return descriptor.value_or(readiness->GetReadDescriptor());
    }

    const std::uint32_t& GetCapabilities() const override { return buffer.index; }
    const std::string& GetDriverName() const override { return name; }
    std::vector<std::unique_ptr<V4L2::Buffer>> RequestBuffers(std::uint32_t) override { return {}; }
    void StreamOn() override {}
    void StreamOff() override {}
    v4l2_format GetFormat() override { return {}; }
    void SetFormat(v4l2_format&) override {}
    std::optional<std::uint32_t> FindControl(std::string_view) override { return std::nullopt; }
    void SetControl(std::uint32_t, std::int32_t) override {}
    void QueueBuffer(V4L2::Buffer&) override {}

private:
    std::string name;
};

class FrameWaitTest : public testing::Test
{
protected:
    FrameWaitTest()
    {
        node.readiness->Signal();
        t_pollCalls = &polls;
        t_pollErrors = &pollErrors;
    }
    ~FrameWaitTest() override
    {
        t_pollCalls = nullptr;
        t_pollErrors = nullptr;
    }

    FakeNode node;
    std::unique_ptr<PipeEvent> stopPipe = PipeEvent::Create();
    std::vector<PollCall> polls;
    std::deque<int> pollErrors;
    FrameWait wait{node, *stopPipe};
};

TEST_F(FrameWaitTest, StopWinsOverAReadyFrameAndStays)
{
    EXPECT_EQ(wait.Wait(), WaitResult::FrameReady);
    stopPipe->Signal();
    EXPECT_EQ(wait.Wait(), WaitResult::Stop);
    node.readiness->Clear();
    EXPECT_EQ(wait.Wait(), WaitResult::Stop);
}

TEST_F(FrameWaitTest, PausesFromTheSecondRoundInARowWithoutAFrame)
{
    const struct {
        std::vector<int> answers;
        std::vector<PollCall> polls;
    } rows[] = {
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
    for (const auto& row : rows) {
        FrameWait fresh(node, *stopPipe);
        polls.clear();
        for (const int answer : row.answers) {
            EXPECT_EQ(fresh.Wait(), WaitResult::FrameReady);
            node.answers = {answer};
            EXPECT_EQ(fresh.Dequeue(), answer == kFrame ? &node.buffer : nullptr);
        }
        fresh.Wait();
        EXPECT_THAT(polls, ElementsAreArray(row.polls));
    }
}

TEST_F(FrameWaitTest, StopCutsThePauseShort)
{
    node.answers = {ENODEV, ENODEV};
    for (int i = 0; i < 2; ++i) {
        wait.Wait();
        wait.Dequeue();
    }
    stopPipe->Signal();
    polls.clear();
    EXPECT_EQ(wait.Wait(), WaitResult::Stop);
    EXPECT_THAT(polls, ElementsAre(kLongPause));
}

TEST_F(FrameWaitTest, UnknownKernelBufferPasses)
{
    class Broken : public FakeNode
    {
        V4L2::Buffer* DequeueBuffer() override
        {
            throw V4L2::GrabBufferIndexError(ERANGE, "Got unexpected buffer index 4", 3);
        }
    } broken;
    FrameWait fresh(broken, *stopPipe);
    EXPECT_THROW(fresh.Dequeue(), V4L2::GrabBufferIndexError);
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
    pollErrors = {ENOMEM, 0, ENOMEM};
    EXPECT_EQ(wait.Wait(), WaitResult::Nothing);
    EXPECT_EQ(wait.Wait(), WaitResult::Nothing);
    EXPECT_THAT(polls, ElementsAre(kWait, kStopTest, kWait, kStopTest));
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
    node.descriptor = 1'000'000;
    EXPECT_EQ(wait.Wait(), WaitResult::Nothing);
    stopPipe->Signal();
    EXPECT_EQ(wait.Wait(), WaitResult::Stop);
    EXPECT_THAT(testing::internal::GetCapturedStderr(),
                testing::EndsWith(" select failed (9, Bad file descriptor)\n"));
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
