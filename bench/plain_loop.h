#pragma once

#include <cstddef>
#include <cstdint>

namespace zevo_bench
{

/// The conversion of 4:2:0 as one would first write it, byte for byte, compiled with -O2 whatever
/// the build's type: what faster loops are compared with. Width and height are even, in pixels.
void ConvertByPlainLoop(const std::uint8_t* source, std::uint8_t* destination, std::size_t width,
                        std::size_t height) noexcept;

} // namespace zevo_bench
