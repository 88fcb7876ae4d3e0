#include "module/camera_module_ap1302.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "image/ap1302_image_processing.h"
#include "opened_module.h"

namespace
{

using namespace mcm;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

using zevo_sim::Misbehaviour;

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
    EXPECT_THAT(Opened().takeIspTransfers(), ElementsAre());
}

TEST(CameraModule, InitializesRunningFirmwareInOrder)
{
    Opened opened;
    opened.poke({{0x1186, 0x0003}});
    EXPECT_EQ(opened.transfersOf([&] { opened.module.Initialize(); }),
              kIdentity + Lines{"r 601a"} + kForcedStall + kUnstallAndStall + kSetUp);
    EXPECT_FALSE(opened.camera.IsStreaming());

    opened.poke({{0x601A, 0x0040}});
    const Lines transfers = opened.transfersOf([&] { opened.module.Initialize(); });
    EXPECT_THAT(transfers, Not(Contains("w 601a 0040"))) << "the stall mode is right already";
    EXPECT_THAT(transfers, Contains("w 601a 0140").Times(1)) << "the stall behind the unstall";
}

TEST(CameraModule, FreshFirmwareGetsItsSettingsBehindTheUpload)
{
    Opened opened(zevo_sim::CameraOptions{});
    const FixedRegisters toneMapping(opened, {{0x52CA, 0x041F}});
    Lines transfers;
    EXPECT_THAT(
        stderrOf([&] { transfers = opened.transfersOf([&] { opened.module.Initialize(); }); }),
        hasLines("[000000] ", {"WARNING: ISP ATM register has an unexpected value. Expected "
                               "ATM_CTRL_REFERENCE_AUTO=0x043f received 0x41f"}));
    const auto behindUpload = std::find(transfers.begin(), transfers.end(), "w 6002 ffff");
    ASSERT_NE(behindUpload, transfers.end());
    EXPECT_THAT(Lines(behindUpload + 1, behindUpload + 6),
                ElementsAre("r 6002", "r 6134", "r 52ca", "w baa8 0000000a", "r 601a"));
    EXPECT_THAT(transfers, Not(Contains(HasSubstr("w 52ca"))));
}

TEST(CameraModule, LaneCountZeroLeavesTheLinkAlone)
{
    SimulatedModule simulated(running());
    CameraModuleAP1302 module(simulated.controlDevice(), CsiConfiguration{1200000000, 0, {}, 0},
                              makeTriggerFeature, simulated.clock);
    module.Initialize();
    EXPECT_EQ(simulated.peek(0x2030), 0x0011);
}

TEST(CameraModule, ForeignSensorSizeIsNoFailure)
{
    Idle idle;
    idle.poke({{0x00C4, 1234}});
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
    idle.misbehave(&Misbehaviour::isStallStuck, true);
    const double before = idle.clock.seconds();
    EXPECT_THAT(stderrOf([&] { EXPECT_TRUE(idle.module.AcquisitionStart()); }),
                hasLines("[000000] ", {"WARNING: ISP is still processing stall."}));
    EXPECT_NEAR(idle.clock.seconds() - before, 10.1, 0.02);
    EXPECT_THAT(idle.clock.sleeps, testing::Each(std::chrono::milliseconds(10)));

    EXPECT_THAT(stderrOf([&] { idle.module.Initialize(); }),
                hasLines("[000000] ", {"WARNING: Toggling stall during active stall action."}));
    EXPECT_EQ(idle.peek(0x2020), 0x5A00) << "the opening went on";
}

TEST(CameraModule, ResetTellsTheListener)
{
    struct Listener : ICameraModule::IModuleEvent {
        void OnDeviceLost() override { ++count; }
        int count = 0;
    } first, second;
    Idle idle;
    const auto reset = [&] {
        idle.camera.ClearTransfers();
        idle.module.DeviceReset();
        EXPECT_EQ(idle.camera.Transfers().at(0).cciAddress,
                  zevo_sim::ModuleMemory::kRegisterBlock + 0x34);
    };
    reset();
    idle.module.RegisterCallback(&first);
    idle.module.RegisterCallback(&second);
    reset();
    idle.module.UnregisterCallback();
    reset();
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
        hasLines(
            "[000002] ",
            {"DEBUG: SetSwTriggerGpio(10)", "DEBUG: Force stalling stream on startup. STALL_MODE=0",
             "INFO: Csi::LaneCount              4", "INFO: Csi::LaneAssignment          1 2 3 4",
             "INFO: IspInitialize unexpected value for SENSOR_WIDTH, expected 2600, got 1234",
             "DEBUG: SetWidth(640)", "DEBUG: SetScalingFactor(0.5)",
             "DEBUG: SetPixelFormat(0x210001f)", "DEBUG: AcquisitionStart()"}));
}

/// Opens a fresh camera whose transfer n fails, closes it, and gives the error and the number of
/// transfers that it saw.
std::pair<std::string, std::uint64_t> openWithFailure(std::uint64_t n)
{
    SimulatedModule simulated;
    simulated.failTransfer(n);
    std::string error;
    stderrOf([&] { error = errorOf([&] { simulated.makeModule()->Initialize(); }); });
    return {error, simulated.camera.TransferCount()};
}

// Every transfer of the opening fails once: the error reaches the opener.
TEST(CameraModule, EveryFailedTransferEndsTheOpening)
{
    constexpr std::uint64_t kWriteLimit = 3;
    constexpr std::uint64_t kReadLimit = 4;
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
}

} // namespace
