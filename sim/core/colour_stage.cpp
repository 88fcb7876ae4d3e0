#include "sim/core/colour_stage.h"

#include <algorithm>
#include <cmath>

namespace zevo_sim
{

namespace
{

/// Tone mapping in linear light: below 1 it lifts the shadows.
constexpr double kToneExponent = 0.75;
constexpr int kBlackLuma = 16;
constexpr int kWhiteLuma = 235;

double FromSrgb(double value)
{
    return value <= 0.04045 ? value / 12.92 : std::pow((value + 0.055) / 1.055, 2.4);
}

double ToSrgb(double light)
{
    return light <= 0.0031308 ? light * 12.92 : 1.055 * std::pow(light, 1 / 2.4) - 0.055;
}

/// An S through black, middle and white for a contrast above 0, a flatter line below.
double WithContrast(double value, double contrast)
{
    if (contrast <= 0)
        return 0.5 + (value - 0.5) * std::max(1 + contrast / 8, 0.0);
    const auto curve = [&](double x) { return std::tanh(contrast * (x - 0.5)); };
    return 0.5 + 0.5 * curve(value) / curve(1);
}

/// What becomes of one channel's value, 0 to 1.
double Through(const PictureLook& look, double gain, double value)
{
    // A pattern is made of light as it is, the scene shows how it looks to be.
    double light = value;
    if (!look.pattern)
        light = std::pow(FromSrgb(value), 1 / kToneExponent);
    light = std::min(light * gain, 1.0);
    if (look.isToneMapped)
        light = std::pow(light, kToneExponent);
    const double shown = look.gamma == 0 ? ToSrgb(light) : std::pow(light, look.gamma);
    const double contrasted = look.contrast == 0 ? shown : WithContrast(shown, look.contrast);
    return contrasted + look.brightness / 2;
}

std::uint8_t ToByte(double value)
{
    return static_cast<std::uint8_t>(std::lround(std::clamp(value, 0.0, 1.0) * 255));
}

} // namespace

Yuv ToYuv(Colour colour)
{
    const int r = colour.red;
    const int g = colour.green;
    const int b = colour.blue;
    // Sums stay above zero: the colour differences carry their offset inside.
    return {static_cast<std::uint8_t>((66 * r + 129 * g + 25 * b + 0x1080) >> 8),
            static_cast<std::uint8_t>((-38 * r - 74 * g + 112 * b + 0x8080) >> 8),
            static_cast<std::uint8_t>((112 * r - 94 * g - 18 * b + 0x8080) >> 8)};
}

ColourStage::ColourStage(const PictureLook& look)
    : isPlain_(look.IsPlain()),
      amount256_(static_cast<int>(std::lround(std::max(look.sharpness / 4, -1.0) * 256)))
{
    if (isPlain_)
        return;
    for (std::size_t channel = 0; channel < tables_.size(); ++channel)
        for (unsigned i = 0; i < 256; ++i)
            tables_[channel][i] = ToByte(Through(look, look.gain[channel], i / 255.0));
    for (int i = 0; i < 256; ++i)
        chroma_[static_cast<unsigned>(i)] = static_cast<std::uint8_t>(
            std::clamp(std::lround(128 + (i - 128) * look.saturation), 16L, 240L));
}

void ColourStage::Row(const std::uint8_t* rgb, std::size_t pixels, Yuv* target) const
{
    if (isPlain_) {
        for (std::size_t i = 0; i < pixels; ++i, rgb += 3)
            target[i] = ToYuv({rgb[0], rgb[1], rgb[2]});
        return;
    }
    for (std::size_t i = 0; i < pixels; ++i, rgb += 3) {
        const Yuv yuv = ToYuv({tables_[0][rgb[0]], tables_[1][rgb[1]], tables_[2][rgb[2]]});
        target[i] = {yuv.y, chroma_[yuv.cb], chroma_[yuv.cr]};
    }
}

void ColourStage::Sharpen(const Yuv* above, const Yuv* row, const Yuv* below, std::size_t pixels,
                          Yuv* target) const
{
    const auto column = [&](std::size_t x) { return above[x].y + row[x].y + below[x].y; };
    int left = column(0);
    int middle = left;
    for (std::size_t x = 0; x < pixels; ++x) {
        const int right = x + 1 < pixels ? column(x + 1) : middle;
        const int difference = row[x].y * 9 - (left + middle + right); // nine times as much
        const int luma = row[x].y + difference * amount256_ / (9 * 256);
        target[x] = {static_cast<std::uint8_t>(std::clamp(luma, kBlackLuma, kWhiteLuma)), row[x].cb,
                     row[x].cr};
        left = middle;
        middle = right;
    }
}

} // namespace zevo_sim
