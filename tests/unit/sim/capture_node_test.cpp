#include <pthread.h>
#include <signal.h>

#include <atomic>
#include <functional>
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

/// Every case with single- and multi-planar buffers.
class CaptureNodeTest : public testing::TestWithParam<const char*>
{
protected:
    CaptureNodeTest() { board.Boot(kWidth, kHeight); }

    TestBoard board{std::string("board=generic;planes=") + GetParam()};
    Program program{*board.operator->(), kVideo};
};

INSTANTIATE_TEST_SUITE_P(Planes, CaptureNodeTest, testing::Values("single", "multi"));

TEST_P(CaptureNodeTest, ReadinessFollowsTheState)
{
    using Step = std::function<void(TestBoard&, Program&)>;
    const Step none = [](TestBoard&, Program&) {};
    const Step request = [](TestBoard&, Program& p) { p.SetFormat(), p.Request(4); };
    const Step start = [](TestBoard&, Program& p) { p.Start(); };
    struct {
        const char* what;
        Step prepare;
        short poll;
        int dequeue;
    } cases[] = {
        {"no buffers", none, POLLERR, -EINVAL},
        {"buffers", request, POLLERR, -EINVAL},
        {"buffers queued", [&](TestBoard& b, Program& p) { request(b, p), p.Queue(0); }, POLLERR,
         -EINVAL},
        {"stopped", [&](TestBoard& b, Program& p) { start(b, p), p.Stream(false); }, POLLERR,
         -EINVAL},
        {"no buffer queued", [&](TestBoard& b, Program& p) { request(b, p), p.Stream(true); },
         POLLERR, -EAGAIN},
        {"one queued of two needed",
         [&](TestBoard& b, Program& p) {
             request(b, p), p.Stream(true), p.Queue(0), b.Node().FrameTime();
         },
         0, -EAGAIN},
        {"stalled",
         [&](TestBoard& b, Program& p) { start(b, p), b.ToggleStall(), b.Node().FrameTime(); }, 0,
         -EAGAIN},
        {"all with the program",
         [&](TestBoard& b, Program& p) {
             start(b, p);
             for (int i = 0; i < 4; ++i)
                 b.Node().FrameTime(), p.Dequeue();
             b.Node().FrameTime();
         },
         0, -EAGAIN},
        {"driver gave up", [&](TestBoard& b, Program& p) { start(b, p), b.Node().GiveUp(); },
         POLLERR, -EIO},
        {"frame", [&](TestBoard& b, Program& p) { start(b, p), b.Node().FrameTime(); }, POLLIN, 0},
        {"unplugged", [&](TestBoard& b, Program& p) { start(b, p), b->Unplug(0); },
         POLLPRI | POLLERR | POLLHUP, -ENODEV},
    };
    for (const auto& c : cases) {
        TestBoard other(std::string("board=generic;planes=") + GetParam());
        other.Boot(kWidth, kHeight);
        Program user(*other.operator->(), kVideo);
        c.prepare(other, user);
        EXPECT_EQ(user.Poll(POLLIN | POLLPRI), c.poll) << c.what;
        timeval none{};
        EXPECT_EQ(IsReadable(user.Fd(), &none), c.poll != 0) << c.what;
        EXPECT_EQ(user.Dequeue(), c.dequeue) << c.what;
    }
}

TEST_P(CaptureNodeTest, GivenUpDriverRefusesUntilStopped)
{
    ASSERT_EQ(program.Start(), 0);
    board.Node().FrameTime();
    ASSERT_EQ(program.Dequeue(), 0);
    board.Node().GiveUp();
    EXPECT_EQ(program.Queue(0), -EIO);
    EXPECT_EQ(program.Stream(false), 0);
    EXPECT_EQ(program.Queue(0), 0);
}

TEST_P(CaptureNodeTest, UnpluggedNodeRefusesEverythingButKeepsMappings)
{
    ASSERT_EQ(program.Start(), 0);
    const std::uint8_t* memory = program.Map(0);
    ASSERT_NE(memory, nullptr);
    board.Node().FrameTime();
    const auto before = std::vector<std::uint8_t>(memory, memory + 64);
    board->Unplug(0);
    EXPECT_EQ(program.SetFormat(), -ENODEV);
    EXPECT_EQ(program.Stream(false), -ENODEV);
    EXPECT_EQ(board->Open(kVideo, O_RDWR), -ENOENT);
    EXPECT_EQ(std::vector<std::uint8_t>(memory, memory + 64), before);
}

TEST_P(CaptureNodeTest, BuffersAreGrantedFilledAndTakenBack)
{
    unsigned granted = 0;
    EXPECT_EQ(program.Stream(true), -EINVAL) << "no buffers";
    EXPECT_EQ(program.Stream(false), 0);
    EXPECT_EQ(program.Request(1, &granted), 0);
    EXPECT_EQ(granted, 2u);
    EXPECT_EQ(program.Request(40, &granted), 0);
    EXPECT_EQ(granted, 32u);
    EXPECT_EQ(program.SetFormat(), -EBUSY);
    EXPECT_EQ(program.Queue(3), 0);
    EXPECT_EQ(program.Queue(3), -EINVAL) << "queued already";
    EXPECT_EQ(program.Queue(32), -EINVAL) << "no such buffer";
    EXPECT_EQ(program.Stream(true), 0);
    EXPECT_EQ(program.Stream(true), 0);
    EXPECT_EQ(program.Request(4), -EBUSY) << "streaming";
    EXPECT_EQ(program.Stream(false), 0);
    EXPECT_EQ(program.Queue(3), 0) << "taken back by the stop";
    EXPECT_EQ(program.Request(0, &granted), 0);
    EXPECT_EQ(program.SetFormat(), 0);
}

TEST_P(CaptureNodeTest, OldMappingsOutliveNewBuffers)
{
    ASSERT_EQ(program.Start(), 0);
    const std::uint8_t* memory = program.Map(0);
    ASSERT_NE(memory, nullptr);
    board.Node().FrameTime();
    program.Stream(false);
    EXPECT_EQ(program.Request(0), 0);
    EXPECT_EQ(program.Request(2), 0);
    EXPECT_EQ(ReadCounter(memory, FrameLayout::Uyvy, kWidth, kHeight, CounterPlace::Top), 1u);
}

TEST_P(CaptureNodeTest, QueuedBehindAStopSpoilsTheNextStart)
{
    ASSERT_EQ(program.Start(), 0);
    board.Node().FrameTime();
    ASSERT_EQ(program.Dequeue(), 0);
    program.Stream(false);
    EXPECT_EQ(program.Queue(0), 0);
    EXPECT_EQ(program.Queue(0), -EINVAL);
    EXPECT_EQ(program.Stream(false), 0);
    EXPECT_EQ(program.Queue(0), 0);
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
    Program reader(*board.operator->(), kVideo, O_RDONLY);
    EXPECT_EQ(board->Map(reader.Fd(), nullptr, 4096, all, MAP_SHARED, 0), -EACCES);
}

TEST_P(CaptureNodeTest, SecondDescriptorIsKeptOut)
{
    ASSERT_EQ(program.SetFormat(), 0);
    ASSERT_EQ(program.Request(4), 0);
    auto second = std::make_unique<Program>(*board.operator->(), kVideo);
    EXPECT_EQ(second->SetFormat(), -EBUSY);
    EXPECT_EQ(second->Request(4), -EBUSY);
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

TEST_P(CaptureNodeTest, ClosingStopsAndFrees)
{
    auto owner = std::make_unique<Program>(*board.operator->(), kVideo);
    ASSERT_EQ(owner->Start(), 0);
    const int copy = dup(owner->Fd());
    owner.reset();
    EXPECT_EQ(program.Request(4), -EBUSY) << "the copy keeps the file open";
    close(copy); // past the board, as fclose() does
    EXPECT_EQ(program.Request(4), 0);
}

TEST_P(CaptureNodeTest, FormatIsAdjustedAndTypeChecked)
{
    v4l2_format format;
    ASSERT_EQ(program.SetFormat(1001, 9999, 0x20202020, format), 0);
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
    v4l2_ext_controls controls{};
    v4l2_ext_control control{};
    control.id = 0x00981001;
    controls.count = 1;
    controls.controls = &control;
    EXPECT_EQ(program.Ioctl(VIDIOC_G_EXT_CTRLS, &controls), -EINVAL);
}

/// Frame number in the picture of the dequeued buffer, from its upper and lower end.
std::optional<std::uint32_t> CounterOf(const std::uint8_t* memory, FrameLayout layout)
{
    const auto top = ReadCounter(memory, layout, kWidth, kHeight, CounterPlace::Top);
    const auto bottom = ReadCounter(memory, layout, kWidth, kHeight, CounterPlace::Bottom);
    return top == bottom ? top : std::nullopt;
}

TEST_P(CaptureNodeTest, FrameWithoutBufferIsAGap)
{
    ASSERT_EQ(program.Start(2), 0);
    const std::uint8_t* memory[] = {program.Map(0), program.Map(1)};
    for (int i = 0; i < 5; ++i)
        EXPECT_TRUE(board.Node().FrameTime());
    struct {
        std::uint32_t sequence;
        std::uint32_t counter;
    } expected[] = {{0, 1}, {1, 2}, {5, 6}};
    for (const auto& frame : expected) {
        ASSERT_EQ(program.Dequeue(), 0);
        const unsigned index = program.buffer.index;
        EXPECT_EQ(program.buffer.sequence, frame.sequence);
        EXPECT_EQ(CounterOf(memory[index], FrameLayout::Uyvy), frame.counter);
        EXPECT_EQ(program.Queue(index), 0);
        if (frame.sequence == 1)
            board.Node().FrameTime();
    }
}

TEST(CaptureFormats, NodeAndIspHaveToAgree)
{
    struct {
        const char* board;
        std::uint32_t fourcc;
        std::uint16_t outputFormat;
        std::optional<FrameLayout> layout;
    } cases[] = {
        {"imx8mm", V4L2_PIX_FMT_UYVY, 0x50, FrameLayout::Uyvy},
        {"imx8mm", V4L2_PIX_FMT_NV12, 0x51, FrameLayout::LineInterleaved420},
        {"imx8mm", V4L2_PIX_FMT_NV12, 0x50, std::nullopt},
        {"imx8mm", V4L2_PIX_FMT_UYVY, 0x51, std::nullopt},
        {"imx8mm", V4L2_PIX_FMT_UYVY, 0x8A, std::nullopt},
        {"imx8mp", V4L2_PIX_FMT_YUYV, 0x50, FrameLayout::Yuyv},
    };
    for (const auto& c : cases) {
        TestBoard board(std::string("board=") + c.board);
        board.Boot(kWidth, kHeight);
        board.Write(isp::kPreviewOutFormat, c.outputFormat);
        Program program(*board.operator->(), kVideo);
        ASSERT_EQ(program.SetFormat(kWidth, kHeight, c.fourcc), 0);
        ASSERT_EQ(program.Request(2) | program.Queue(0) | program.Queue(1), 0);
        ASSERT_EQ(program.Stream(true), 0);
        EXPECT_EQ(board.Node().FrameTime(), c.layout.has_value()) << c.board << c.outputFormat;
        const std::uint8_t* memory = program.Map(0);
        EXPECT_EQ(program.Length(), kWidth * kHeight * (c.fourcc == V4L2_PIX_FMT_NV12 ? 3 : 4) / 2);
        EXPECT_EQ(program.Dequeue(), c.layout ? 0 : -EAGAIN);
        const FrameLayout layout = c.fourcc == V4L2_PIX_FMT_NV12
                                       ? FrameLayout::LineInterleaved420
                                       : c.layout.value_or(FrameLayout::Uyvy);
        EXPECT_EQ(CounterOf(memory, layout).has_value(), c.layout.has_value());
    }
}

TEST(CaptureFormats, LinesAreFilledUpWhereTheBoardAsksForIt)
{
    TestBoard board("board=nvidia-tx2");
    board.Boot(kWidth, kHeight);
    Program program(*board.operator->(), kVideo);
    v4l2_format format;
    ASSERT_EQ(program.SetFormat(kWidth, kHeight, V4L2_PIX_FMT_UYVY, format), 0);
    EXPECT_EQ(format.fmt.pix.bytesperline, 256u);
    EXPECT_EQ(format.fmt.pix.sizeimage, 256 * kHeight);
    ASSERT_EQ(program.Request(2) | program.Queue(0) | program.Queue(1), 0);
    ASSERT_EQ(program.Stream(true), 0);
    const std::uint8_t* memory = program.Map(0);
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
    Program program(*board.operator->(), kVideo);
    std::vector<std::string> names;
    v4l2_queryctrl query{};
    query.id = V4L2_CTRL_FLAG_NEXT_CTRL;
    std::uint32_t lowLatency = 0;
    while (program.Ioctl(VIDIOC_QUERYCTRL, &query) == 0) {
        names.emplace_back(reinterpret_cast<const char*>(query.name));
        if (names.back() == "Low Latency Mode")
            lowLatency = query.id;
        query.id |= V4L2_CTRL_FLAG_NEXT_CTRL;
    }
    EXPECT_EQ(names,
              (std::vector<std::string>{"User Controls", "Interface Version", "Low Latency Mode"}));
    v4l2_control control{lowLatency, 1};
    EXPECT_EQ(program.Ioctl(VIDIOC_S_CTRL, &control), 0);
    EXPECT_TRUE(board.Node().IsLowLatency());
}

// With the frame thread, and with calls that wait.

TEST(Streaming, WaitingDequeueEndsWithTheStream)
{
    TestBoard board("board=imx8mm", Pace::AsTaken);
    Program program(*board.operator->(), kVideo, O_RDWR);
    ASSERT_EQ(program.Start(), 0);
    std::thread waiter([&] {
        v4l2_buffer buffer{};
        buffer.type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
        buffer.memory = V4L2_MEMORY_MMAP;
        EXPECT_EQ(program.Ioctl(VIDIOC_DQBUF, &buffer), -EINVAL);
    });
    EXPECT_EQ(program.Stream(false), 0);
    waiter.join();
}

TEST(Streaming, SignalEndsAWaitingDequeue)
{
    TestBoard board("board=imx8mm", Pace::AsTaken);
    Program program(*board.operator->(), kVideo, O_RDWR);
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
