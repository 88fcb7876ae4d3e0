#include "v4l2/video_device.h"

#include <cerrno>
#include <cstring>
#include <stdexcept>

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/fake_capture_node.h"
#include "support/outcome.h"

namespace V4L2
{
namespace
{

using test::FakeCaptureNode;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr std::uint32_t kSingle = V4L2_CAP_VIDEO_CAPTURE | V4L2_CAP_STREAMING;
constexpr std::uint32_t kMulti = V4L2_CAP_VIDEO_CAPTURE_MPLANE | V4L2_CAP_STREAMING;

std::string SystemText(int error)
{
    return ": " + std::generic_category().message(error);
}

/// A device on the fake node with an image of 256 bytes.
std::unique_ptr<VideoDevice> Open(FakeCaptureNode& node)
{
    auto device = std::make_unique<VideoDevice>("/dev/video9", node.Calls());
    v4l2_format format = device->GetFormat();
    format.fmt.pix.width = 32;
    format.fmt.pix.height = 4;
    device->SetFormat(format);
    return device;
}

TEST(VideoDevice, OpensNonBlockingAndClosesAtTheEnd)
{
    FakeCaptureNode node;
    node.driver = "sixteen-letters!"; // and no end
    SystemCalls calls = node.Calls();
    int openFlags = 0;
    calls.open = [&, open = calls.open](const char* path, int flags, int mode) {
        openFlags = flags;
        return open(path, flags, mode);
    };
    {
        const VideoDevice device("/dev/video9", calls);
        EXPECT_EQ(openFlags, O_RDWR | O_NONBLOCK);
        EXPECT_EQ(device.GetCapabilities(), kSingle);
        EXPECT_EQ(device.GetDriverName(), node.driver);
        EXPECT_EQ(node.openDescriptors, 1);
    }
    EXPECT_EQ(node.openDescriptors, 0);
}

TEST(VideoDevice, RefusedNodeIsClosedAgain)
{
    constexpr std::uint32_t kStreaming = V4L2_CAP_STREAMING;
    const struct {
        unsigned failingCall;
        int error;
        std::uint32_t capabilities;
        std::string words;
    } rows[] = {
        {1, ENOENT, kSingle, "Failed to open device /dev/video9"},
        {2, EINVAL, kSingle, "/dev/video9 is no V4L2 device"},
        {2, ENOTTY, kSingle, "VIDIOC_QUERYCAP failed for /dev/video9"},
        {2, EINTR, kSingle, "VIDIOC_QUERYCAP failed for /dev/video9"},
        {0, EINVAL, kStreaming, "/dev/video9 is no video capture device"},
        {0, EINVAL, kStreaming | V4L2_CAP_VIDEO_OUTPUT, "/dev/video9 is no video capture device"},
        {0, EINVAL, kStreaming | V4L2_CAP_VIDEO_M2M, "/dev/video9 is no video capture device"},
        {0, EINVAL, V4L2_CAP_VIDEO_CAPTURE, "/dev/video9 does not support streaming I/O"},
    };
    for (const auto& row : rows) {
        FakeCaptureNode node;
        node.capabilities = row.capabilities;
        node.FailCall(row.failingCall, row.error);
        EXPECT_EQ(errorOf([&] { VideoDevice("/dev/video9", node.Calls()); }),
                  row.words + SystemText(row.error));
        EXPECT_EQ(node.openDescriptors, 0) << row.words;
    }
}

TEST(VideoDevice, CapabilitiesDecideTheBufferType)
{
    const std::pair<std::uint32_t, std::uint32_t> rows[] = {
        {kSingle, V4L2_BUF_TYPE_VIDEO_CAPTURE},
        {kMulti, V4L2_BUF_TYPE_VIDEO_CAPTURE_MPLANE},
        {kSingle | V4L2_CAP_VIDEO_OUTPUT_MPLANE, V4L2_BUF_TYPE_VIDEO_CAPTURE_MPLANE},
        {kSingle | V4L2_CAP_VIDEO_M2M_MPLANE, V4L2_BUF_TYPE_VIDEO_CAPTURE_MPLANE},
        {kSingle | V4L2_CAP_VIDEO_OUTPUT, V4L2_BUF_TYPE_VIDEO_CAPTURE},
    };
    for (const auto& [capabilities, type] : rows) {
        FakeCaptureNode node;
        node.capabilities = capabilities;
        EXPECT_EQ(VideoDevice("/dev/video9", node.Calls()).GetFormat().type, type);
    }
}

TEST(VideoDevice, FailuresNameTheOperation)
{
    using Call = void (*)(VideoDevice&, Buffer&);
    const struct {
        Call call;
        std::string words;
        int error = EIO;
    } rows[] = {
        {[](auto& d, auto&) { d.StreamOn(); }, "Failed to start stream"},
        {[](auto& d, auto&) { d.StreamOff(); }, "Failed to turn off stream"},
        {[](auto& d, auto&) { d.GetFormat(); }, "Failed to get capture image format"},
        {[](auto& d, auto&) {
             v4l2_format f{};
             d.SetFormat(f);
         },
         "Failed to set capture image format"},
        {[](auto& d, auto& b) { d.QueueBuffer(b); }, "Failed to queue buffer 1"},
        {[](auto& d, auto&) { d.SetControl(9963776, -5); },
         "Failed to set control with ID 9963776 to value -5"},
        {[](auto& d, auto&) { d.DequeueBuffer(); }, "VIDIOC_DQBUF failed"},
        {[](auto& d, auto&) { d.FindControl("Gain"); }, "Failed to query V4L2 controls"},
        {[](auto& d, auto&) { d.RequestBuffers(4); }, "VIDIOC_REQBUFS failed"},
        {[](auto& d, auto&) { d.RequestBuffers(0); }, "VIDIOC_REQBUFS failed"},
        {[](auto& d, auto&) { d.RequestBuffers(4); },
         "Video device does not support memory mapping", EINVAL},
    };
    for (const auto& row : rows) {
        FakeCaptureNode node;
        const auto device = Open(node);
        const auto buffers = device->RequestBuffers(2);
        node.FailCall(1, row.error);
        EXPECT_EQ(errorOf([&] { row.call(*device, *buffers[1]); }),
                  row.words + SystemText(row.error));
    }
}

TEST(VideoDevice, BufferSetUpThatFailsLeavesNothingWithTheKernel)
{
    // REQBUFS, then QUERYBUF and mmap of each of the four.
    for (unsigned nth = 2; nth <= 9; ++nth) {
        FakeCaptureNode node;
        const auto device = Open(node);
        node.FailCall(nth, ENOMEM);
        const std::string words = nth % 2 == 0 ? "VIDIOC_QUERYBUF failed" : "Mapping memory failed";
        EXPECT_EQ(errorOf([&] { device->RequestBuffers(4); }), words + SystemText(ENOMEM));
        EXPECT_EQ(node.mappings, 0) << nth;
        EXPECT_EQ(node.GetLog().back(), "REQBUFS 0") << nth;
        EXPECT_EQ(device->RequestBuffers(4).size(), 4u) << nth;
    }
}

TEST(VideoDevice, AbsurdNumbersFromTheDriverAreCut)
{
    FakeCaptureNode node;
    node.capabilities = kMulti;
    node.planesPerBuffer = 200;
    node.handlers[VIDIOC_REQBUFS] = [](void* argument) {
        auto& request = *static_cast<v4l2_requestbuffers*>(argument);
        return request.count = request.count == 0 ? 7 : 0xFFFFFFF0, 0;
    };
    node.handlers[VIDIOC_QUERYBUF] = [](void* argument) {
        auto& buffer = *static_cast<v4l2_buffer*>(argument);
        for (std::uint32_t i = 0; i < buffer.length; ++i)
            buffer.m.planes[i].length = 16;
        return buffer.length = 200, 0;
    };
    VideoDevice device("/dev/video9", node.Calls());
    const auto buffers = device.RequestBuffers(4);
    ASSERT_EQ(buffers.size(), 32u);
    EXPECT_EQ(buffers[31]->planes.size(), 8u);
    EXPECT_THAT(device.RequestBuffers(0), IsEmpty());
}

TEST(VideoDevice, BufferWithoutPlanesFails)
{
    FakeCaptureNode node;
    node.capabilities = kMulti;
    node.planesPerBuffer = 0;
    VideoDevice device("/dev/video9", node.Calls());
    EXPECT_EQ(errorOf([&] { device.RequestBuffers(2); }),
              "VIDIOC_QUERYBUF failed" + SystemText(EINVAL));
}

TEST(VideoDevice, QueueingABufferOfNoIndexIsRefused)
{
    FakeCaptureNode node;
    const auto device = Open(node);
    const auto buffers = device->RequestBuffers(2);
    Buffer foreign;
    foreign.index = 2;
    EXPECT_THROW(device->QueueBuffer(foreign), std::out_of_range);
}

TEST(VideoDevice, MultiPlanarCallsCarryTheirPlanes)
{
    FakeCaptureNode node;
    node.capabilities = kMulti;
    const auto device = Open(node);
    const auto buffers = device->RequestBuffers(2);
    std::vector<std::uint32_t> seen;
    node.handlers[VIDIOC_QBUF] = [&](void* argument) {
        const auto& buffer = *static_cast<v4l2_buffer*>(argument);
        seen = {buffer.type, buffer.memory, buffer.length, buffer.m.planes[0].length};
        return 0;
    };
    node.handlers[VIDIOC_DQBUF] = [&](void* argument) {
        auto& buffer = *static_cast<v4l2_buffer*>(argument);
        EXPECT_EQ(buffer.length, 8u);
        return buffer.length = 4'000'000, 0;
    };
    device->QueueBuffer(*buffers[0]);
    EXPECT_THAT(seen, ElementsAre(V4L2_BUF_TYPE_VIDEO_CAPTURE_MPLANE, V4L2_MEMORY_MMAP, 1, 256));
    EXPECT_EQ(device->DequeueBuffer(), buffers[0].get());
}

TEST(VideoDevice, DequeueOfABufferNotQueuedGivesNothing)
{
    FakeCaptureNode node;
    const auto device = Open(node);
    const auto buffers = device->RequestBuffers(3);
    device->QueueBuffer(*buffers[0]);
    device->QueueBuffer(*buffers[1]);
    device->StreamOn();
    EXPECT_EQ(device->DequeueBuffer(), nullptr) << "no frame yet";
    node.PushFrame({9, true, 1, 2});
    EXPECT_EQ(device->DequeueBuffer(), nullptr);
    EXPECT_EQ(buffers[2]->sequence, 0u);
    device->QueueBuffer(*buffers[2]);
    node.PushFrame({10, false, 1, 2});
    node.PushFrame({11, false, 1, 2});
    EXPECT_EQ(device->DequeueBuffer(), buffers[2].get());
    EXPECT_EQ(device->DequeueBuffer(), nullptr) << "handed out twice";
    EXPECT_EQ(buffers[2]->sequence, 10u);
}

TEST(VideoDevice, FindsEnabledControlsByTheirWholeName)
{
    const struct Control {
        std::uint32_t id;
        std::uint32_t flags;
        char name[33];
    } controls[] = {
        {0x00980001, 0, "User Controls"},
        {0x00980913, V4L2_CTRL_FLAG_DISABLED, "Low Latency Mode"},
        {0x00980914, 0, "Low Latency Mode"},
        {0x00980915, V4L2_CTRL_FLAG_DISABLED, "Gain"},
        {0x00980916, 0, "thirty-two characters of a name!"},
    };
    FakeCaptureNode node;
    node.handlers[VIDIOC_QUERYCTRL] = [&](void* argument) {
        auto& query = *static_cast<v4l2_queryctrl*>(argument);
        for (const Control& control : controls) {
            if ((query.id & V4L2_CTRL_FLAG_NEXT_CTRL) == 0 || control.id <= (query.id & 0x0FFFFFFF))
                continue;
            query.id = control.id;
            query.flags = control.flags;
            std::memcpy(query.name, control.name, sizeof query.name);
            return 0;
        }
        return EINVAL;
    };
    VideoDevice device("/dev/video9", node.Calls());
    EXPECT_EQ(device.FindControl("Low Latency Mode"), 0x00980914u);
    EXPECT_EQ(device.FindControl("thirty-two characters of a name!"), 0x00980916u);
    for (const char* absent : {"Low Latency", "Low Latency Mode ", "Gain", ""})
        EXPECT_EQ(device.FindControl(absent), std::nullopt) << absent;
}

TEST(VideoDevice, ControlsWithoutEndEndTheSearch)
{
    FakeCaptureNode node;
    node.handlers[VIDIOC_QUERYCTRL] = [](void*) { return 0; };
    EXPECT_EQ(VideoDevice("/dev/video9", node.Calls()).FindControl("Gain"), std::nullopt);
}

} // namespace
} // namespace V4L2
