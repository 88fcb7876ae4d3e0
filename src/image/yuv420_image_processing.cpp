#include "image/yuv420_image_processing.h"

#include <algorithm>

#include "image/copy_bytes.h"
#include "image/yuv420_conversion.h"

namespace V4lX
{

void Yuv420ImageProcessing::Prepare(const ImageProperties& srcImageProperties,
                                    const ImageProperties& dstImageProperties)
{
    m_width = dstImageProperties.width;
    m_height = dstImageProperties.height;
    m_destinationPayloadSize = dstImageProperties.payloadSize;
    m_sourcePayloadSize = srcImageProperties.payloadSize;
}

bool Yuv420ImageProcessing::Process(const void* source, void* destination, std::size_t size)
{
    if (size == m_sourcePayloadSize && canConvert())
        ConvertYuv420(static_cast<const std::uint8_t*>(source),
                      static_cast<std::uint8_t*>(destination), m_width, m_height);
    else
        CopyBytes(source, destination, std::min(size, m_destinationPayloadSize));
    return true;
}

bool Yuv420ImageProcessing::canConvert() const noexcept
{
    if (m_width % 2 != 0 || m_height % 2 != 0)
        return false;
    // The product fits into 64 bits, half as much again might not.
    const std::uint64_t luma = std::uint64_t{m_width} * m_height;
    const std::uint64_t payload = std::min(m_sourcePayloadSize, m_destinationPayloadSize);
    return luma <= payload && luma / 2 <= payload - luma;
}

} // namespace V4lX
