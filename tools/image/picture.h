// Pictures for people: frames converted to grey or RGB, and PNG files.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace zevo_tool
{

/// A frame as a camera has delivered it; the data isn't owned.
struct RawImage {
    std::uint64_t pixelFormat; ///< by the Pixel Format Naming Convention
    std::size_t width;
    std::size_t height;
    std::size_t linePadding; ///< bytes behind each line
    const std::uint8_t* data;
    std::size_t size; ///< bytes
};

/// Rows without padding, 1 (grey) or 3 (red, green, blue) bytes a pixel.
struct Picture {
    std::size_t width = 0;
    std::size_t height = 0;
    std::size_t channels = 0;
    std::vector<std::uint8_t> pixels;
};

/// By name, as the naming convention spells it.
bool IsConvertible(const std::string& pixelFormat);
/// By the naming convention, or the number for a format that isn't convertible.
std::string PixelFormatName(std::uint64_t pixelFormat);

/// Colours as BT.601, luma from 16 to 235. Failure for a format that isn't convertible, or when
/// the data is shorter than the image.
Picture Convert(const RawImage& image);

/// Failure when the file can't be written whole.
void WritePng(const std::string& path, const Picture& picture);

} // namespace zevo_tool
