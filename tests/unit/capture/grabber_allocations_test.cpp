// What the way of a frame allocates, and what becomes of allocations that fail.
#include <new>

#include <gtest/gtest.h>

#include "grabber_session.h"
#include "support/allocations.h"

namespace V4lX
{
namespace
{

using test::Allocations;

using test::FakeCaptureNode;
using test::RunFaultySession;
using test::TestGrabber;

TEST(BufferQueues, RegistrationThatFailsChangesNothing)
{
    BufferQueues queues;
    queues.Register(nullptr, 1);
    std::size_t failures = 0;
    for (std::uint64_t handle = 0; handle == 0;) {
        Allocations::FailNth(failures + 1);
        try {
            handle = queues.Register(nullptr, 1);
            EXPECT_EQ(handle, 2u);
        } catch (const std::bad_alloc&) {
            ++failures;
            EXPECT_EQ(queues.Queue(2, 0), Result::BadArgument);
        }
    }
    Allocations::FailNth(0);
    EXPECT_GT(failures, 1u);
}

/// Has the node deliver a frame, takes its result and queues the buffer again.
std::uint64_t PassFrame(TestGrabber& grabber, std::uint32_t sequence)
{
    const unsigned wakeUps = grabber.bell.GetCount();
    grabber.node.PushFrame({sequence});
    grabber.bell.WaitFor(wakeUps + 1);
    const GrabResult result = grabber.Retrieve();
    grabber->QueueBuffer(result.handle, 0);
    return result.frameId;
}

TEST(StreamGrabber, FramesCostNoAllocation)
{
    FakeCaptureNode node;
    TestGrabber grabber(node);
    grabber.Start(3);
    PassFrame(grabber, 1);
    const std::size_t before = Allocations::GetCount();
    for (std::uint32_t i = 2; i <= 50; ++i)
        EXPECT_EQ(PassFrame(grabber, i), i);
    EXPECT_EQ(Allocations::GetCount(), before);
}

TEST(GrabberFaults, FailingAllocationLeavesNothingAndItWorksAgain)
{
    std::size_t nth = 0;
    for (bool wasReached = true; wasReached;) {
        FakeCaptureNode node;
        const auto arm = [&] { Allocations::FailNth(++nth); };
        wasReached = RunFaultySession(node, arm, [] {
            const bool hasFailed = Allocations::HasFailed();
            Allocations::FailNth(0);
            return hasFailed;
        });
    }
    EXPECT_GT(nth, 20u) << "the walk ended early";
}

} // namespace
} // namespace V4lX
