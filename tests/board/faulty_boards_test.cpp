// A consumer's run on boards on which something is wrong from the start, as the board's options
// tell it: what works in spite of it, what doesn't, and what is said about it.
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/command.h"

namespace
{

using testing::HasSubstr;

struct Row {
    const char* options;
    const char* result;
    const char* log; ///< part of it
};

constexpr char kFrames[] = "\n4 frames, 0 incomplete, ";
constexpr char kNoCamera[] = "\nIFGetDeviceID: -1017, ";
constexpr char kNotOpened[] = "\nIFOpenDevice: -10001, -1001 Failed to open the camera";
constexpr char kNotPrepared[] = "\nDSQueueBuffer: -10001, -1001 Failed to prepare capturing";
constexpr char kNoFrame[] = "\nEventGetData: -1011, ";

// The log is written ahead of the result. Waits of the producer take no time here.
std::string run(const char* options, const char* frameTimeoutMs)
{
    return "\n" + runCommand(ZEVO_EMULATOR " " ZEVO_BOARD_PROGRAM " --emulator '" ZEVO_EMULATOR
                                           "' --fps 0 --board " +
                             std::string(options) +
                             " --preload " ZEVO_FAULT_LIBRARY " -- " ZEVO_WALK_PROGRAM " " +
                             frameTimeoutMs + " 2>&1")
                      .output;
}

constexpr Row kRows[] = {
    // Other cameras.
    {"imx8mm --model zvK1800-45tqm", kNoCamera, ""},
    {"imx8mm --driver-version 1.2", kFrames, ""},
    {"imx8mm --driver-version 1.0", kNoCamera, ""},
    {"imx8mp --driver-version 2.1", kNoCamera, ""},
    {"imx8mm --information-version 2.0", kFrames, ""},
    {"imx8mm --module-version 2.1", kFrames, ""},
    {"imx8mm --module-version 3.0", kNotOpened,
     "ZEVO version mismatch, expected 2.0, connected: 3.0"},
    {"generic --module-version 1.9", kNotOpened, "ZEVO version mismatch"},
    {"nvidia --lanes 1", kFrames, ""},
    {"imx8mq --lanes 2 --lane-rate 80000000", kFrames, ""},
    {"imx8mm --lane-rate 1200000001", kFrames, ""},
    {"imx8mm --lane-rate 1300000000", kNotOpened, "too high (1300.000000Mbps)"},
    {"imx8mm --lane-rate 0", kNotOpened, "too low (0.000000Mbps)"},
    {"imx8mp --csi-id 1", kFrames, ""},
    // Other drivers.
    {"imx8mm --max-buffers 2", kFrames, ""},
    {"imx8mp --max-buffers 1", kNotPrepared, "Could require only 1 buffers."},
    {"imx8mm --max-width 64", kNotPrepared, "Width=64 (exp=96)"},
    {"nvidia-tx2 --width-step 256", kNotPrepared, "Width=256 (exp=128)"},
    // What goes wrong on the way.
    {"imx8mm --fault stage:late=20", kFrames, ""},
    {"imx8mm --fault stage:late=4294967295", kNotOpened, "ISP firmware upload boot stage timeout"},
    {"imx8mm --fault checksum:late=20", kFrames, ""},
    {"imx8mp --fault checksum:late=100000", kNotOpened,
     "ISP firmware checksum mismatch or timed out"},
    {"generic --fault checksum:wrong", kNotOpened, "ISP firmware checksum mismatch or timed out"},
    {"imx8mm --fault stall:late=30", kFrames, ""},
    {"imx8mm --fault stall:stuck", kFrames, "ISP is still processing stall."},
    {"imx8mm --fault atomic:late=30", kFrames, ""},
    {"imx8mm --fault atomic:stuck", kFrames,
     "ISP is still waiting until all recorded data is written."},
    {"imx8mm --fault dma:stuck", kFrames, ""},
    {"imx8mm --fault read:value=7:register=0", kNotOpened, "unknown ISP device"},
    {"imx8mm --fault read:short=1:register=0x6002:times=always", kNotOpened, "Read incomplete"},
    {"imx8mm --fault read:value=0:address=0x113C", kNotOpened,
     "Could not find requested MCM section"},
    {"imx8mm --fault read:value=0:address=0x1140", kNotOpened,
     "Could not find requested MCM section"},
    {"imx8mm --fault write:EIO:after=40", kNotOpened, "Input/output error"},
    {"imx8mp --fault file:short=0:times=always", "\nTLOpenInterface: -1001, ", ""},
    {"imx8mm --fault file:short=0:times=always", kNoCamera,
     "No explicit support for this platform"},
    {"imx8mm --fault read:value=0:register=0x6002:times=always", kNotOpened, "boot stage timeout"},
    {"imx8mm --fault TOLMEN_IOC_READ_REGISTER:EINTR:after=9", kNotOpened,
     "Interrupted system call"},
    {"imx8mm --fault VIDIOC_S_FMT:SIGWINCH:times=50", kFrames, ""},
    {"imx8mm --fault VIDIOC_DQBUF:EINTR:times=50", kFrames, ""},
    {"imx8mm --fault poll:EINTR:times=20", kFrames, ""},
    {"imx8mm --fault VIDIOC_DQBUF:EIO:after=1:times=3", kFrames,
     "VIDIOC_DQBUF failed: Input/output error"},
    {"imx8mm --fault VIDIOC_QBUF:EIO:after=5", kFrames, "Failed to requeue buffer"},
    {"imx8mm --fault frame:flag:after=1", "\n4 frames, 1 incomplete, ", ""},
    {"imx8mm --fault frame:short=10", kFrames, "Got unexpected buffer size 10."},
    {"imx8mm --fault frame:gap=2000000000:after=1", "\n4 frames, 0 incomplete, 2000", ""},
    {"imx8mm --fault frame:index=0:after=1", kFrames, "Failed to requeue buffer"},
    {"imx8mp --fault VIDIOC_G_EXT_CTRLS:unplug --form controls", kNoCamera, ""},
    {"generic --fault transfer:unplug:after=300", kNotOpened, "No such device"},
    // Frames that never come.
    {"imx8mm --fault frame:index=9:after=1", kNoFrame, ""},
    {"imx8mp --fault frame:break:after=1", kNoFrame, ""},
    {"generic --fault frame:unplug:after=1", kNoFrame, ""},
    {"nvidia --fault poll:EIO:times=always", kNoFrame, ""},
};

} // namespace

TEST(FaultyBoards, WorkOrTellWhatIsWrong)
{
    for (const Row& row : kRows) {
        // How long the walk waits for what never comes decides nothing.
        const std::string output = run(row.options, row.result == kNoFrame ? "200" : "30000");
        EXPECT_THAT(output, HasSubstr(row.result)) << row.options;
        EXPECT_THAT(output, HasSubstr(row.log)) << row.options;
    }
}
