#include "module/isp_sensor.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>

#include "../bus/memory_bridge.h"

namespace
{

using namespace mcm;
using testing::ElementsAre;

class IspSensorTest : public testing::Test
{
protected:
    std::shared_ptr<MemoryBridge> bridge = std::make_shared<MemoryBridge>();
    IspSensor isp{deviceOn(bridge, {2, 256})};
};

TEST_F(IspSensorTest, WholeRegistersTakeWhatTheyHold)
{
    isp.PREVIEW_WIDTH(65535);
    EXPECT_EQ(bridge->get<std::uint16_t>(0x2000), 0xFFFF);
    EXPECT_EQ(isp.PREVIEW_WIDTH(), 65535U);
    isp.AE_MANUAL_EXP_TIME(0xFFFFFFFF);
    EXPECT_EQ(bridge->get<std::uint32_t>(0x500C), 0xFFFFFFFF);
    EXPECT_EQ(isp.AE_MANUAL_EXP_TIME(), 0xFFFFFFFF);
    EXPECT_THAT(bridge->transfers, ElementsAre(Transfer{'w', 0x2000, 2}, Transfer{'r', 0x2000, 2},
                                               Transfer{'w', 0x500C, 4}, Transfer{'r', 0x500C, 2},
                                               Transfer{'r', 0x500E, 2}));
}

TEST_F(IspSensorTest, RefusesBeforeAnyTransfer)
{
    const struct {
        const char* error;
        std::function<void()> set;
    } cases[] = {
        {"PREVIEW_WIDTH: Value 65536 outside range 0...65535.",
         [this] { isp.PREVIEW_WIDTH(65536); }},
        {"BOOTDATA_STAGE: Value 4294967295 outside range 0...65535.",
         [this] { isp.BOOTDATA_STAGE(0xFFFFFFFF); }},
        {"Ae_ctrl_MODE: Value 16 outside range 0...15.", [this] { isp.Ae_ctrl_MODE(16); }},
        {"Pll_0_div_FB_DIV: Value 64 outside range 0...63.", [this] { isp.Pll_0_div_FB_DIV(64); }},
        {"Preview_div_cpu_DIV: Value 128 outside range 0...127.5.",
         [this] { isp.Preview_div_cpu_DIV(127.8); }},
        {"BRIGHTNESS: Value 9 outside range -8...7.99976.", [this] { isp.BRIGHTNESS(9.0); }},
        {"BRIGHTNESS: Value 8 outside range -8...7.99976.", [this] { isp.BRIGHTNESS(7.9999); }},
        {"BRIGHTNESS: Value -8.00024 outside range -8...7.99976.",
         [this] { isp.BRIGHTNESS(-8.00013); }},
        {"AE_MANUAL_GAIN: Value -0.0117188 outside range 0...255.996.",
         [this] { isp.AE_MANUAL_GAIN(-0.01); }},
        {"PREVIEW_LINE_TIME: Value 65536 outside range 0...65536.",
         [this] { isp.PREVIEW_LINE_TIME(65536.0); }},
        {"GAMMA: Value inf outside range -8...7.99976.", [this] { isp.GAMMA(INFINITY); }},
        {"GAMMA: Value nan outside range -8...7.99976.", [this] { isp.GAMMA(std::abs(NAN)); }},
    };
    for (const auto& row : cases)
        EXPECT_EQ(errorOf(row.set), row.error);
    EXPECT_THROW(isp.GAMMA(9.0), std::range_error);
    EXPECT_THROW(isp.PREVIEW_WIDTH(65536), std::range_error);
    EXPECT_THAT(bridge->transfers, ElementsAre());
}

TEST_F(IspSensorTest, ScaledValuesRoundHalvesAwayFromZero)
{
    const struct {
        void (IspSensor::*set)(double);
        double value;
        std::uint16_t address;
        std::uint16_t raw;
    } cases[] = {
        {&IspSensor::BRIGHTNESS, 7.99987, 0x7000, 32767},
        {&IspSensor::BRIGHTNESS, -8.0, 0x7000, 0x8000},
        {&IspSensor::BRIGHTNESS, 0.5 / 4096, 0x7000, 1},
        {&IspSensor::BRIGHTNESS, 0.49 / 4096, 0x7000, 0},
        {&IspSensor::BRIGHTNESS, -0.5 / 4096, 0x7000, 0xFFFF},
        {&IspSensor::BRIGHTNESS, -0.49 / 4096, 0x7000, 0},
        {&IspSensor::BRIGHTNESS, -1.5 / 4096, 0x7000, 0xFFFE},
        {&IspSensor::AE_MANUAL_GAIN, -0.001, 0x5006, 0},
        {&IspSensor::AE_MANUAL_GAIN, 255.99609375, 0x5006, 0xFFFF},
    };
    for (const auto& row : cases) {
        SCOPED_TRACE(row.value);
        bridge->put(row.address, std::uint16_t{0x5555});
        (isp.*row.set)(row.value);
        EXPECT_EQ(bridge->get<std::uint16_t>(row.address), row.raw);
    }
}

TEST_F(IspSensorTest, ScaledValuesReadBackSigned)
{
    bridge->put(0x7000, std::uint16_t{0x8000});
    bridge->put(0x0192, std::uint16_t{0x8000});
    bridge->put(0x0068, std::uint32_t{1200 << 16 | 0x8000});
    bridge->put(0x1188, std::uint32_t{0xFFFFFF80});
    EXPECT_EQ(isp.BRIGHTNESS(), -8.0);
    EXPECT_EQ(isp.AE_GAIN(), 128.0);
    EXPECT_EQ(isp.REGISTER_0068(), 1200.5);
    EXPECT_EQ(isp.TRIGGER_DELAY(), -0.5);
}

TEST_F(IspSensorTest, UncheckedRegistersTakeTheLowBits)
{
    const struct {
        double value;
        std::uint32_t raw;
    } cases[] = {
        {10.0, 2560},
        {-10.0, 0xFFFFF600},
        {8388608.0, 0x80000000},
        {-1e300, 0},
        {16777216.0, 0},
        {16777217.0, 256},
        {INFINITY, 0},
        {NAN, 0},
        {-0.001953125, 0xFFFFFFFF},
    };
    for (const auto& row : cases) {
        SCOPED_TRACE(row.value);
        isp.TRIGGER_DELAY(row.value);
        EXPECT_EQ(bridge->get<std::uint32_t>(0x1188), row.raw);
    }
    isp.PLL_REF_CLOCK(48.0);
    EXPECT_EQ(bridge->get<std::uint32_t>(0x6024), 0x00300000U);
}

TEST_F(IspSensorTest, FieldsKeepTheOtherBits)
{
    bridge->put(0x5002, std::uint16_t{0xABCD});
    isp.Ae_ctrl_MODE(15);
    EXPECT_EQ(bridge->get<std::uint16_t>(0x5002), 0xABCF);
    isp.Ae_ctrl_MODE(0);
    EXPECT_EQ(bridge->get<std::uint16_t>(0x5002), 0xABC0);
    bridge->put(0x2050, std::uint32_t{0xFFFFFFFF});
    isp.Preview_div_cpu_SWITCH(1);
    isp.Preview_div_cpu_DIV(4.5);
    EXPECT_EQ(bridge->get<std::uint32_t>(0x2050), 0xFFFDFF09);
    EXPECT_EQ(isp.Preview_div_cpu_SWITCH(), 1U);
    EXPECT_EQ(isp.Preview_div_cpu_DIV(), 4.5);
    bridge->put(0x5440, std::uint16_t{0x3C02});
    EXPECT_EQ(isp.Flick_ctrl_FREQ(), 60U);
    EXPECT_EQ(isp.Flick_ctrl_MODE(), 2U);
    bridge->put(0x1186, std::uint16_t{0xFBFF});
    isp.Trigger_ctrl_POLARITY(true);
    EXPECT_EQ(bridge->get<std::uint16_t>(0x1186), 0xFFFF);
    EXPECT_TRUE(isp.Trigger_ctrl_POLARITY());
    isp.Trigger_ctrl_POLARITY(false);
    EXPECT_EQ(bridge->get<std::uint16_t>(0x1186), 0xFBFF);
}

} // namespace
