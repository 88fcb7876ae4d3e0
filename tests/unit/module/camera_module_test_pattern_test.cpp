#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cerrno>

#include "opened_module.h"

namespace
{

using namespace mcm;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::HasSubstr;

const Lines kSaved = {"r 600c", "r 2014", "r 5100", "r 515c", "r 5102", "r 5104"};
const Lines kNeutral = {"r 5002",      "w 5002 abc0", "w 5006 0100", "w 5100 0000",
                        "w 515c 0000", "w 5104 5000", "w 5102 0000", "w 700a 1000",
                        "w 510c 0000", "w 510e 0000", "w 5110 0000", "w 52ca 0000"};
const Lines kPatternSensor = {"r 600c", "w 600c 5a04", "w 2014 0000"};
const Lines kRestored = {"r 600c",      "w 600c 5a06", "w 2014 0007", "w 5100 123f",
                         "w 515c 4321", "w 5102 fff0", "w 5104 0123"};
const Lines kStoredValues = {"w 700a 0800", "r 5002",      "w 5002 abcc", "w 5006 0200",
                             "r 5100",      "w 5100 123f", "w 510c 0000", "w 510e 0000",
                             "w 5110 0000", "w 52ca 043f"};

/// A module whose ISP holds telling values, gamma 2 and gain 2.
class TestPatternTest : public testing::Test
{
protected:
    void SetUp() override
    {
        idle.module.SetGamma(2.0);
        idle.module.SetGainFactor(2.0);
        const struct {
            std::uint16_t address;
            std::uint16_t value;
        } registers[] = {
            {0x5002, 0xABCC}, {0x600C, 0x5106}, {0x2014, 7},      {0x5100, 0x123F},
            {0x515C, 0x4321}, {0x5102, 0xFFF0}, {0x5104, 0x0123}, {0x52CA, 0x043F},
        };
        for (const auto& row : registers)
            idle.camera.PokeIsp16(row.address, row.value);
    }
    Lines transfersOf(std::uint32_t pattern)
    {
        return idle.transfersOf([&] { idle.module.SetTestPattern(pattern); });
    }

    Idle idle;
    CameraModuleAP1302& module = idle.module;
};

TEST_F(TestPatternTest, SavesNeutralisesAndSelects)
{
    EXPECT_THAT(transfersOf(5), ElementsAreArray(kSaved + kNeutral +
                                                 Lines{"r 600c", "w 600c 5a06"} + kPatternSensor));
}

TEST_F(TestPatternTest, OffPutsSavedAndStoredValuesBack)
{
    module.SetTestPattern(5);
    EXPECT_THAT(transfersOf(0), ElementsAreArray(kRestored + kStoredValues));
    EXPECT_THAT(transfersOf(0), ElementsAre()) << "nothing is on any more";
}

TEST_F(TestPatternTest, PatternsHaveTheirModesAndColors)
{
    const struct {
        std::uint32_t pattern;
        std::uint16_t mode;
        Lines colors;
    } cases[] = {{1, 1, {"w 6042 0000", "w 6044 0000", "w 6048 0000", "w 6046 0000"}},
                 {2, 1, {"w 6042 ffff", "w 6044 ffff", "w 6048 ffff", "w 6046 ffff"}},
                 {3, 3, {}},
                 {4, 4, {}},
                 {5, 10, {}},
                 {6, 2, {}},
                 {7, 5, {}},
                 {8, 6, {}},
                 {9, 7, {}},
                 {10, 8, {}}};
    for (const auto& row : cases) {
        SCOPED_TRACE(row.pattern);
        Lines colors;
        for (const std::string& line : transfersOf(row.pattern)) {
            if (line.compare(0, 5, "w 604") == 0)
                colors.push_back(line);
        }
        EXPECT_EQ(idle.peek(0x600C) >> 8 & 0xF, row.mode);
        EXPECT_EQ(idle.peek(0x600C) & 3, 0);
        EXPECT_EQ(colors, row.colors);
    }
}

TEST_F(TestPatternTest, SecondPatternKeepsWhatTheFirstSaved)
{
    module.SetTestPattern(5);
    EXPECT_THAT(transfersOf(3), ElementsAreArray(kNeutral + Lines{"r 600c", "w 600c 5304", "r 600c",
                                                                  "w 600c 5304", "w 2014 0000"}));
    module.SetTestPattern(5);
    EXPECT_THAT(transfersOf(0), ElementsAreArray(kRestored + kStoredValues));
}

TEST_F(TestPatternTest, UnknownPatternIsReportedAndLeavesTheRunningOne)
{
    module.SetTestPattern(5);
    EXPECT_THAT(stderrOf([&] { EXPECT_THAT(transfersOf(11), ElementsAre()); }),
                HasSubstr("[000000] ERROR: SetTestPattern: invalid test pattern selected: 11\n"));
    EXPECT_THAT(transfersOf(0), ElementsAreArray(kRestored + kStoredValues));
}

TEST_F(TestPatternTest, ValuesOfTheAutomaticsWaitForItsEnd)
{
    module.SetTestPattern(5);
    EXPECT_THAT(idle.transfersOf([&] {
        module.SetGamma(4.0);
        module.SetColorSpace(1);
        module.SetColorSpace(0);
        module.SetAdaptiveToneMappingAuto(false);
        module.SetExposureAuto(false);
        module.SetGainAuto(false);
        module.SetGainFactor(3.0);
        module.SetBalanceWhiteAuto(true);
        module.SetLightSourcePreset(0);
        module.SetBalanceRatioRed(1.5);
        module.SetBalanceRatioGreen(1.25);
        module.SetBalanceRatioBlue(1.75);
        EXPECT_EQ(module.GetCurrentBalanceRatioBlue(), 1.75);
    }),
                ElementsAre());
    EXPECT_THAT(
        transfersOf(0),
        ElementsAreArray(kRestored + Lines{"w 700a 0400", "r 5002", "w 5002 abc0", "w 5006 0300",
                                           "r 5100", "w 5100 1230", "w 510c 0180", "w 510e 0140",
                                           "w 5110 01c0", "w 52ca 0000"}));
}

TEST_F(TestPatternTest, MeasurementIsNotTakenMeanwhile)
{
    module.SetBalanceRatioRed(1.5);
    module.SetTestPattern(5);
    EXPECT_THAT(idle.transfersOf([&] { EXPECT_EQ(module.GetCurrentBalanceRatioRed(), 1.5); }),
                ElementsAre());
}

TEST_F(TestPatternTest, OtherControlsWriteAllTheTime)
{
    idle.camera.PokeIsp16(0x5440, 0x3C03);
    module.SetTestPattern(5);
    EXPECT_THAT(idle.transfersOf([&] {
        module.SetBrightness(1.0);
        module.SetContrast(1.0);
        module.SetSaturation(1.0);
        module.SetSharpness(0.0);
        module.SetAntiFlicker(0);
        module.SetExposureTime_us(5);
        module.SetAcquisitionFrameRateEnable(false);
    }),
                ElementsAre("w 7000 1000", "w 7002 5000", "w 7006 1000", "w 7010 0000", "r 5440",
                            "w 5440 3c00", "w 500c 00000005", "w 2020 ffe6"));
}

/// Everything that a pattern overrides.
std::vector<std::uint16_t> overridden(const SimulatedModule& simulated)
{
    std::vector<std::uint16_t> values;
    for (const std::uint16_t address : {0x5002, 0x5006, 0x5100, 0x5102, 0x5104, 0x510C, 0x510E,
                                        0x5110, 0x515C, 0x52CA, 0x2014, 0x700A})
        values.push_back(simulated.camera.PeekIsp16(address));
    values.push_back(simulated.camera.PeekIsp16(0x600C) & 3);
    return values;
}

// Whichever transfer of the switching-on fails, switching off brings everything back.
TEST_F(TestPatternTest, HalfAPatternIsUndoneBySwitchingOff)
{
    module.SetTestPattern(1);
    module.SetTestPattern(0);
    const auto before = overridden(idle);
    const std::uint64_t begin = idle.camera.TransferCount();
    module.SetTestPattern(1);
    const std::uint64_t count = idle.camera.TransferCount() - begin;
    module.SetTestPattern(0);
    ASSERT_GE(count, 20U);
    for (std::uint64_t n = 1; n <= count; ++n) {
        SCOPED_TRACE(n);
        zevo_sim::Misbehaviour failing;
        failing.failingTransfers[idle.camera.TransferCount() + n] = EREMOTEIO;
        idle.camera.SetMisbehaviour(failing);
        EXPECT_THAT(errorOf([&] { module.SetTestPattern(1); }), HasSubstr("Remote I/O error"));
        module.SetTestPattern(0);
        EXPECT_EQ(overridden(idle), before);
    }
}

TEST(CameraModuleTestPattern, DoesNotOutliveTheModule)
{
    SimulatedModule simulated(running());
    std::vector<std::uint16_t> before;
    {
        CameraModuleAP1302 module(simulated.controlDevice(), simulated.csi(), makeTriggerFeature,
                                  simulated.clock);
        module.Initialize();
        module.SetGamma(1.0);
        module.SetTestPattern(1);
        module.SetTestPattern(0);
        before = overridden(simulated);
        module.SetTestPattern(2);
        EXPECT_NE(overridden(simulated), before);
    }
    EXPECT_EQ(overridden(simulated), before);
}

TEST(CameraModuleTestPattern, LostModuleIsNoFailureAtTheEnd)
{
    SimulatedModule simulated(running());
    auto module = std::make_unique<CameraModuleAP1302>(simulated.controlDevice(), simulated.csi(),
                                                       makeTriggerFeature, simulated.clock);
    module->SetTestPattern(2);
    const std::uint64_t transfers = simulated.camera.TransferCount();
    zevo_sim::Misbehaviour lost;
    lost.failingTransfers[transfers + 1] = EREMOTEIO;
    simulated.camera.SetMisbehaviour(lost);
    module.reset();
    EXPECT_EQ(simulated.camera.TransferCount(), transfers + 1);
}

} // namespace
