// A picture of 8-bit RGB pixels with the few drawing operations that the scene needs.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

namespace zevo_sim
{

struct Colour {
    std::uint8_t red;
    std::uint8_t green;
    std::uint8_t blue;

    bool operator==(const Colour& other) const
    {
        return red == other.red && green == other.green && blue == other.blue;
    }
};

constexpr Colour kBlack{0, 0, 0};
constexpr Colour kWhite{255, 255, 255};

/// Pixels outside are ignored by every operation.
class Canvas final
{
public:
    Canvas(int width, int height);

    int Width() const { return width_; }
    int Height() const { return height_; }
    /// Packed rows of red, green, blue.
    std::vector<std::uint8_t>& Pixels() { return pixels_; }

    void Set(int x, int y, Colour colour);
    void Fill(int x, int y, int width, int height, Colour colour);
    /// Sets every pixel of a rectangle to what the function gives for its coordinates.
    template <typename Function>
    void Shade(int x, int y, int width, int height, Function function)
    {
        for (int row = y; row < y + height; ++row)
            for (int column = x; column < x + width; ++column)
                Set(column, row, function(column, row));
    }
    /// Capitals, digits and some signs in a 5 by 7 font, each pixel a square of `scale`.
    void Text(int x, int y, int scale, std::string_view text, Colour colour);

private:
    int width_;
    int height_;
    std::vector<std::uint8_t> pixels_;
};

constexpr int kGlyphWidth = 5;
constexpr int kGlyphHeight = 7;
constexpr int kGlyphAdvance = 6;

/// Seven rows from the top, the leftmost pixel in bit 4. Blank for a sign that the font lacks.
const std::uint8_t* Glyph(char sign);

} // namespace zevo_sim
