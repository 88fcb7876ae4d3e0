#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>

#include "opened_module.h"

namespace
{

using namespace mcm;
using testing::ElementsAre;

constexpr std::uint16_t kAwbControl = 0x5100;

class WhiteBalanceTest : public testing::Test
{
protected:
    void SetUp() override { idle.camera.PokeIsp16(kAwbControl, 0x115A); }
    Lines transfersOf(const std::function<void(CameraModuleAP1302&)>& use)
    {
        return idle.transfersOf([&] { use(module); });
    }
    void setRatios(double red, double green, double blue)
    {
        module.SetBalanceRatioRed(red);
        module.SetBalanceRatioGreen(green);
        module.SetBalanceRatioBlue(blue);
    }

    Idle idle;
    CameraModuleAP1302& module = idle.module;
};

TEST_F(WhiteBalanceTest, PresetsHaveTheirModesAndNoOverrideGains)
{
    const struct {
        std::uint32_t preset;
        const char* control;
    } cases[] = {
        {1, "w 5100 115f"}, {2, "w 5100 1151"}, {3, "w 5100 1152"}, {4, "w 5100 1153"},
        {5, "w 5100 1154"}, {6, "w 5100 1155"}, {7, "w 5100 1156"},
    };
    setRatios(2.0, 2.0, 2.0);
    for (const auto& row : cases) {
        EXPECT_THAT(
            transfersOf([&](auto& m) { m.SetLightSourcePreset(row.preset); }),
            ElementsAre("r 5100", row.control, "w 510c 0000", "w 510e 0000", "w 5110 0000"));
    }
    EXPECT_THAT(transfersOf([](auto& m) { m.SetBalanceWhiteAuto(true); }),
                ElementsAre("r 5100", "w 5100 115f", "w 510c 0000", "w 510e 0000", "w 5110 0000"));
}

TEST_F(WhiteBalanceTest, ManualModeSendsTheStoredRatios)
{
    EXPECT_THAT(transfersOf([this](auto&) { setRatios(1.5, 1.0, 2.25); }), ElementsAre())
        << "stored only, while the ISP balances";
    const auto sent =
        ElementsAre("r 5100", "w 5100 1150", "w 510c 0180", "w 510e 0100", "w 5110 0240");
    EXPECT_THAT(transfersOf([](auto& m) { m.SetBalanceWhiteAuto(false); }), sent);
    EXPECT_THAT(transfersOf([](auto& m) { m.SetLightSourcePreset(0); }), sent);
    EXPECT_THAT(transfersOf([](auto& m) { m.SetLightSourcePreset(8); }), sent);
}

TEST_F(WhiteBalanceTest, RatiosAreWrittenAtOnceInManualMode)
{
    module.SetBalanceWhiteAuto(false);
    EXPECT_THAT(transfersOf([this](auto&) { setRatios(1.5, -1.0, 127.99609375); }),
                ElementsAre("w 510c 0180", "w 510e ff00", "w 5110 7fff"));
}

TEST_F(WhiteBalanceTest, RefusedRatioIsNotStored)
{
    module.SetBalanceWhiteAuto(false);
    setRatios(2.0, 2.0, 2.0);
    EXPECT_EQ(errorOf([this] { module.SetBalanceRatioRed(128.0); }),
              "AWB_OVERRIDE_GAIN_0: Value 128 outside range -128...127.996.");
    EXPECT_EQ(errorOf([this] { module.SetBalanceRatioGreen(-129.0); }),
              "AWB_OVERRIDE_GAIN_1: Value -129 outside range -128...127.996.");
    EXPECT_EQ(errorOf([this] { module.SetBalanceRatioBlue(128.0); }),
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
        const FixedRegisters measured(idle, {{0x01D0, row.qx}, {0x01D2, row.qy}});
        EXPECT_NEAR(module.GetCurrentBalanceRatioRed(), row.red, 1e-12);
        EXPECT_EQ(module.GetCurrentBalanceRatioGreen(), 1.0);
        EXPECT_NEAR(module.GetCurrentBalanceRatioBlue(), row.blue, 1e-12);
    }
}

TEST_F(WhiteBalanceTest, EveryReadMeasuresAnewUnlessTheModeIsManual)
{
    const auto readAll = [](CameraModuleAP1302& m) {
        m.GetCurrentBalanceRatioRed();
        m.GetCurrentBalanceRatioGreen();
        m.GetCurrentBalanceRatioBlue();
    };
    EXPECT_THAT(transfersOf(readAll),
                ElementsAre("r 01d0", "r 01d2", "r 01d0", "r 01d2", "r 01d0", "r 01d2"));
    module.SetBalanceWhiteAuto(false);
    EXPECT_THAT(transfersOf(readAll), ElementsAre());
}

// The last look at the measurement is what stays when the ISP stops balancing.
TEST_F(WhiteBalanceTest, SwitchingOffSendsWhatWasMeasuredLast)
{
    setRatios(3.0, 3.0, 3.0);
    {
        const FixedRegisters measured(idle, {{0x01D0, 0x1000}, {0x01D2, 0x1000}});
        module.GetCurrentBalanceRatioGreen();
    }
    EXPECT_THAT(transfersOf([](auto& m) { m.SetBalanceWhiteAuto(false); }),
                ElementsAre("r 5100", "w 5100 1150", "w 510c 0200", "w 510e 0100", "w 5110 0100"));
}

} // namespace
