#include <cmath>

#include "opened_module.h"

namespace
{

class WhiteBalanceTest : public IdleTest
{
protected:
    WhiteBalanceTest() { poke({{0x5100, 0x115A}}); }
    void setRatios(double red, double green, double blue)
    {
        module.SetBalanceRatioRed(red);
        module.SetBalanceRatioGreen(green);
        module.SetBalanceRatioBlue(blue);
    }
};

TEST_F(WhiteBalanceTest, PresetsHaveTheirModesAndNoOverrideGains)
{
    const Lines none = {"w 510c 0000", "w 510e 0000", "w 5110 0000"};
    setRatios(2.0, 2.0, 2.0);
    expectTransfers({
        {[&] { module.SetLightSourcePreset(1); }, Lines{"r 5100", "w 5100 115f"} + none},
        {[&] { module.SetLightSourcePreset(2); }, Lines{"r 5100", "w 5100 1151"} + none},
        {[&] { module.SetLightSourcePreset(3); }, Lines{"r 5100", "w 5100 1152"} + none},
        {[&] { module.SetLightSourcePreset(4); }, Lines{"r 5100", "w 5100 1153"} + none},
        {[&] { module.SetLightSourcePreset(5); }, Lines{"r 5100", "w 5100 1154"} + none},
        {[&] { module.SetLightSourcePreset(6); }, Lines{"r 5100", "w 5100 1155"} + none},
        {[&] { module.SetLightSourcePreset(7); }, Lines{"r 5100", "w 5100 1156"} + none},
        {[&] { module.SetBalanceWhiteAuto(true); }, Lines{"r 5100", "w 5100 115f"} + none},
    });
}

TEST_F(WhiteBalanceTest, ManualModeSendsTheStoredRatiosAndThenEachAtOnce)
{
    const Lines sent = {"r 5100", "w 5100 1150", "w 510c 0180", "w 510e 0100", "w 5110 0240"};
    expectTransfers({
        {[&] { setRatios(1.5, 1.0, 2.25); }, {}},
        {[&] { module.SetBalanceWhiteAuto(false); }, sent},
        {[&] { module.SetLightSourcePreset(0); }, sent},
        {[&] { module.SetLightSourcePreset(8); }, sent},
        {[&] { setRatios(1.5, -1.0, 127.99609375); },
         {"w 510c 0180", "w 510e ff00", "w 5110 7fff"}},
    });
}

TEST_F(WhiteBalanceTest, RefusedRatioIsNotStored)
{
    module.SetBalanceWhiteAuto(false);
    setRatios(2.0, 2.0, 2.0);
    EXPECT_EQ(errorOf([&] { module.SetBalanceRatioRed(128.0); }),
              "AWB_OVERRIDE_GAIN_0: Value 128 outside range -128...127.996.");
    EXPECT_EQ(errorOf([&] { module.SetBalanceRatioGreen(-129.0); }),
              "AWB_OVERRIDE_GAIN_1: Value -129 outside range -128...127.996.");
    EXPECT_EQ(errorOf([&] { module.SetBalanceRatioBlue(128.0); }),
              "AWB_OVERRIDE_GAIN_2: Value 128 outside range -128...127.996.");
    EXPECT_EQ(module.GetCurrentBalanceRatioRed(), 2.0);
    EXPECT_EQ(module.GetCurrentBalanceRatioGreen(), 2.0);
    EXPECT_EQ(module.GetCurrentBalanceRatioBlue(), 2.0);
}

TEST_F(WhiteBalanceTest, MeasuredChromaticityBecomesRatios)
{
    const struct {
        std::uint16_t qx, qy; ///< in 1/4096, signed
        double red, blue;
    } cases[] = {
        {0x0000, 0x0000, 1.0, 1.0},
        {0x1000, 0x1000, 2.0, 1.0},
        {0x1000, 0xF000, 1.0, 0.5},
        {0xF000, 0x1000, 1.0, 2.0},
        {0x1000, 0x0000, std::sqrt(2.0), std::sqrt(0.5)},
        {0x0123, 0xFEDC, std::pow(2.0, -1.0 / 8192), std::pow(2.0, -583.0 / 8192)},
    };
    for (const auto& row : cases) {
        const FixedRegisters measured(*this, {{0x01D0, row.qx}, {0x01D2, row.qy}});
        EXPECT_NEAR(module.GetCurrentBalanceRatioRed(), row.red, 1e-12);
        EXPECT_EQ(module.GetCurrentBalanceRatioGreen(), 1.0);
        EXPECT_NEAR(module.GetCurrentBalanceRatioBlue(), row.blue, 1e-12);
    }
}

// The last look at the measurement is what stays when the ISP stops balancing.
TEST_F(WhiteBalanceTest, EveryReadMeasuresAnewUnlessTheModeIsManual)
{
    setRatios(3.0, 3.0, 3.0);
    const FixedRegisters measured(*this, {{0x01D0, 0x1000}, {0x01D2, 0x1000}});
    expectTransfers({
        {[&] { module.GetCurrentBalanceRatioRed(); }, {"r 01d0", "r 01d2"}},
        {[&] { module.GetCurrentBalanceRatioBlue(); }, {"r 01d0", "r 01d2"}},
        {[&] { module.GetCurrentBalanceRatioGreen(); }, {"r 01d0", "r 01d2"}},
        {[&] { module.SetBalanceWhiteAuto(false); },
         {"r 5100", "w 5100 1150", "w 510c 0200", "w 510e 0100", "w 5110 0100"}},
        {[&] { module.GetCurrentBalanceRatioRed(); }, {}},
        {[&] { module.GetCurrentBalanceRatioGreen(); }, {}},
        {[&] { module.GetCurrentBalanceRatioBlue(); }, {}},
    });
}

} // namespace
