// A whole session with a grabber, in which something fails.
#pragma once

#include <filesystem>
#include <new>

#include <gtest/gtest.h>

#include "grabber_fixture.h"

namespace test
{

inline std::size_t CountDescriptors()
{
    const std::filesystem::directory_iterator entries("/proc/self/fd");
    return static_cast<std::size_t>(std::distance(begin(entries), end(entries)));
}

/// Captures two frames; the number of those that arrived well.
inline int Capture(FakeCaptureNode& node, TestGrabber& grabber)
{
    const unsigned wakeUps = grabber.bell.GetCount();
    grabber->QueueBuffer(grabber.Register(), 0);
    grabber->QueueBuffer(grabber.Register(), 0);
    if (grabber->startCapturing() != V4lX::Result::Success)
        return 0;
    node.PushFrame({1});
    node.PushFrame({2});
    grabber.bell.WaitFor(wakeUps + 2);
    const bool isFirstGood = grabber.Retrieve().frameId == 1;
    return isFirstGood + (grabber.Retrieve().frameId == 2);
}

/// Captures from opening to closing. Behind a step that fails only the way back is gone.
inline int RunSession(FakeCaptureNode& node, TestGrabber& grabber)
{
    if (grabber->Open() != V4lX::Result::Success)
        return 0;
    int frames = 0;
    if (grabber->prepareCapturing() == V4lX::Result::Success)
        frames = Capture(node, grabber);
    if (grabber->IsPrepared())
        grabber->finishCapturing();
    grabber->Close();
    return frames;
}

/// Runs a session with a fault and one without; true if the fault was reached.
template <typename Arm, typename Disarm>
bool RunFaultySession(FakeCaptureNode& node, Arm arm, Disarm disarm)
{
    TestGrabber grabber(node);
    testing::internal::CaptureStderr();
    arm();
    try {
        RunSession(node, grabber);
    } catch (const std::bad_alloc&) {
        grabber->Close();
    }
    const bool wasReached = disarm();
    testing::internal::GetCapturedStderr();
    EXPECT_EQ(node.openDescriptors, 0);
    EXPECT_EQ(node.mappings, 0);
    EXPECT_EQ(RunSession(node, grabber), 2) << "doesn't work again";
    return wasReached;
}

} // namespace test
