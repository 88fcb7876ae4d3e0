#include <atomic>
#include <csignal>
#include <optional>
#include <thread>

#include "board_fixture.h"
#include "sim/core/frame_counter.h"

namespace zevo_sim
{
namespace
{

constexpr char kVideo[] = "/dev/video0";
constexpr unsigned kWidth = 96;
constexpr unsigned kHeight = 104;

/// Frame number in the picture, from its upper and lower end.
std::optional<std::uint32_t> CounterOf(const std::uint8_t* memory, FrameLayout layout)
{
    const auto top = ReadCounter(memory, layout, kWidth, kHeight, CounterPlace::Top);
    const auto bottom = ReadCounter(memory, layout, kWidth, kHeight, CounterPlace::Bottom);
    return top == bottom ? top : std::nullopt;
}

/// Every case with single- and multi-planar buffers.
class CaptureNodeTest : public testing::TestWithParam<const char*>
{
protected:
    CaptureNodeTest() { board.Boot(kWidth, kHeight); }

    TestBoard board{std::string("board=generic;planes=") + GetParam()};
    Program program{*board};
};

INSTANTIATE_TEST_SUITE_P(Planes, CaptureNodeTest, testing::Values("single", "multi"));

TEST_P(CaptureNodeTest, ReadinessFollowsTheState)
{
    using Step = void (*)(TestBoard&, Program&);
    const Step request = [](TestBoard&, Program& p) { p.SetFormat(), p.Request(4); };
    const Step queue = [](TestBoard&, Program& p) { p.Queue(0); };
    const Step on = [](TestBoard&, Program& p) { p.Stream(true); };
    const Step off = [](TestBoard&, Program& p) { p.Stream(false); };
    const Step start = [](TestBoard&, Program& p) { p.Start(2); };
    const Step frame = [](TestBoard& b, Program&) { b.Node().FrameTime(); };
    const Step take = [](TestBoard&, Program& p) { p.Dequeue(); };
    const Step stall = [](TestBoard& b, Program&) { b.ToggleStall(); };
    const Step giveUp = [](TestBoard& b, Program&) { b.Node().GiveUp(); };
    const Step unplug = [](TestBoard& b, Program&) { b->Unplug(0); };
    const struct {
        const char* what;
        std::vector<Step> steps;
        short poll;
        int dequeue;
    } cases[] = {
        {"no buffers", {}, POLLERR, -EINVAL},
        {"buffers queued", {request, queue}, POLLERR, -EINVAL},
        {"stopped", {start, off}, POLLERR, -EINVAL},
        {"no buffer queued", {request, on}, POLLERR, -EAGAIN},
        {"one queued of two needed", {request, on, queue, frame}, 0, -EAGAIN},
        {"stalled", {start, stall, frame}, 0, -EAGAIN},
        {"all with the program", {start, frame, take, frame, take, frame}, 0, -EAGAIN},
        {"driver gave up", {start, giveUp}, POLLERR, -EIO},
        {"frame", {start, frame}, POLLIN, 0},
        {"unplugged", {start, unplug}, POLLPRI | POLLERR | POLLHUP, -ENODEV},
    };
    for (const auto& c : cases) {
        TestBoard other(std::string("board=generic;planes=") + GetParam());
        other.Boot(kWidth, kHeight);
        Program user(*other);
        for (const Step step : c.steps)
            step(other, user);
        EXPECT_EQ(user.Poll(POLLIN | POLLPRI), c.poll) << c.what;
        timeval none{};
        EXPECT_EQ(IsReadable(user.Fd(), &none), c.poll != 0) << c.what;
        EXPECT_EQ(user.Dequeue(), c.dequeue) << c.what;
    }
}

TEST_P(CaptureNodeTest, BuffersAreGrantedFilledAndTakenBack)
{
    EXPECT_EQ(program.Stream(true), -EINVAL) << "no buffers";
    EXPECT_EQ(program.Stream(false), 0);
    EXPECT_EQ(program.Request(1), 0);
    EXPECT_EQ(program.granted, 2u);
    EXPECT_EQ(program.Request(40), 0);
    EXPECT_EQ(program.granted, 32u);
    EXPECT_EQ(program.SetFormat(), -EBUSY);
    EXPECT_EQ(program.Queue(3), 0);
    EXPECT_EQ(program.Queue(3), -EINVAL) << "queued already";
    EXPECT_EQ(program.Queue(32), -EINVAL) << "no such buffer";
    EXPECT_EQ(program.Stream(true), 0);
    EXPECT_EQ(program.Stream(true), 0);
    EXPECT_EQ(program.Request(4), -EBUSY) << "streaming";
    EXPECT_EQ(program.Queue(4), 0);
    board.Node().GiveUp();
    EXPECT_EQ(program.Queue(2), -EIO) << "until it is stopped";
    EXPECT_EQ(program.Stream(false), 0);
    EXPECT_EQ(program.Queue(3), 0) << "taken back by the stop";
    EXPECT_EQ(program.Request(0), 0);
    EXPECT_EQ(program.SetFormat(), 0);
}

TEST_P(CaptureNodeTest, MappingsOutliveTheirBuffersAndTheCamera)
{
    ASSERT_EQ(program.Start(), 0);
    const std::uint8_t* memory = program.Map(0);
    ASSERT_NE(memory, nullptr);
    board.Node().FrameTime();
    program.Stream(false);
    EXPECT_EQ(program.Request(0), 0);
    EXPECT_EQ(program.Request(2), 0);
    board->Unplug(0);
    EXPECT_EQ(program.SetFormat(), -ENODEV);
    EXPECT_EQ(program.Stream(false), -ENODEV);
    EXPECT_EQ(CounterOf(memory, FrameLayout::Uyvy), 1u);
}

TEST_P(CaptureNodeTest, BufferTellsWhatAKernelTells)
{
    ASSERT_EQ(program.SetFormat(), 0);
    ASSERT_EQ(program.Request(2), 0);
    ASSERT_EQ(program.Query(1), 0);
    const std::size_t page = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
    EXPECT_EQ(program.Length(), kWidth * kHeight * 2u);
    EXPECT_EQ(program.Offset(), (program.Length() + page - 1) / page * page);
    EXPECT_EQ(program.buffer.flags, 0x2000u);
    ASSERT_NE(program.Map(0), nullptr);
    ASSERT_NE(program.Map(1), nullptr);
    program.Queue(0), program.Queue(1), program.Stream(true);
    board.SetPicture(kWidth, kHeight);
    board.Node().FrameTime();
    board.SetPicture(kWidth + 8, kHeight);
    board.Node().FrameTime();

    const bool isMulti = program.buffer.type == V4L2_BUF_TYPE_VIDEO_CAPTURE_MPLANE;
    for (const unsigned flags : {0x2001u, 0x2041u}) {
        ASSERT_EQ(program.Dequeue(), 0);
        EXPECT_EQ(program.buffer.flags, flags);
        EXPECT_EQ(program.buffer.sequence, flags == 0x2001 ? 0u : 1u);
        EXPECT_EQ(program.buffer.bytesused, isMulti ? 0 : kWidth * kHeight * 2);
        EXPECT_EQ(program.planes[0].bytesused, isMulti ? kWidth * kHeight * 2 : 0);
        EXPECT_EQ(program.buffer.field, static_cast<unsigned>(V4L2_FIELD_NONE));
    }
}

TEST_P(CaptureNodeTest, MappingChecksItsArguments)
{
    ASSERT_EQ(program.SetFormat(), 0);
    ASSERT_EQ(program.Request(2), 0);
    ASSERT_EQ(program.Query(1), 0);
    const int all = PROT_READ | PROT_WRITE;
    const auto offset = static_cast<long>(program.Offset());
    const auto map = [&](std::size_t length, int protection, int flags, long at) {
        return board->Map(program.Fd(), nullptr, length, protection, flags, at);
    };
    EXPECT_EQ(map(program.Length(), all, MAP_PRIVATE, offset), -EINVAL);
    EXPECT_EQ(map(program.Length(), all, MAP_SHARED, offset + 4096), -EINVAL);
    EXPECT_EQ(map(program.Length() + 8192, all, MAP_SHARED, offset), -EINVAL);
    Program reader(*board, kVideo, O_RDONLY);
    EXPECT_EQ(board->Map(reader.Fd(), nullptr, 4096, all, MAP_SHARED, 0), -EACCES);
}

TEST_P(CaptureNodeTest, SecondDescriptorIsKeptOut)
{
    ASSERT_EQ(program.SetFormat(), 0);
    ASSERT_EQ(program.Request(4), 0);
    auto second = std::make_unique<Program>(*board);
    EXPECT_EQ(second->SetFormat(), -EBUSY);
    EXPECT_EQ(second->Request(0), -EBUSY);
    EXPECT_EQ(second->Queue(0), -EBUSY);
    EXPECT_EQ(second->Dequeue(), -EBUSY);
    EXPECT_EQ(second->Stream(true), -EBUSY);
    EXPECT_EQ(second->Stream(false), -EBUSY);
    EXPECT_EQ(second->Query(3), 0);
    EXPECT_EQ(second->Poll(), POLLERR);
    second.reset();
    EXPECT_EQ(program.Queue(3), 0);
}

TEST_P(CaptureNodeTest, FormatIsAdjustedAndTypeChecked)
{
    v4l2_format& format = program.format;
    ASSERT_EQ(program.SetFormat(1001, 9999, 0x20202020), 0);
    EXPECT_EQ(format.fmt.pix.width, 1000u);
    EXPECT_EQ(format.fmt.pix.height, 4096u);
    EXPECT_EQ(format.fmt.pix.pixelformat, unsigned{V4L2_PIX_FMT_UYVY});
    format.type = V4L2_BUF_TYPE_VIDEO_OUTPUT;
    EXPECT_EQ(program.Ioctl(VIDIOC_G_FMT, &format), -EINVAL);
    v4l2_capability capability{};
    EXPECT_EQ(program.Ioctl(VIDIOC_QUERYCAP, &capability), 0);
    const bool isMulti = std::string(GetParam()) == "multi";
    EXPECT_EQ(capability.capabilities, isMulti ? 0x84201000 : 0x84200001);
    EXPECT_EQ(program.Ioctl(0x80044201, &capability), -ENOTTY) << "driver on another node";
}

TEST_P(CaptureNodeTest, FrameWithoutBufferIsAGap)
{
    ASSERT_EQ(program.Start(2), 0);
    for (int i = 0; i < 5; ++i)
        EXPECT_TRUE(board.Node().FrameTime());
    for (const unsigned sequence : {0u, 1u, 5u}) {
        ASSERT_EQ(program.Dequeue(), 0);
        EXPECT_EQ(program.buffer.sequence, sequence);
        EXPECT_EQ(program.Queue(program.buffer.index), 0);
        if (sequence == 1)
            board.Node().FrameTime();
    }
}

TEST(CaptureFormats, NodeAndIspHaveToAgree)
{
    const struct {
        std::uint32_t fourcc;
        std::uint16_t outputFormat;
        bool isReceived;
    } cases[] = {
        {V4L2_PIX_FMT_NV12, 0x51, true},
        {V4L2_PIX_FMT_NV12, 0x50, false},
        {V4L2_PIX_FMT_UYVY, 0x51, false},
        {V4L2_PIX_FMT_UYVY, 0x8A, false},
    };
    for (const auto& c : cases) {
        TestBoard board("board=imx8mm");
        board.Boot(kWidth, kHeight);
        board.Write(isp::kPreviewOutFormat, c.outputFormat);
        Program program(*board);
        ASSERT_EQ(program.Start(2, c.fourcc), 0);
        EXPECT_EQ(board.Node().FrameTime(), c.isReceived) << c.outputFormat;
        EXPECT_EQ(program.Dequeue(), c.isReceived ? 0 : -EAGAIN);
    }
}

TEST(CaptureFormats, LinesAreFilledUpWhereTheBoardAsksForIt)
{
    TestBoard board("board=nvidia-tx2");
    board.Boot(kWidth, kHeight);
    Program program(*board);
    ASSERT_EQ(program.Start(2), 0);
    const std::uint8_t* memory = program.Map(0);
    EXPECT_EQ(program.Length(), 256 * kHeight);
    board.Node().FrameTime();
    ASSERT_EQ(program.Dequeue(), 0);
    std::vector<std::uint8_t> packed;
    for (unsigned y = 0; y < kHeight; ++y)
        packed.insert(packed.end(), memory + y * 256, memory + y * 256 + kWidth * 2);
    EXPECT_EQ(CounterOf(packed.data(), FrameLayout::Uyvy), 1u);
}

TEST(CaptureControls, LowLatencyModeIsFoundByTheWalk)
{
    TestBoard board("board=nvidia;form=controls");
    Program program(*board);
    v4l2_queryctrl query{};
    std::vector<std::string> names;
    do {
        query.id |= V4L2_CTRL_FLAG_NEXT_CTRL;
        ASSERT_EQ(program.Ioctl(VIDIOC_QUERYCTRL, &query), 0);
        names.emplace_back(reinterpret_cast<const char*>(query.name));
    } while (names.back() != "Low Latency Mode");
    EXPECT_EQ(names.front(), "User Controls");
    v4l2_control control{query.id, 1};
    EXPECT_EQ(program.Ioctl(VIDIOC_S_CTRL, &control), 0);
    EXPECT_TRUE(board.Node().IsLowLatency());
}

// With the frame thread, and with a call that waits.
TEST(Streaming, WaitingDequeueEndsWithTheStream)
{
    TestBoard board("board=imx8mm", Pace::AsTaken);
    Program program(*board, kVideo, O_RDWR);
    ASSERT_EQ(program.Start(), 0);
    std::thread waiter([&] { EXPECT_EQ(program.Dequeue(), -EINVAL); });
    EXPECT_EQ(program.Stream(false), 0);
    waiter.join();
}

TEST(Streaming, SignalEndsAWaitingDequeue)
{
    TestBoard board("board=imx8mm", Pace::AsTaken);
    Program program(*board, kVideo, O_RDWR);
    ASSERT_EQ(program.Start(), 0);
    struct sigaction action {
    };
    struct sigaction before;
    action.sa_handler = [](int) {};
    sigaction(SIGUSR1, &action, &before);
    std::atomic<bool> isOver{false};
    std::thread waiter([&] {
        EXPECT_EQ(program.Dequeue(), -EINTR);
        isOver = true;
    });
    while (!isOver) {
        pthread_kill(waiter.native_handle(), SIGUSR1);
        std::this_thread::yield();
    }
    waiter.join();
    sigaction(SIGUSR1, &before, nullptr);
}

} // namespace
} // namespace zevo_sim
