#include "sim/core/test_pattern.h"

namespace zevo_sim
{

namespace
{

constexpr int kWidth = static_cast<int>(kSensorPixelsX);
constexpr int kHeight = static_cast<int>(kSensorPixelsY);
constexpr int kGridStep = 100;
constexpr int kGridLine = 5;
constexpr int kSquare = 64;

std::uint8_t Part(int position, int size)
{
    return static_cast<std::uint8_t>(position * 255 / (size - 1));
}

Colour Grey(std::uint8_t level)
{
    return {level, level, level};
}

Colour Bar(int x)
{
    return kBars[static_cast<std::size_t>(x) * std::size(kBars) / kSensorPixelsX];
}

/// From the colour at the top to grey at the bottom.
Colour FadingBar(int x, int y)
{
    const Colour bar = Bar(x);
    const auto fade = [&](int level) {
        return static_cast<std::uint8_t>(level + (128 - level) * y / (kHeight - 1));
    };
    return {fade(bar.red), fade(bar.green), fade(bar.blue)};
}

/// The same in every picture.
Colour Noise(int x, int y)
{
    auto number = static_cast<std::uint32_t>(y) * kSensorPixelsX + static_cast<std::uint32_t>(x);
    for (int round = 0; round < 2; ++round)
        number = (number ^ number >> 15) * 0x2C1B3C6Du;
    return Grey(static_cast<std::uint8_t>(number >> 24));
}

Colour PatternPixel(unsigned mode, int x, int y)
{
    switch (mode) {
    case 2:
        return Bar(x);
    case 3:
        return FadingBar(x, y);
    case 4:
        return Grey(Part(x, kWidth));
    case 5:
        return Grey(Part(y, kHeight));
    case 6:
        return x % kGridStep < kGridLine || y % kGridStep < kGridLine ? kWhite : kBlack;
    case 7:
        return (x / kSquare + y / kSquare) % 2 == 0 ? kWhite : kBlack;
    case 8:
        return Noise(x, y);
    case 10:
        return {Part(x, kWidth), Part(y, kHeight), Part(kWidth - 1 - x, kWidth)};
    default:
        return kBlack;
    }
}

} // namespace

Scene MakeTestPattern(const PatternChoice& choice)
{
    constexpr unsigned oneColour = 1;
    Canvas canvas(kWidth, kHeight);
    if (choice.mode == oneColour) {
        const auto high = [&](std::size_t channel) {
            return static_cast<std::uint8_t>(choice.colour[channel] >> 8);
        };
        canvas.Fill(0, 0, kWidth, kHeight, {high(0), high(1), high(2)});
    } else {
        canvas.Shade(0, 0, kWidth, kHeight,
                     [&](int x, int y) { return PatternPixel(choice.mode, x, y); });
    }
    return Scene::FromCanvas(canvas);
}

} // namespace zevo_sim
