#include <cerrno>

#include <gtest/gtest.h>

#include "grabber_session.h"

namespace V4lX
{
namespace
{

using test::CountDescriptors;
using test::FakeCaptureNode;
using test::RunFaultySession;

TEST(GrabberFaults, FailingSystemCallLeavesNothingAndItWorksAgain)
{
    const std::size_t descriptors = CountDescriptors();
    unsigned nth = 0;
    for (bool wasReached = true; wasReached;) {
        FakeCaptureNode node;
        const auto arm = [&] { node.FailCall(++nth, EIO); };
        wasReached = RunFaultySession(node, arm, [&] {
            const bool hasFailed = node.GetCallCount() >= nth;
            node.FailCall(0, 0);
            return hasFailed;
        });
    }
    EXPECT_GT(nth, 24u) << "the walk ended early";
    EXPECT_EQ(CountDescriptors(), descriptors);
}

} // namespace
} // namespace V4lX
