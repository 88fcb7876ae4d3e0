#include "image/copy_bytes.h"

#include <cstring>

#include "image/frame_kernels.h"

namespace V4lX
{

void CopyBytes(const void* source, void* destination, std::size_t size) noexcept
{
    if (size == 0)
        return;
    const auto kernels = AvailableFrameKernels();
    const FrameKernels& fastest = *kernels[kernels.size() - 1];
    if (fastest.copyStreamed && IsStreamingWorthwhile(destination, size))
        fastest.copyStreamed(static_cast<const std::uint8_t*>(source),
                             static_cast<std::uint8_t*>(destination), size);
    else
        std::memcpy(destination, source, size);
}

} // namespace V4lX
