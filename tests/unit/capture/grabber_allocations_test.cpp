// What becomes of allocations that fail, on the capture thread too.
#include <new>

#include <gtest/gtest.h>

#include "grabber_fixture.h"
#include "support/allocations.h"

namespace V4lX
{
namespace
{

using test::Allocations;
using test::FakeCaptureNode;
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

/// Captures two frames; the number of those that arrived well.
int Capture(TestGrabber& grabber)
{
    const unsigned wakeUps = grabber.bell.GetCount();
    grabber.Queue(2);
    if (grabber->startCapturing() != Result::Success)
        return 0;
    grabber.node.PushFrame({1});
    grabber.node.PushFrame({2});
    grabber.bell.WaitFor(wakeUps + 2);
    const bool isFirstGood = grabber.Retrieve().frameId == 1;
    return isFirstGood + (grabber.Retrieve().frameId == 2);
}

/// Captures from opening to closing. Behind a step that fails only the way back is gone.
int RunSession(TestGrabber& grabber)
{
    int frames = 0;
    try {
        if (grabber->Open() == Result::Success && grabber->prepareCapturing() == Result::Success)
            frames = Capture(grabber);
        if (grabber->IsPrepared())
            grabber->finishCapturing();
    } catch (const std::bad_alloc&) {
        frames = 0;
    }
    grabber->Close();
    return frames;
}

TEST(StreamGrabber, FailingAllocationLeavesNothingAndItWorksAgain)
{
    std::size_t nth = 0;
    for (bool wasReached = true; wasReached;) {
        FakeCaptureNode node;
        TestGrabber grabber(node);
        testing::internal::CaptureStderr();
        Allocations::FailNth(++nth);
        RunSession(grabber);
        wasReached = Allocations::HasFailed();
        Allocations::FailNth(0);
        testing::internal::GetCapturedStderr();
        EXPECT_EQ(node.openDescriptors, 0);
        EXPECT_EQ(node.mappings, 0);
        EXPECT_EQ(RunSession(grabber), 2) << "doesn't work again";
    }
    EXPECT_GT(nth, 20u) << "the walk ended early";
}

} // namespace
} // namespace V4lX
