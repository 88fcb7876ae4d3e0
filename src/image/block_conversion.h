// The conversion of 4:2:0 in blocks, for the sources of one instruction set each.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace V4lX
{

// These sources are compiled for different processors. What they share must not be one function
// for the linker, which might keep the one that this processor can't run: all of it is internal,
// and nothing inline of other headers is used.
namespace
{

// Kit is an instruction set: kBlock, pixels at a time; split, which sorts 2 * kBlock bytes into
// odd ones, luma, and even ones, chroma. The last block of a line overlaps the one before.
template <typename Kit>
void splitLine(const std::uint8_t* source, std::uint8_t* luma, std::uint8_t* chroma,
               std::size_t width) noexcept
{
    constexpr std::size_t kBlock = Kit::kBlock;
    if (width < kBlock) {
        for (std::size_t i = 0; i < width; ++i) {
            chroma[i] = source[2 * i];
            luma[i] = source[2 * i + 1];
        }
        return;
    }
    for (std::size_t i = 0; i + kBlock <= width; i += kBlock)
        Kit::split(source + 2 * i, luma + i, chroma + i);
    const std::size_t last = width - kBlock;
    Kit::split(source + 2 * last, luma + last, chroma + last);
}

template <typename Kit>
void convertYuv420(const std::uint8_t* source, std::uint8_t* destination, std::size_t width,
                   std::size_t height) noexcept
{
    std::uint8_t* chroma = destination + width * height;
    for (std::size_t line = 0; line < height; line += 2) {
        std::memcpy(destination, source, width);
        splitLine<Kit>(source + width, destination + width, chroma, width);
        source += 3 * width;
        destination += 2 * width;
        chroma += width;
    }
}

} // namespace

} // namespace V4lX
