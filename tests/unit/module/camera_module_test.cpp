#include "module/camera_module_ap1302.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <dirent.h>

#include "image/ap1302_image_processing.h"
#include "opened_module.h"

namespace
{

using namespace mcm;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::HasSubstr;

const Lines kIdentity = {"r 0000", "r 0004", "r 0042", "r 6002", "r 6134"};
const Lines kForcedStall = {"r 601a", "w 601a 0040", "r 601a",     "r 601a",
                            "r 601a", "r 601a",      "w 601a 0140"};
const Lines kUnstallAndStall = {"r 601a", "r 601a", "r 601a", "r 601a", "r 601a", "w 601a 0340",
                                "r 601a", "r 601a", "r 601a", "r 601a", "r 601a", "w 601a 0140"};
const Lines kSetUp = {"r 1186",      "w 1186 0000", "r 1186",      "w 1186 0004", "r 6114",
                      "w 6114 0002", "w 6110 012c", "w 2020 5a00", "w 5002 028c", "w 1000 0000",
                      "w 2014 0001", "r 549a",      "w 549a 0000", "r 2030",      "w 2030 0014",
                      "r 00c0",      "r 00c2",      "r 00c4",      "r 00c6"};

TEST(CameraModule, ConstructionTouchesNoRegisterOfTheIsp)
{
    SimulatedModule simulated;
    CameraModuleAP1302 module(simulated.controlDevice(), simulated.csi(), makeTriggerFeature);
    EXPECT_THAT(simulated.takeIspTransfers(), ElementsAre());
}

TEST(CameraModule, InitializesRunningFirmwareInOrder)
{
    Opened opened;
    opened.camera.PokeIsp16(0x1186, 0x0003);
    EXPECT_THAT(
        opened.transfersOf([&] { opened.module.Initialize(); }),
        ElementsAreArray(kIdentity + Lines{"r 601a"} + kForcedStall + kUnstallAndStall + kSetUp));
    EXPECT_FALSE(opened.camera.IsStreaming());
}

TEST(CameraModule, RightStallModeIsNotForced)
{
    Opened opened;
    opened.camera.PokeIsp16(0x601A, 0x0040);
    const Lines transfers = opened.transfersOf([&] { opened.module.Initialize(); });
    const auto writes = [&](const std::string& line) {
        return std::count(transfers.begin(), transfers.end(), line);
    };
    EXPECT_EQ(writes("w 601a 0040"), 0);
    EXPECT_EQ(writes("w 601a 0140"), 1) << "the stall behind the unstall";
}

TEST(CameraModule, FreshFirmwareGetsItsSettingsBehindTheUpload)
{
    Opened opened(zevo_sim::CameraOptions{});
    const Lines transfers = opened.transfersOf([&] { opened.module.Initialize(); });
    const auto behindUpload = std::find(transfers.begin(), transfers.end(), "w 6002 ffff");
    ASSERT_NE(behindUpload, transfers.end());
    EXPECT_THAT(Lines(behindUpload + 1, behindUpload + 6),
                ElementsAre("r 6002", "r 6134", "r 52ca", "w baa8 0000000a", "r 601a"));
    EXPECT_EQ(opened.peek(0x2030) & 7, 4);
}

TEST(CameraModule, LaneCountZeroLeavesTheLinkAlone)
{
    SimulatedModule simulated(running());
    CameraModuleAP1302 module(simulated.controlDevice(), CsiConfiguration{1200000000, 0, {}, 0},
                              makeTriggerFeature, simulated.clock);
    module.Initialize();
    EXPECT_EQ(simulated.camera.PeekIsp16(0x2030), 0x0011);
}

TEST(CameraModule, UnexpectedToneMappingIsReportedOnly)
{
    Opened opened(zevo_sim::CameraOptions{});
    const FixedRegisters changed(opened, {{0x52CA, 0x041F}});
    EXPECT_THAT(stderrOf([&] { opened.module.Initialize(); }),
                HasSubstr("[000000] WARNING: ISP ATM register has an unexpected value. Expected "
                          "ATM_CTRL_REFERENCE_AUTO=0x043f received 0x41f\n"));
    EXPECT_EQ(opened.peek(0x52CA), 0x043F);
}

TEST(CameraModule, ForeignSensorSizeIsNoFailure)
{
    Idle idle;
    idle.camera.PokeIsp16(0x00C4, 1234);
    EXPECT_EQ(errorOf([&] { idle.module.Initialize(); }), "");
    idle.module.SetWidth(2600);
    idle.module.SetOffsetX(0);
    EXPECT_EQ(idle.peek(0x2008), 0x4000) << "still in parts of 2600";
}

TEST(CameraModule, StartsAndStopsTheStreamUnlessItStandsRight)
{
    Idle idle;
    const auto readsOnly = ElementsAre("r 601a", "r 601a", "r 601a");
    EXPECT_THAT(idle.transfersOf([&] { idle.module.AcquisitionStop(); }), readsOnly);
    EXPECT_TRUE(idle.module.AcquisitionStart());
    EXPECT_THAT(idle.transfersOf([&] { idle.module.AcquisitionStart(); }), readsOnly);
    EXPECT_TRUE(idle.camera.IsStreaming());
    idle.module.AcquisitionStop();
    EXPECT_FALSE(idle.camera.IsStreaming());
}

TEST(CameraModule, StuckToggleCostsTenSecondsAndAWarning)
{
    Idle idle;
    zevo_sim::Misbehaviour stuck;
    stuck.isStallStuck = true;
    idle.camera.SetMisbehaviour(stuck);
    const double before = idle.clock.seconds();
    const std::string lines = stderrOf([&] { EXPECT_TRUE(idle.module.AcquisitionStart()); });
    EXPECT_NEAR(idle.clock.seconds() - before, 10.1, 0.02);
    EXPECT_THAT(lines, HasSubstr("[000000] WARNING: ISP is still processing stall.\n"));
    EXPECT_THAT(idle.clock.sleeps, testing::Each(std::chrono::milliseconds(10)));
}

TEST(CameraModule, ToggleDuringAToggleIsReported)
{
    Opened opened;
    zevo_sim::Misbehaviour stuck;
    stuck.isStallStuck = true;
    opened.camera.SetMisbehaviour(stuck);
    const std::string lines = stderrOf([&] { opened.module.Initialize(); });
    EXPECT_THAT(lines, HasSubstr("[000000] WARNING: ISP is still processing stall.\n"));
    EXPECT_THAT(lines, HasSubstr("[000000] WARNING: Toggling stall during active stall action.\n"));
    EXPECT_EQ(opened.peek(0x2020), 0x5A00) << "the opening went on";
}

TEST(CameraModule, ResetTellsTheListener)
{
    struct Listener : ICameraModule::IModuleEvent {
        void OnDeviceLost() override { ++count; }
        int count = 0;
    } first, second;
    Idle idle;
    const auto resets = [&] {
        std::size_t count = 0;
        for (const zevo_sim::Transfer& transfer : idle.camera.Transfers())
            count += transfer.cciAddress == zevo_sim::ModuleMemory::kRegisterBlock + 0x34;
        return count;
    };
    idle.module.DeviceReset();
    EXPECT_EQ(resets(), 1U);
    idle.module.RegisterCallback(&first);
    idle.module.RegisterCallback(&second);
    idle.module.DeviceReset();
    idle.module.UnregisterCallback();
    idle.module.DeviceReset();
    EXPECT_EQ(resets(), 3U);
    EXPECT_EQ(first.count, 0);
    EXPECT_EQ(second.count, 1);
}

TEST(CameraModule, HandsOutItsParts)
{
    Opened opened;
    EXPECT_EQ(opened.module.GetFirmwareVersion(), opened.camera.Options().moduleFirmware);
    std::uint64_t sbrm = 0;
    opened.module.GetBootstrapDevice().read(0x01D8, &sbrm);
    EXPECT_EQ(sbrm, zevo_sim::ModuleMemory::kRegisterBlock);
    const auto processing = opened.module.GetImageProcessing();
    EXPECT_NE(dynamic_cast<V4lX::AP1302ImageProcessing*>(processing.get()), nullptr);
    EXPECT_EQ(processing, opened.module.GetImageProcessing());
}

TEST(CameraModule, LogsItsOperations)
{
    const auto use = [] {
        Opened opened(zevo_sim::CameraOptions{});
        opened.module.Initialize();
        opened.camera.PokeIsp16(0x00C4, 1234);
        opened.module.Initialize();
        opened.module.SetWidth(640);
        opened.module.SetScalingFactor(0.5F);
        opened.module.SetPixelFormat(0x0210001F);
        opened.module.AcquisitionStart();
    };
    expectLogged(
        "7", "2", use,
        AllOf(HasSubstr("[000002] DEBUG: SetSwTriggerGpio(10)\n"),
              HasSubstr("[000002] DEBUG: Force stalling stream on startup. STALL_MODE=0\n"),
              HasSubstr("[000002] INFO: Csi::LaneCount              4\n"),
              HasSubstr("[000002] INFO: Csi::LaneAssignment          1 2 3 4\n"),
              HasSubstr("[000002] INFO: IspInitialize unexpected value for SENSOR_WIDTH, "
                        "expected 2600, got 1234\n"),
              HasSubstr("[000002] DEBUG: SetWidth(640)\n"),
              HasSubstr("[000002] DEBUG: SetScalingFactor(0.5)\n"),
              HasSubstr("[000002] DEBUG: SetPixelFormat(0x210001f)\n"),
              HasSubstr("[000002] DEBUG: AcquisitionStart()\n")));
}

std::size_t openDescriptors()
{
    std::size_t count = 0;
    DIR* directory = ::opendir("/proc/self/fd");
    while (::readdir(directory))
        ++count;
    ::closedir(directory);
    return count;
}

/// Opens a fresh camera whose transfer n fails, closes it, and gives the error and the number of
/// transfers that it saw.
std::pair<std::string, std::uint64_t> openWithFailure(std::uint64_t n)
{
    zevo_sim::CameraOptions options;
    options.logsTransfers = false;
    options.misbehaviour.failingTransfers[n] = EREMOTEIO;
    SimulatedModule simulated(options);
    std::string error;
    stderrOf([&] {
        error = errorOf([&] {
            CameraModuleAP1302 module(simulated.controlDevice(), simulated.csi(),
                                      makeTriggerFeature, simulated.clock);
            module.Initialize();
        });
    });
    return {error, simulated.camera.TransferCount()};
}

// Every transfer of the opening fails once: the error reaches the opener, and nothing stays open.
TEST(CameraModule, EveryFailedTransferEndsTheOpening)
{
    constexpr std::uint64_t kWriteLimit = 3;
    constexpr std::uint64_t kReadLimit = 4;
    const std::size_t descriptors = openDescriptors();
    const auto [none, count] = openWithFailure(0);
    EXPECT_EQ(none, "");
    EXPECT_GT(count, 76144U / 256);
    for (std::uint64_t n = 1; n <= count; ++n) {
        SCOPED_TRACE(n);
        const auto [error, seen] = openWithFailure(n);
        if (n == kWriteLimit || n == kReadLimit) {
            // Without a limit the firmware is sent in pieces that no request holds.
            EXPECT_EQ(error, n == kWriteLimit ? "Illegal transfer size requested" : "");
            continue;
        }
        EXPECT_THAT(error, HasSubstr("_REGISTER) failed: Remote I/O error"));
        EXPECT_EQ(seen, n) << "nothing is tried behind a failure";
    }
    EXPECT_EQ(openDescriptors(), descriptors);
}

} // namespace
