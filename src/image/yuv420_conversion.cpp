#include "image/yuv420_conversion.h"

#include "image/frame_kernels.h"

namespace V4lX
{

void ConvertYuv420(const std::uint8_t* source, std::uint8_t* destination, std::size_t width,
                   std::size_t height) noexcept
{
    const auto kernels = AvailableFrameKernels();
    const FrameKernels& fastest = *kernels[kernels.size() - 1];
    const bool isStreamed = fastest.convertYuv420Streamed && width >= kStreamedWidth &&
                            IsStreamingWorthwhile(destination, width * height / 2 * 3);
    const auto convert = isStreamed ? fastest.convertYuv420Streamed : fastest.convertYuv420;
    convert(source, destination, width, height);
}

} // namespace V4lX
