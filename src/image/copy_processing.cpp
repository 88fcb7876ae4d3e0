#include "image/copy_processing.h"

#include <algorithm>

#include "image/copy_bytes.h"

namespace V4lX
{

void CopyProcessing::Prepare(const ImageProperties& srcImageProperties,
                             const ImageProperties& dstImageProperties)
{
    if (dstImageProperties.width != srcImageProperties.width)
        throw std::invalid_argument("dstImageProperties.width != srcImageProperties.width");
    if (dstImageProperties.height != srcImageProperties.height)
        throw std::invalid_argument("dstImageProperties.height != srcImageProperties.height");
    m_payloadSize = dstImageProperties.payloadSize;
}

bool CopyProcessing::Process(const void* source, void* destination, std::size_t size)
{
    CopyBytes(source, destination, std::min(size, m_payloadSize));
    return true;
}

} // namespace V4lX
