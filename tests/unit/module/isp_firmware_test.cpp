#include "module/isp_firmware.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <sstream>

#include "module/pll_table.h"
#include "opened_module.h"

namespace
{

using namespace mcm;
using testing::ElementsAre;
using testing::HasSubstr;
using zevo_sim::Misbehaviour;

constexpr std::uint16_t kStage = 0x6002;
constexpr std::uint16_t kChecksum = 0x6134;

class IspFirmwareTest : public testing::Test
{
protected:
    void TearDown() override
    {
        ::unsetenv("ISP_LANE_DATARATE");
        ::unsetenv("ISP_LANE_FREQUENCY");
    }

    bool load(SimulatedModule& module, double rateMbps = 1200.0)
    {
        IspSensor isp(module.controlDevice()->getI2cDevice(60));
        module.camera.ClearTransfers();
        CsiConfiguration csi{};
        csi.laneDataRateBps = static_cast<std::uint64_t>(rateMbps * 1e6);
        return IspFirmware::loadIspFirmware(isp, csi, module.clock);
    }
};

TEST_F(IspFirmwareTest, BootsThroughItsStagesInOrder)
{
    SimulatedModule module;
    EXPECT_TRUE(load(module, 80.0));
    EXPECT_EQ(module.takeIspTransfers(),
              (Lines{"r 0000",          "r 0004",          "r 0042",          "r 6002",
                     "r 6134",          "w 6134 0000",     "w 6002 0001",     "r 6002",
                     "w 6024 00300000", "w 602c 001a0100", "w 6038 00140101", "w 2050 00010008",
                     "w 2054 00010009", "w 2058 00030000", "w 205c 00030005", "w 2064 0003000a",
                     "w 2068 00010009", "w 206c 0000007c", "w 2070 00010012", "w 2074 000100ff",
                     "w 6002 0002",     "r 6002",          "w 6002 ffff",     "r 6002",
                     "r 6134"}));
    EXPECT_EQ(module.peek(kChecksum), 0xE3C8);
    EXPECT_THAT(module.clock.sleeps, ElementsAre());
}

TEST_F(IspFirmwareTest, SendsTheImageThroughTheWindow)
{
    SimulatedModule module;
    load(module);
    std::vector<std::pair<std::size_t, std::size_t>> pieces; // offset in the window, size
    std::vector<std::uint8_t> sent;
    for (const zevo_sim::Transfer& transfer : module.camera.Transfers()) {
        const auto address = zevo_sim::IspAddress(transfer.cciAddress).value_or(0);
        if (address < 0x8000 || address >= 0xA000)
            continue;
        pieces.emplace_back(address - 0x8000U, transfer.bytes.size());
        sent.insert(sent.end(), transfer.bytes.begin(), transfer.bytes.end());
    }
    EXPECT_TRUE(
        std::equal(sent.begin(), sent.end(), firmwareImage().begin(), firmwareImage().end()));

    std::vector<std::pair<std::size_t, std::size_t>> expected;
    std::size_t offset = 0;
    for (const std::size_t chunk :
         {996, 7196, 8192, 8192, 8192, 8192, 8192, 8192, 8192, 8192, 2416}) {
        for (const std::size_t end = offset + chunk; offset < end; offset += expected.back().second)
            expected.emplace_back(offset % 8192, std::min<std::size_t>(end - offset, 256));
    }
    EXPECT_EQ(pieces, expected);
}

TEST_F(IspFirmwareTest, LeavesRunningFirmwareAlone)
{
    SimulatedModule module(running());
    EXPECT_FALSE(load(module));
    EXPECT_THAT(module.takeIspTransfers(),
                ElementsAre("r 0000", "r 0004", "r 0042", "r 6002", "r 6134"));
}

TEST_F(IspFirmwareTest, RefusesAnIspThatCannotTakeAnUpload)
{
    const struct {
        bool isRunning;
        std::uint16_t address, value;
        const char* error;
    } cases[] = {
        {false, 0x0000, 0x0264, "unknown ISP device"},
        {false, 0x0004, 7, "unknown ISP device"},
        {true, 0x0004, 7, "unknown ISP device"},
        {true, kChecksum, 0xE3C9, "ISP can't receive bootdata -- reset required"},
        {true, 0x0042, 0, "ISP can't receive bootdata -- reset required"},
        {true, kStage, 1, "ISP can't receive bootdata -- reset required"},
        {false, kStage, 1, "ISP can't receive bootdata -- reset required"},
        {false, kStage, 0xFFFF, "ISP can't receive bootdata -- reset required"},
    };
    for (const auto& row : cases) {
        SimulatedModule module(row.isRunning ? running() : zevo_sim::CameraOptions{});
        module.poke({{row.address, row.value}});
        EXPECT_EQ(errorOf([&] { load(module); }), row.error);
        EXPECT_THAT(module.camera.IspWrites(), ElementsAre());
    }
}

TEST_F(IspFirmwareTest, WaitsForSlowStagesAndForTheChecksumInSteps)
{
    SimulatedModule stage;
    stage.misbehave(&Misbehaviour::stageReads, 500);
    EXPECT_TRUE(load(stage));
    EXPECT_THAT(stage.clock.sleeps, ElementsAre());

    SimulatedModule checksum;
    checksum.misbehave(&Misbehaviour::checksumReads, 100);
    EXPECT_TRUE(load(checksum));
    EXPECT_EQ(checksum.clock.sleeps,
              std::vector<IClock::Duration>(100, std::chrono::milliseconds(10)));
}

TEST_F(IspFirmwareTest, GivesUpAfterTwoSeconds)
{
    SimulatedModule slow;
    slow.misbehave(&Misbehaviour::stageReads, 1'000'000);
    EXPECT_EQ(errorOf([&] { load(slow); }), "ISP firmware upload boot stage timeout");
    EXPECT_NEAR(slow.clock.seconds(), 2.0, 0.01);

    SimulatedModule wrong;
    wrong.misbehave(&Misbehaviour::isChecksumWrong, true);
    const std::string error = errorOf([&] { load(wrong); });
    std::ostringstream told;
    told << std::hex << "0x" << wrong.peek(kChecksum) << " != 0xe3c8";
    EXPECT_EQ(error, "ISP firmware checksum mismatch or timed out: " + told.str());
    EXPECT_NEAR(wrong.clock.seconds(), 2.0, 0.03);
}

TEST_F(IspFirmwareTest, RefusesLaneRatesBeforeAnyTransfer)
{
    constexpr char kHigh[] = "Choosen lane datarate is too high (1200.500000Mbps). "
                             "Supported maximum is 1200.000000Mbps";
    constexpr char kLow[] = "Choosen lane datarate is too low (79.500000Mbps). "
                            "Supported minimum is 80.000000Mbps";
    constexpr char kNone[] = "Choosen lane datarate is too low (0.000000Mbps). "
                             "Supported minimum is 80.000000Mbps";
    constexpr char kNan[] = "Unsupported lane datarate (nanMbps). "
                            "Supported range is 80.000000Mbps..1200.000000Mbps.";
    constexpr char kObsolete[] = "ISP_LANE_FREQUENCY is obsolete. Please use ISP_LANE_DATARATE";
    const struct {
        double rate;
        const char *user, *frequency, *error;
    } cases[] = {
        {1200.5, nullptr, nullptr, kHigh}, {79.5, nullptr, nullptr, kLow},
        {1200, "1200.5", nullptr, kHigh},  {1200, "79.5Mbps", nullptr, kLow},
        {1200, "", nullptr, kNone},        {1200, "fast", nullptr, kNone},
        {1200, "nan", nullptr, kNan},      {1200, nullptr, "", kObsolete},
        {1200, "1200", "600", kObsolete},
    };
    for (const auto& row : cases) {
        if (row.user)
            ::setenv("ISP_LANE_DATARATE", row.user, 1);
        if (row.frequency)
            ::setenv("ISP_LANE_FREQUENCY", row.frequency, 1);
        SimulatedModule module;
        EXPECT_EQ(errorOf([&] { load(module, row.rate); }), row.error);
        EXPECT_THAT(module.camera.Transfers(), ElementsAre());
        TearDown();
    }
}

TEST_F(IspFirmwareTest, UserSuppliedRateOutranksTheDriver)
{
    ::setenv("ISP_LANE_DATARATE", " 80.25", 1);
    SimulatedModule module;
    EXPECT_THAT(stderrOf([&] { EXPECT_TRUE(load(module, 1200.0)); }),
                hasLines("[000000] NOTICE: ", {"UserSupplied-Lane-Datarate(Mbps): 80.25",
                                               "Actual-Lane-Datarate(Mbps): 80"}));
    EXPECT_EQ(module.camera.PeekIsp32(0x602C), pllTable()[0].pll0);
}

TEST_F(IspFirmwareTest, LogsTheBoot)
{
    constexpr float kRateMbps = 300.5F; // between two rows
    std::ostringstream actual;
    actual << "Actual-Lane-Datarate(Mbps): " << findPllRow(pllTable(), kRateMbps)->laneRateMbps;
    const auto boot = [this] {
        SimulatedModule module;
        load(module, kRateMbps);
        load(module, kRateMbps);
    };
    expectLogged(
        "6", "1", boot,
        AllOf(hasLines("[000001] INFO: ",
                       {"Expected-Lane-Datarate(Mbps): 300.5", "Min-Lane-Datarate(Mbps): 80",
                        "Max-Lane-Datarate(Mbps): 1200", actual.str(),
                        "CHIP_VERSION_REG:       0x265", "MANUFACTURER_ID:        0x6",
                        "FW_ID:                  0x0", "BOOTDATA_STAGE:         0x0",
                        "BOOTDATA_CHECKSUM:      0xe3c8", "Csi::SetPll for 300.5Mbps",
                        "ISP firmware already running -- skipping upload"}),
              HasSubstr("[000001] INFO: Firmware upload time: ")));
}

TEST(PllTable, GivesTheRowAtOrBelowTheRate)
{
    PllRow rows[3]{};
    rows[0].laneRateMbps = 80.0;
    rows[1].laneRateMbps = 600.1;
    rows[2].laneRateMbps = 1200.0;
    const struct {
        float rate;
        const PllRow* row;
    } cases[] = {
        {79.9F, nullptr},    {80.0F, &rows[0]},   {600.0F, &rows[0]},  {600.1F, &rows[1]},
        {1199.9F, &rows[1]}, {1200.0F, &rows[2]}, {5000.0F, &rows[2]}, {NAN, nullptr},
    };
    for (const auto& row : cases)
        EXPECT_EQ(findPllRow(rows, row.rate), row.row) << row.rate;
}

} // namespace
