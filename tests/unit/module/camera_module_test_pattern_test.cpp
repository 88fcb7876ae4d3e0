#include <gmock/gmock.h>

#include "opened_module.h"

namespace
{

using testing::HasSubstr;

const Lines kSaved = {"r 600c", "r 2014", "r 5100", "r 515c", "r 5102", "r 5104"};
const Lines kNeutral = {"r 5002",      "w 5002 abc0", "w 5006 0100", "w 5100 0000",
                        "w 515c 0000", "w 5104 5000", "w 5102 0000", "w 700a 1000",
                        "w 510c 0000", "w 510e 0000", "w 5110 0000", "w 52ca 0000"};
const Lines kRestored = {"w 2014 0007", "w 5100 123f", "w 515c 4321", "w 5102 fff0", "w 5104 0123"};
const Lines kStoredValues = {"w 700a 0800", "r 5002",      "w 5002 abcc", "w 5006 0200",
                             "r 5100",      "w 5100 123f", "w 510c 0000", "w 510e 0000",
                             "w 5110 0000", "w 52ca 043f"};

/// A module whose ISP holds telling values, gamma 2 and gain 2.
class TestPatternTest : public IdleTest
{
protected:
    TestPatternTest()
    {
        module.SetGamma(2.0);
        module.SetGainFactor(2.0);
        poke({{0x5002, 0xABCC}, {0x600C, 0x5106}, {0x2014, 7}, {0x5100, 0x123F}});
        poke({{0x515C, 0x4321}, {0x5102, 0xFFF0}, {0x5104, 0x0123}, {0x52CA, 0x043F}});
    }

    const Use off = [this] { module.SetTestPattern(0); };
};

TEST_F(TestPatternTest, PatternsHaveTheirModesAndColors)
{
    const struct {
        std::uint32_t pattern;
        const char* select;
        Lines colors;
    } cases[] = {
        {1, "w 600c 5104", {"w 6042 0000", "w 6044 0000", "w 6048 0000", "w 6046 0000"}},
        {2, "w 600c 5104", {"w 6042 ffff", "w 6044 ffff", "w 6048 ffff", "w 6046 ffff"}},
        {3, "w 600c 5304", {}},
        {4, "w 600c 5404", {}},
        {5, "w 600c 5a04", {}},
        {6, "w 600c 5204", {}},
        {7, "w 600c 5504", {}},
        {8, "w 600c 5604", {}},
        {9, "w 600c 5704", {}},
        {10, "w 600c 5804", {}},
    };
    module.SetTestPattern(5);
    for (const auto& row : cases) {
        const Lines select = {"r 600c", row.select};
        expectTransfers({{[&] { module.SetTestPattern(row.pattern); },
                          kNeutral + select + row.colors + select + Lines{"w 2014 0000"}}});
    }
    expectIgnored([&] { module.SetTestPattern(11); },
                  "SetTestPattern: invalid test pattern selected: 11");
}

TEST_F(TestPatternTest, OffPutsBackWhatTheFirstPatternSaved)
{
    const Lines select = {"r 600c", "w 600c 5a06", "r 600c", "w 600c 5a04", "w 2014 0000"};
    expectTransfers({{[&] { module.SetTestPattern(5); }, kSaved + kNeutral + select}});
    module.SetTestPattern(3);
    expectTransfers({
        {off, Lines{"r 600c", "w 600c 5306"} + kRestored + kStoredValues},
        {off, {}},
    });
}

TEST_F(TestPatternTest, ValuesOfTheAutomaticsWaitForItsEnd)
{
    const auto setAll = [&] {
        module.SetGamma(4.0);
        module.SetColorSpace(1);
        module.SetColorSpace(0);
        module.SetAdaptiveToneMappingAuto(false);
        module.SetExposureAuto(false);
        module.SetGainAuto(false);
        module.SetGainFactor(3.0);
        module.SetBalanceWhiteAuto(true);
        module.SetBalanceRatioRed(1.5);
        EXPECT_EQ(module.GetCurrentBalanceRatioRed(), 1.5) << "not what the ISP measures";
        module.SetLightSourcePreset(0);
        module.SetBalanceRatioGreen(1.25);
        module.SetBalanceRatioBlue(1.75);
    };
    module.SetTestPattern(5);
    expectTransfers({{setAll, {}},
                     {off, Lines{"r 600c", "w 600c 5a06"} + kRestored +
                               Lines{"w 700a 0400", "r 5002", "w 5002 abc0", "w 5006 0300",
                                     "r 5100", "w 5100 1230", "w 510c 0180", "w 510e 0140",
                                     "w 5110 01c0", "w 52ca 0000"}}});
}

TEST_F(TestPatternTest, OtherControlsWriteAllTheTime)
{
    module.SetTestPattern(5);
    expectTransfers({
        {[&] { module.SetBrightness(1.0); }, {"w 7000 1000"}},
        {[&] { module.SetContrast(1.0); }, {"w 7002 5000"}},
        {[&] { module.SetSaturation(1.0); }, {"w 7006 1000"}},
        {[&] { module.SetSharpness(0.0); }, {"w 7010 0000"}},
        {[&] { module.SetAntiFlicker(0); }, {"r 5440", "w 5440 0000"}},
        {[&] { module.SetExposureTime_us(5); }, {"w 500c 00000005"}},
        {[&] { module.SetAcquisitionFrameRateEnable(false); }, {"w 2020 ffe6"}},
    });
}

/// Everything that a pattern overrides.
std::vector<std::uint16_t> overridden(const SimulatedModule& simulated)
{
    std::vector<std::uint16_t> values;
    for (const std::uint16_t address : {0x5002, 0x5006, 0x5100, 0x5102, 0x5104, 0x510C, 0x510E,
                                        0x5110, 0x515C, 0x52CA, 0x2014, 0x700A})
        values.push_back(simulated.peek(address));
    values.push_back(simulated.peek(0x600C) & 3);
    return values;
}

// Whichever transfer of the switching-on fails, switching off brings everything back.
TEST_F(TestPatternTest, HalfAPatternIsUndoneBySwitchingOff)
{
    module.SetTestPattern(1);
    module.SetTestPattern(0);
    const auto before = overridden(*this);
    const std::uint64_t begin = camera.TransferCount();
    module.SetTestPattern(1);
    const std::uint64_t count = camera.TransferCount() - begin;
    module.SetTestPattern(0);
    ASSERT_GE(count, 20U);
    for (std::uint64_t n = 1; n <= count; ++n) {
        SCOPED_TRACE(n);
        failTransfer(n);
        EXPECT_THAT(errorOf([&] { module.SetTestPattern(1); }), HasSubstr("Remote I/O error"));
        module.SetTestPattern(0);
        EXPECT_EQ(overridden(*this), before);
    }
}

TEST(CameraModuleTestPattern, DoesNotOutliveTheModule)
{
    SimulatedModule simulated(running());
    auto module = simulated.makeModule();
    module->Initialize();
    module->SetGamma(1.0);
    module->SetTestPattern(1);
    module->SetTestPattern(0);
    const auto before = overridden(simulated);
    module->SetTestPattern(2);
    EXPECT_NE(overridden(simulated), before);
    module.reset();
    EXPECT_EQ(overridden(simulated), before);

    // A camera that is gone by then is no failure.
    module = simulated.makeModule();
    module->SetTestPattern(2);
    const std::uint64_t transfers = simulated.camera.TransferCount();
    simulated.failTransfer(1);
    module.reset();
    EXPECT_EQ(simulated.camera.TransferCount(), transfers + 1);
}

} // namespace
