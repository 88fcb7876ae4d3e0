#include <cstring>

#include "image/frame_kernels.h"

namespace V4lX
{

namespace
{

constexpr std::size_t kPrefetchDistance = 128;

// The address may lie behind the image, where a pointer must not point.
void prefetchAhead(const std::uint8_t* source) noexcept
{
    const auto address = reinterpret_cast<std::uintptr_t>(source) + kPrefetchDistance;
    // NOLINTNEXTLINE(performance-no-int-to-ptr)
    __builtin_prefetch(reinterpret_cast<const void*>(address), 0, 3);
}

void splitLine(const std::uint8_t* source, std::uint8_t* luma, std::uint8_t* chroma,
               std::size_t groups) noexcept
{
    for (; groups > 0; --groups) {
        prefetchAhead(source);
        luma[0] = source[1];
        luma[1] = source[3];
        chroma[0] = source[0];
        chroma[1] = source[2];
        source += 4;
        luma += 2;
        chroma += 2;
    }
}

void convertYuv420(const std::uint8_t* source, std::uint8_t* destination, std::size_t width,
                   std::size_t height) noexcept
{
    std::uint8_t* chroma = destination + width * height;
    for (std::size_t line = 0; line < height; line += 2) {
        std::memcpy(destination, source, width);
        splitLine(source + width, destination + width, chroma, width / 2);
        source += 3 * width;
        destination += 2 * width;
        chroma += width;
    }
}

} // namespace

const FrameKernels kPortableKernels = {"portable", convertYuv420, nullptr, nullptr};

} // namespace V4lX
