// Where the bytes of a pixel lie in a frame.
#pragma once

#include <cstddef>
#include <cstdint>

namespace zevo_sim
{

/// The byte orders in which a frame is met: the first three in a capture node's buffers, the last
/// in a consumer's buffers of 4:2:0. Rows are packed.
enum class FrameLayout : std::uint8_t {
    Uyvy,               ///< Cb Y Cr Y per pair of pixels
    Yuyv,               ///< Y Cb Y Cr per pair of pixels
    LineInterleaved420, ///< per pair of lines: the even one's luma, then Cb Y Cr Y of the odd one
    Semiplanar420       ///< all luma, then Cb Cr per two by two pixels
};

/// Bytes of a frame.
constexpr std::size_t FrameSize(FrameLayout layout, unsigned width, unsigned height)
{
    const std::size_t pixels = std::size_t{width} * height;
    const bool is422 = layout == FrameLayout::Uyvy || layout == FrameLayout::Yuyv;
    return is422 ? pixels * 2 : pixels * 3 / 2;
}

/// Offset of a pixel's luma byte.
constexpr std::size_t LumaOffset(FrameLayout layout, unsigned width, unsigned x, unsigned y)
{
    const std::size_t pixel = std::size_t{y} * width + x;
    const std::size_t pairOfLines = std::size_t{y / 2} * width * 3;
    switch (layout) {
    case FrameLayout::Uyvy:
        return pixel * 2 + 1;
    case FrameLayout::Yuyv:
        return pixel * 2;
    case FrameLayout::LineInterleaved420:
        return y % 2 == 0 ? pairOfLines + x : pairOfLines + width + std::size_t{x} * 2 + 1;
    case FrameLayout::Semiplanar420:
        return pixel;
    }
    return 0;
}

/// Offset of the blue-difference byte that a pixel takes part in; the red one lies
/// RedOffset(layout) bytes on.
constexpr std::size_t BlueOffset(FrameLayout layout, unsigned width, unsigned height, unsigned x,
                                 unsigned y)
{
    const std::size_t pair = std::size_t{y} * width + (x & ~1u);
    switch (layout) {
    case FrameLayout::Uyvy:
        return pair * 2;
    case FrameLayout::Yuyv:
        return pair * 2 + 1;
    case FrameLayout::LineInterleaved420:
        return std::size_t{y / 2} * width * 3 + width + std::size_t{x & ~1u} * 2;
    case FrameLayout::Semiplanar420:
        return std::size_t{width} * height + std::size_t{y / 2} * width + (x & ~1u);
    }
    return 0;
}

constexpr std::size_t RedOffset(FrameLayout layout)
{
    return layout == FrameLayout::Semiplanar420 ? 1 : 2;
}

} // namespace zevo_sim
