#include "sim/core/white_balance.h"

#include <algorithm>
#include <cmath>

#include "sim/core/ap1302_registers.h"
#include "sim/core/approach.h"

namespace zevo_sim
{

using namespace isp;

namespace
{

struct LightRow {
    double temperature;
    double red;
    double blue;
};

// clang-format off
// A row a preset, in the order of their modes from 1.
constexpr LightRow kLights[] = {
    // kelvin  red            blue
    { 2500.0,  1.03125,       2.890625     },
    { 2800.0,  1.140625,      2.578125     },
    { 4250.0,  1.515625,      1.796875     },
    { 5000.0,  1.6767578125,  1.580078125  },
    { 6500.0,  1.953125,      1.296875     },
    { 7500.0,  2.09375,       1.171875     },
};
// clang-format on

constexpr unsigned kAutoMode = 15;

std::uint16_t ToRegister(double value)
{
    return static_cast<std::uint16_t>(std::lround(std::clamp(value * 4096, -32768.0, 32767.0)));
}

} // namespace

ColourGains NeutralGains(double temperature)
{
    const LightRow* above = kLights;
    while (above != std::end(kLights) - 1 && above->temperature < temperature)
        ++above;
    const LightRow* below = above == kLights ? above : above - 1;
    const double range = above->temperature - below->temperature;
    const double share =
        range > 0 ? std::clamp((temperature - below->temperature) / range, 0.0, 1.0) : 0;
    return {below->red + (above->red - below->red) * share, 1.0,
            below->blue + (above->blue - below->blue) * share};
}

WhiteBalance::WhiteBalance(const Light& light)
    : neutral_(NeutralGains(light.temperature)), gains_(neutral_)
{
}

ColourGains WhiteBalance::Wanted(const RegisterFile& registers) const
{
    const unsigned mode = registers.Get16(kAwbControl) & kAwbModeMask;
    ColourGains gains;
    if (mode == kAutoMode) {
        gains = neutral_;
    } else if (mode >= 1 && mode <= std::size(kLights)) {
        gains = {kLights[mode - 1].red, 1.0, kLights[mode - 1].blue};
    } else if (registers.Get16(kAwbCalibration) != 0) {
        const double x = registers.Signed(kAwbManualQx, 12);
        const double y = registers.Signed(kAwbManualQy, 12);
        gains = {std::exp2((x + y) / 2), 1.0, std::exp2((y - x) / 2)};
    }
    double* const channels[] = {&gains.red, &gains.green, &gains.blue};
    for (std::uint16_t i = 0; i < 3; ++i)
        if (const double override = registers.Signed(kAwbOverrideGain + i * 2, 8); override != 0)
            *channels[i] = std::max(override, 0.0);
    return gains;
}

void WhiteBalance::Settle(const RegisterFile& registers)
{
    gains_ = Wanted(registers);
}

void WhiteBalance::Step(const RegisterFile& registers)
{
    const ColourGains wanted = Wanted(registers);
    if ((registers.Get16(kAwbControl) & kAwbModeMask) != kAutoMode) {
        gains_ = wanted;
        return;
    }
    gains_ = {Approach(gains_.red, wanted.red), Approach(gains_.green, wanted.green),
              Approach(gains_.blue, wanted.blue)};
}

void WhiteBalance::Report(RegisterFile& registers) const
{
    constexpr double least = 1.0 / 256;
    const double green = std::max(gains_.green, least);
    const double red = std::log2(std::max(gains_.red, least) / green);
    const double blue = std::log2(std::max(gains_.blue, least) / green);
    registers.Set16(kAwbMeasuredQx, ToRegister(red - blue));
    registers.Set16(kAwbMeasuredQy, ToRegister(red + blue));
}

} // namespace zevo_sim
