// What the option --fault makes of a board.
#include <signal.h>

#include "../support/outcome.h"
#include "board_fixture.h"
#include "sim/core/ap1302_registers.h"

namespace zevo_sim
{
namespace
{

constexpr std::uint16_t kFirmwareRegister = 0x1050; // of the module, on the link

TEST(Faults, RefuseWhatMakesNoSense)
{
    struct {
        const char* text;
        const char* reason;
    } cases[] = {
        {"", "is not a call"},
        {"VIDIOC_NONE:EIO", "is not a call"},
        {"VIDIOC_DQBUF", "what goes wrong is missing"},
        {"VIDIOC_DQBUF:EGG", "\"EGG\" is nothing that can go wrong there"},
        {"VIDIOC_DQBUF:gap=3", "\"gap=3\" is nothing"},
        {"frame:EIO", "\"EIO\" is nothing"},
        {"frame:SIGINT", "\"SIGINT\" is nothing"},
        {"frame:gap", "\"gap\" is nothing"},
        {"open:unplug", "\"unplug\" is nothing"},
        {"stage:stuck", "\"stuck\" is nothing"},
        {"read:EIO:after=x", "\"x\" is not a number"},
        {"read:EIO:times=-1", "\"-1\" is not a number"},
        {"read:EIO:camera=8", "\"8\" is not a number from 0 to 7"},
        {"read:EIO:register=0x10000", "\"0x10000\" is not a number"},
        {"read:EIO:soon", "\"soon\" is not a condition"},
        {"open:EIO:register=2", "\"register=2\" is not a condition"},
        {"stall:stuck:after=3", "this is so all the time"},
    };
    for (const auto& c : cases)
        EXPECT_NE(errorOf([&] { FaultRule::FromText(c.text); }).find(c.reason), std::string::npos)
            << c.text;
}

TEST(Faults, CountCallsFromTheFirstAndEndAgain)
{
    TestBoard board("board=imx8mm;fault=VIDIOC_QUERYCAP:EIO:after=1:times=2;"
                    "fault=open:EMFILE:after=2;fault=ioctl:ENOMEM:after=5");
    Program first(*board);
    Program second(*board);
    EXPECT_EQ(board->Open("/dev/video0", O_RDWR), -EMFILE);
    const int expected[] = {0, -EIO, -EIO, 0, 0, -ENOMEM, 0};
    for (const int result : expected) {
        v4l2_capability capability{};
        EXPECT_EQ(first.Ioctl(VIDIOC_QUERYCAP, &capability), result);
    }
}

TEST(Faults, OfTransfersMeetTheirRegister)
{
    TestBoard board("board=imx8mm;fault=read:EREMOTEIO:register=0x600C:after=1;"
                    "fault=write:EIO:address=0x2000;fault=read:short=2:address=0x1050;"
                    "fault=read:value=0xABCD:register=0x0000:times=always");
    Camera& camera = board->GetCamera(0);
    std::uint8_t bytes[16] = {};
    EXPECT_EQ(camera.ReadCci(CciAddress(0x600C), bytes, 2), 2);
    EXPECT_EQ(camera.ReadCci(CciAddress(0x600E), bytes, 2), 2) << "another register";
    EXPECT_EQ(camera.ReadCci(CciAddress(0x600C), bytes, 2), -EREMOTEIO);
    EXPECT_EQ(camera.WriteCci(0x2000, bytes, 4), -EIO);
    EXPECT_EQ(camera.WriteCci(0x2000, bytes, 4), 4);
    EXPECT_EQ(camera.ReadCci(kFirmwareRegister - 4, bytes, 16), 2) << "touched in the middle";
    EXPECT_EQ(camera.ReadCci(CciAddress(0), bytes, 2), 2);
    EXPECT_EQ(bytes[0] << 8 | bytes[1], 0xABCD);
}

TEST(Faults, APulledCameraStaysAway)
{
    TestBoard board("board=generic;cameras=2;fault=transfer:unplug:address=0x2000");
    Program program(*board);
    ASSERT_EQ(program.Start(), 0);
    EXPECT_EQ(board->GetCamera(0).WriteCci(0x2000, "", 1), -ENODEV);
    EXPECT_EQ(program.Dequeue(), -ENODEV);
    EXPECT_NE(program.Poll() & POLLHUP, 0);
    EXPECT_EQ(board->Kind("/dev/video0"), PathKind::Absent);
    EXPECT_EQ(board->Kind("/dev/video1"), PathKind::Node) << "the other camera stays";
}

TEST(Faults, OfTheIspAreItsOwn)
{
    TestBoard board("board=imx8mm;cameras=2;fault=stall:stuck:camera=0;fault=atomic:late=3");
    const Misbehaviour& first = board->GetCamera(0).Options().misbehaviour;
    const Misbehaviour& second = board->GetCamera(1).Options().misbehaviour;
    EXPECT_TRUE(first.isStallStuck && !second.isStallStuck);
    EXPECT_EQ(first.atomicReads, 3u);
    EXPECT_EQ(second.atomicReads, 3u);
    EXPECT_EQ(second.stallReads, 1u) << "as without faults";
}

TEST(Faults, ASignalComesInTheMiddleOfACall)
{
    static int received = 0;
    struct sigaction action {
    };
    action.sa_handler = [](int) { ++received; };
    sigaction(SIGUSR1, &action, nullptr);
    TestBoard board("board=imx8mm;fault=VIDIOC_QUERYCAP:SIGUSR1");
    Program program(*board);
    v4l2_capability capability{};
    EXPECT_EQ(program.Ioctl(VIDIOC_QUERYCAP, &capability), -EINTR);
    EXPECT_EQ(received, 1);
    EXPECT_EQ(program.Ioctl(VIDIOC_QUERYCAP, &capability), 0);
    signal(SIGUSR1, SIG_DFL);
}

} // namespace
} // namespace zevo_sim
