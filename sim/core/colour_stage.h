// The image controls of the ISP, a row at a time.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "sim/core/canvas.h"
#include "sim/core/picture_look.h"

namespace zevo_sim
{

/// One pixel as Y, Cb, Cr: BT.601, luma 16 to 235.
struct Yuv {
    std::uint8_t y;
    std::uint8_t cb;
    std::uint8_t cr;
};
Yuv ToYuv(Colour colour);

/// Colours of rows by a look: gain in linear light, tone mapping, gamma or sRGB curve, contrast and
/// brightness, by a table for each channel, then the saturation. A plain look costs nothing.
class ColourStage final
{
public:
    explicit ColourStage(const PictureLook& look);

    void Row(const std::uint8_t* rgb, std::size_t pixels, Yuv* target) const;

    /// Rows need their neighbours for the sharpness.
    bool IsSharpening() const { return amount256_ != 0; }
    /// A row with its luma raised by what it differs from its surroundings.
    void Sharpen(const Yuv* above, const Yuv* row, const Yuv* below, std::size_t pixels,
                 Yuv* target) const;

private:
    bool isPlain_;
    std::array<std::array<std::uint8_t, 256>, 3> tables_{};
    std::array<std::uint8_t, 256> chroma_{};
    int amount256_;
};

} // namespace zevo_sim
