// The plain copy of frames.
#pragma once

#include <cstddef>
#include <cstring>

namespace V4lX
{

/// Copies from one memory to another that doesn't overlap it; both may be null if size is 0.
inline void CopyBytes(const void* source, void* destination, std::size_t size) noexcept
{
    if (size != 0)
        std::memcpy(destination, source, size);
}

} // namespace V4lX
