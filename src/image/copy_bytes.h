// The plain copy of frames.
#pragma once

#include <cstddef>

namespace V4lX
{

/// Copies from one memory to another that doesn't overlap it; both may be null if size is 0.
void CopyBytes(const void* source, void* destination, std::size_t size) noexcept;

} // namespace V4lX
