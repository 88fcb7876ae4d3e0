// The grabber on a simulated board's capture node, which answers as a kernel's does.
#include <cerrno>

#include <gtest/gtest.h>

#include "grabber_fixture.h"
#include "image/ap1302_image_processing.h"
#include "sim/board_fixture.h"

namespace V4lX
{
namespace
{

constexpr std::uint32_t kWidth = 96;
constexpr std::uint32_t kHeight = 104;
constexpr std::size_t kPayload = kWidth * kHeight * 2;

/// A negative error number into errno and -1.
template <typename Number>
Number Answer(Number result)
{
    if (result >= 0 || result < -4095)
        return result;
    errno = static_cast<int>(-result);
    return -1;
}

V4L2::SystemCalls CallsOf(zevo_sim::Board& board)
{
    V4L2::SystemCalls calls;
    calls.open = [&board](const char* path, int flags, int) {
        EXPECT_STREQ(path, "/dev/null");
        return Answer(board.Open("/dev/video0", flags));
    };
    calls.close = [&board](int fd) { return Answer(board.Close(fd)); };
    calls.ioctl = [&board](int fd, unsigned long request, void* argument) {
        const int result = Answer(board.Ioctl(fd, request, argument));
        return V4L2::IoctlResult(result, errno);
    };
    calls.mmap = [&board](void* address, std::size_t length, int protection, int flags, int fd,
                          off_t offset) {
        return reinterpret_cast<void*>(
            Answer(board.Map(fd, address, length, protection, flags, offset)));
    };
    calls.munmap = [&board](void* address, std::size_t length) {
        board.Unmapped(address, length);
        return ::munmap(address, length);
    };
    return calls;
}

/// Frames come as fast as buffers are there for them.
class SimulatedGrabber
{
public:
    SimulatedGrabber()
        : board("board=imx8mm", zevo_sim::Pace::AsTaken),
          grabber("/dev/null", std::make_shared<AP1302ImageProcessing>(),
                  [this](const std::string& path) {
                      return std::make_unique<V4L2::VideoDevice>(path,
                                                                 CallsOf(*board.operator->()));
                  })
    {
        board.Boot(kWidth, kHeight);
        grabber.SetWidth(kWidth);
        grabber.SetHeight(kHeight);
        grabber.SetPixelFormat(test::Pfnc::YUV422_8_UYVY);
        grabber.SetPayloadSize(kPayload);
        grabber.SetBufferAvailable(&bell);
    }

    V4lX::StreamGrabber* operator->() { return &grabber; }

    void Start(int buffers)
    {
        ASSERT_EQ(grabber.prepareCapturing(), Result::Success);
        for (int i = 0; i < buffers; ++i) {
            std::uint64_t handle = 0;
            memory.emplace_back(kPayload);
            grabber.RegisterBuffer(memory.back().data(), kPayload, &handle);
            grabber.QueueBuffer(handle, 0);
        }
        ASSERT_EQ(grabber.startCapturing(), Result::Success);
    }

    GrabResult WaitForFrame() { return test::WaitForResult(grabber, bell); }

    zevo_sim::TestBoard board;
    test::Bell bell;
    std::vector<std::vector<std::uint8_t>> memory;
    V4lX::StreamGrabber grabber;
};

TEST(GrabberOnSimulatedNode, StopsAndStartsWhileFramesCome)
{
    SimulatedGrabber grabber;
    grabber->Open();
    for (int i = 0; i < 40; ++i) {
        grabber.Start(i % 4);
        if (i % 4 != 0) {
            EXPECT_EQ(grabber.WaitForFrame().frameId, 1u);
        }
        EXPECT_EQ(grabber->finishCapturing(), Result::Success);
    }
}

TEST(GrabberOnSimulatedNode, NodeThatGaveUpWorksAgain)
{
    SimulatedGrabber grabber;
    grabber->Open();
    grabber.Start(1);
    EXPECT_EQ(grabber.WaitForFrame().frameId, 1u);
    grabber.board.Node().GiveUp();
    EXPECT_EQ(grabber->finishCapturing(), Result::Success);
    grabber.Start(1);
    EXPECT_EQ(grabber.WaitForFrame().frameId, 1u);
}

TEST(GrabberOnSimulatedNode, PulledCameraEndsInAFailureOfTheStop)
{
    SimulatedGrabber grabber;
    grabber->Open();
    grabber.Start(2);
    EXPECT_EQ(grabber.WaitForFrame().frameId, 1u);
    grabber.board->Unplug(0);
    EXPECT_EQ(grabber->finishCapturing(), Result::Failure);
    grabber->Close();
    EXPECT_EQ(grabber->Open(), Result::Failure);
}

TEST(GrabberOnSimulatedNode, StalledCameraDoesntKeepAStopWaiting)
{
    SimulatedGrabber grabber;
    grabber.board.ToggleStall();
    grabber->Open();
    grabber.Start(1);
    EXPECT_EQ(grabber->finishCapturing(), Result::Success);
    EXPECT_EQ(grabber.WaitForFrame().error, Result::Unfilled);
}

} // namespace
} // namespace V4lX
