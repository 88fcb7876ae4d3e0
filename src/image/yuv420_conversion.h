// From the capture node's order of 4:2:0 bytes to planes.
#pragma once

#include <cstddef>
#include <cstdint>

namespace V4lX
{

/// Sorts an image of pairs of lines into a plane of luma and, behind it, one of Cb, Cr pairs.
/// Of each pair the first line comes as width bytes of luma, the second as width / 2 groups
/// Cb Y Cr Y. Width and height are even; source and destination are width * height * 3 / 2
/// bytes each, begin at any address and don't overlap.
void ConvertYuv420(const std::uint8_t* source, std::uint8_t* destination, std::size_t width,
                   std::size_t height) noexcept;

} // namespace V4lX
