// How the capture node calls the camera's pixel formats.
#pragma once

#include <cstdint>
#include <optional>

namespace V4lX
{

/// V4L2 fourcc of a PFNC value, nothing for one that no capture node delivers.
std::optional<std::uint32_t> FindFourcc(std::uint32_t pfncValue) noexcept;

} // namespace V4lX
