#include "sim/core/picture_registers.h"

#include <algorithm>
#include <cmath>

#include "sim/core/ap1302_registers.h"

namespace zevo_sim
{

using namespace isp;

namespace
{

constexpr double kFullFrameRate = 30.0;

/// Factors so near to each other can't be told apart in a picture.
double Rounded(double factor)
{
    return std::round(factor * 4096) / 4096;
}

PictureLook ReadLook(const RegisterFile& registers, const ExposureControl& exposure,
                     const WhiteBalance& balance, const Light& light)
{
    PictureLook look;
    const ColourGains& gains = balance.Gains();
    if ((registers.Get16(kSensorSelect) & kSensorMask) == 0) {
        // Made behind the sensor: neither exposure time nor light act on it.
        const unsigned green =
            (registers.Get16(kPatternGreenRed) + registers.Get16(kPatternGreenBlue)) / 2u;
        look.pattern = {registers.Field(kSensorSelect, 8, 4),
                        {registers.Get16(kPatternRed), static_cast<std::uint16_t>(green),
                         registers.Get16(kPatternBlue)}};
        look.gain = {gains.red * exposure.Gain(), gains.green * exposure.Gain(),
                     gains.blue * exposure.Gain()};
    } else {
        const ColourGains neutral = NeutralGains(light.temperature);
        const double level = exposure.Level();
        look.gain = {gains.red / neutral.red * level, gains.green / neutral.green * level,
                     gains.blue / neutral.blue * level};
    }
    for (double& gain : look.gain)
        gain = Rounded(gain);
    look.isToneMapped = registers.Get16(kAtmControl) != 0;
    look.gamma = std::max(registers.Signed(kGamma, 12), 0.0);
    look.contrast = registers.Signed(kContrast, 12);
    look.brightness = registers.Signed(kBrightness, 12);
    look.sharpness = registers.Signed(kSharpenValue, 12);
    look.saturation = registers.Signed(kSaturation, 12);
    return look;
}

} // namespace

PictureSetup ReadPictureSetup(const RegisterFile& registers, const ExposureControl& exposure,
                              const WhiteBalance& balance, const Light& light)
{
    const auto share = [&](std::uint16_t address) {
        return static_cast<std::int16_t>(registers.Get16(address));
    };
    PictureSetup setup;
    setup.width = registers.Get16(kPreviewWidth);
    setup.height = registers.Get16(kPreviewHeight);
    setup.outputFormat = registers.Get16(kPreviewOutFormat);
    setup.roiX0 = share(kPreviewRoiX0);
    setup.roiY0 = share(kPreviewRoiY0);
    setup.roiX1 = share(kPreviewRoiX1);
    setup.roiY1 = share(kPreviewRoiY1);
    setup.look = ReadLook(registers, exposure, balance, light);
    return setup;
}

double ReadMaxFrameRate(const RegisterFile& registers)
{
    const double height = registers.Signed(kPreviewRoiY1, 14) - registers.Signed(kPreviewRoiY0, 14);
    const double readoutLimit = kFullFrameRate / std::clamp(height, 1.0 / kSensorPixelsY, 1.0);
    const double ceiling = registers.Unsigned(kPreviewMaxFps, 8);
    return ceiling > 0 ? std::min(ceiling, readoutLimit) : readoutLimit;
}

} // namespace zevo_sim
