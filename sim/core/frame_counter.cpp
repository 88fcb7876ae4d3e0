#include "sim/core/frame_counter.h"

#include <algorithm>
#include <array>
#include <cstdio>

#include "sim/core/canvas.h"

namespace zevo_sim
{

namespace
{

constexpr std::uint8_t kDark = 16;
constexpr std::uint8_t kBright = 235;
constexpr std::uint8_t kThreshold = 125;
constexpr std::uint8_t kNoColour = 128;

constexpr std::uint64_t kHead = 0b1011;
constexpr std::uint64_t kTail = 0b0100;
constexpr std::uint32_t kCheckSeed = 0x5A;

constexpr unsigned kDigits = 10;
constexpr unsigned kTextTop = 6;
constexpr unsigned kTextLeft = 6;

std::uint64_t ToCells(std::uint32_t number)
{
    const std::uint32_t check =
        (number ^ number >> 8 ^ number >> 16 ^ number >> 24 ^ kCheckSeed) & 0xFF;
    return kHead << 44 | std::uint64_t{number} << 12 | check << 4 | kTail;
}

/// A glyph's pixel is a square of this size.
unsigned TextScale(unsigned width)
{
    return std::clamp(width / 320, 1u, 6u);
}

struct Frame {
    std::uint8_t* bytes;
    FrameLayout layout;
    unsigned width;
    unsigned height;

    void FillLuma(unsigned x, unsigned y, unsigned columns, unsigned rows, std::uint8_t level) const
    {
        for (unsigned row = y; row < std::min(y + rows, height); ++row)
            for (unsigned column = x; column < std::min(x + columns, width); ++column)
                bytes[LumaOffset(layout, width, column, row)] = level;
    }

    void FillGround(unsigned x, unsigned y, unsigned columns, unsigned rows) const
    {
        FillLuma(x, y, columns, rows, kDark);
        for (unsigned row = y; row < std::min(y + rows, height); ++row) {
            for (unsigned column = x; column < std::min(x + columns, width); ++column) {
                const std::size_t blue = BlueOffset(layout, width, height, column, row);
                bytes[blue] = kNoColour;
                bytes[blue + RedOffset(layout)] = kNoColour;
            }
        }
    }

    void DrawGlyph(unsigned x, unsigned y, unsigned scale, char sign) const
    {
        const std::uint8_t* rows = Glyph(sign);
        for (unsigned row = 0; row < unsigned{kGlyphHeight}; ++row)
            for (unsigned column = 0; column < unsigned{kGlyphWidth}; ++column)
                FillLuma(x + column * scale, y + row * scale, scale, scale,
                         (rows[row] >> (kGlyphWidth - 1 - column) & 1) != 0 ? kBright : kDark);
    }

    void DrawCells(unsigned y, std::uint64_t cells) const
    {
        for (unsigned i = 0; i < kCounterCells; ++i)
            FillLuma(i * 2, y, 2, kCounterHeight,
                     (cells >> (kCounterCells - 1 - i) & 1) != 0 ? kBright : kDark);
    }
};

bool HasRoom(unsigned width, unsigned height)
{
    return width >= kCounterWidth && height >= 2 * kCounterHeight;
}

} // namespace

void DrawCounterGround(std::uint8_t* bytes, FrameLayout layout, unsigned width, unsigned height,
                       std::string_view name)
{
    if (!HasRoom(width, height))
        return;
    const Frame frame{bytes, layout, width, height};
    frame.FillGround(0, 0, kCounterWidth, kCounterHeight);
    frame.FillGround(0, height - kCounterHeight, kCounterWidth, kCounterHeight);

    const unsigned scale = TextScale(width);
    const unsigned advance = kGlyphAdvance * scale;
    const unsigned fitting = (width - kTextLeft) / advance;
    const auto signs =
        static_cast<unsigned>(std::min<std::size_t>(kDigits + 1 + name.size(), fitting));
    frame.FillGround(kTextLeft - 2, kTextTop - 2, signs * advance + 2,
                     unsigned{kGlyphHeight} * scale + 4);
    for (unsigned i = kDigits + 1; i < signs; ++i)
        frame.DrawGlyph(kTextLeft + i * advance, kTextTop, scale, name[i - kDigits - 1]);
}

void DrawCounter(std::uint8_t* bytes, FrameLayout layout, unsigned width, unsigned height,
                 std::uint64_t number)
{
    if (!HasRoom(width, height))
        return;
    const Frame frame{bytes, layout, width, height};
    const std::uint64_t cells = ToCells(static_cast<std::uint32_t>(number));
    frame.DrawCells(0, cells);
    frame.DrawCells(height - kCounterHeight, cells);

    std::array<char, 24> text{};
    std::snprintf(text.data(), text.size(), "%010llu",
                  static_cast<unsigned long long>(number % 10'000'000'000));
    const unsigned scale = TextScale(width);
    for (unsigned i = 0; i < kDigits; ++i)
        frame.DrawGlyph(kTextLeft + i * kGlyphAdvance * scale, kTextTop, scale, text[i]);
}

std::optional<std::uint32_t> ReadCounter(const std::uint8_t* frame, FrameLayout layout,
                                         unsigned width, unsigned height, CounterPlace place)
{
    if (!HasRoom(width, height))
        return std::nullopt;
    const unsigned top = place == CounterPlace::Top ? 0 : height - kCounterHeight;
    std::uint64_t cells = 0;
    for (unsigned i = 0; i < kCounterCells; ++i) {
        const auto isBright = [&](unsigned x, unsigned y) {
            return frame[LumaOffset(layout, width, i * 2 + x, top + y)] > kThreshold;
        };
        const bool bit = isBright(0, 0);
        if (isBright(1, 0) != bit || isBright(0, 1) != bit || isBright(1, 1) != bit)
            return std::nullopt;
        cells = cells << 1 | (bit ? 1 : 0);
    }
    const auto number = static_cast<std::uint32_t>(cells >> 12);
    if (cells != ToCells(number))
        return std::nullopt;
    return number;
}

} // namespace zevo_sim
