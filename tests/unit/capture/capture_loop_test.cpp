#include "capture/grabber/capture_loop.h"

#include <cerrno>
#include <deque>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "v4l2/error.h"

namespace V4lX
{
namespace
{

using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;

constexpr int kNoFrame = -1;

/// Callables that feed a loop with frames and write down what it does.
struct Script {
    std::deque<std::int64_t> sequences; ///< kNoFrame: the dequeue gives nothing
    std::size_t userBuffers = 1000;
    bool isStopping = false;
    std::uint32_t damaged = ~0u; ///< sequence of the damaged frame
    std::function<void()> onRequeue = [] {};

    V4L2::Buffer buffer;
    std::shared_ptr<UserBuffer> userBuffer = std::make_shared<UserBuffer>();
    FrameStatistics statistics{};
    std::vector<const char*> steps;
    std::vector<FrameResult> delivered;
    int requeued = 0;

    V4L2::Buffer* Dequeue()
    {
        steps.push_back("dequeue");
        const std::int64_t sequence = sequences.front();
        sequences.pop_front();
        if (sequence == kNoFrame)
            return nullptr;
        buffer.sequence = static_cast<std::uint32_t>(sequence);
        buffer.valid = buffer.sequence != damaged;
        buffer.timestamp = buffer.sequence * 1000u;
        return &buffer;
    }

    std::shared_ptr<UserBuffer> NextUserBuffer()
    {
        steps.push_back("next");
        if (userBuffers == 0)
            return nullptr;
        --userBuffers;
        return userBuffer;
    }

    CaptureLoop::Callables Callables()
    {
        CaptureLoop::Callables c;
        c.waitForFrame = [this](const FrameStatistics& now) {
            statistics = now;
            return sequences.empty() ? WaitResult::Stop : WaitResult::FrameReady;
        };
        c.dequeueBuffer = [this] { return Dequeue(); };
        c.requeueBuffer = [this](V4L2::Buffer&) {
            steps.push_back("requeue");
            ++requeued;
            onRequeue();
        };
        c.processBuffer = [this](const V4L2::Buffer&, const std::shared_ptr<UserBuffer>&) {
            steps.push_back("process");
        };
        c.nextUserBuffer = [this] { return NextUserBuffer(); };
        c.isStopping = [this] {
            steps.push_back("stopping?");
            return isStopping;
        };
        c.deliverBuffer = [this](const std::shared_ptr<UserBuffer>&, const FrameResult& frame) {
            steps.push_back("deliver");
            delivered.push_back(frame);
        };
        return c;
    }

    void Run() { CaptureLoop(Callables()).Run(); }

    std::vector<std::uint64_t> Numbers() const
    {
        std::vector<std::uint64_t> numbers;
        for (const FrameResult& frame : delivered)
            numbers.push_back(frame.number);
        return numbers;
    }
};

TEST(CaptureLoop, NumbersFramesFromOneWithTheGapsOfTheKernel)
{
    const struct {
        std::deque<std::int64_t> sequences;
        std::vector<std::uint64_t> numbers;
        std::uint64_t lost;
    } rows[] = {
        {{}, {}, 0},
        {{5, 6, 9}, {1, 2, 5}, 2},
        {{0, 1, 2}, {1, 2, 3}, 0},
        {{0, 7}, {1, 8}, 6},
        {{0xFFFFFFF0, 0xFFFFFFFF}, {1, 16}, 14},
        {{kNoFrame, 3, kNoFrame, 4, kNoFrame}, {1, 2}, 0},
    };
    for (const auto& row : rows) {
        Script script;
        script.sequences = row.sequences;
        script.Run();
        EXPECT_THAT(script.Numbers(), ElementsAreArray(row.numbers));
        EXPECT_EQ(script.statistics.lost, row.lost);
        EXPECT_EQ(script.statistics.lastFrame, row.numbers.empty() ? 0 : row.numbers.back());
    }
}

TEST(CaptureLoop, TakesTheStepsOfAFrameInOrder)
{
    Script script;
    script.sequences = {1};
    script.Run();
    EXPECT_THAT(std::vector<std::string>(script.steps.begin(), script.steps.end()),
                ElementsAre("dequeue", "stopping?", "next", "process", "deliver", "requeue"));
}

TEST(CaptureLoop, FrameWithoutUserBufferIsDroppedAndCounted)
{
    Script script;
    script.sequences = {3, 4, 6, 7};
    script.userBuffers = 1;
    script.Run();
    EXPECT_THAT(script.Numbers(), ElementsAre(1));
    EXPECT_EQ(script.statistics.lost, 4u) << "three dropped, one never came";
    EXPECT_EQ(script.statistics.lastFrame, 5u);
    EXPECT_EQ(script.requeued, 4);
}

TEST(CaptureLoop, FrameDuringStopIsNumberedAndKept)
{
    Script script;
    script.sequences = {3, 5, 9};
    script.isStopping = true;
    script.Run();
    EXPECT_EQ(script.statistics.lastFrame, 7u);
    EXPECT_EQ(script.statistics.lost, 0u);
    EXPECT_EQ(script.requeued, 0);
    EXPECT_THAT(script.delivered, IsEmpty());
}

TEST(CaptureLoop, DamagedFrameIsDeliveredAsIncomplete)
{
    Script script;
    script.sequences = {3, 4, 5};
    script.damaged = 4;
    script.Run();
    ASSERT_EQ(script.delivered.size(), 3u);
    EXPECT_FALSE(script.delivered[0].incomplete);
    EXPECT_TRUE(script.delivered[1].incomplete);
    EXPECT_FALSE(script.delivered[2].incomplete);
    EXPECT_EQ(script.delivered[2].number, 3u);
    EXPECT_EQ(script.delivered[2].timestamp, 5000u);
}

TEST(CaptureLoop, RefusedRequeueCostsTheKernelBufferOnly)
{
    Script script;
    script.sequences = {1, 2};
    script.onRequeue = [] { throw V4L2::Error(EIO, "Failed to queue buffer 0"); };
    script.Run();
    EXPECT_THAT(script.Numbers(), ElementsAre(1, 2));
}

TEST(CaptureLoop, UnknownKernelBufferEndsTheLoop)
{
    Script script;
    script.sequences = {1, 2};
    auto callables = script.Callables();
    callables.dequeueBuffer = []() -> V4L2::Buffer* {
        throw V4L2::GrabBufferIndexError(ERANGE, "Got unexpected buffer index 4", 3);
    };
    EXPECT_THROW(CaptureLoop(callables).Run(), V4L2::GrabBufferIndexError);
}

} // namespace
} // namespace V4lX
