// For formats that the capture node delivers as the consumer gets them.
#pragma once

#include "image/iimage_processing.h"

namespace V4lX
{

class CopyProcessing final : public IImageProcessing
{
public:
    /// std::invalid_argument unless both sides have one width and height.
    void Prepare(const ImageProperties& srcImageProperties,
                 const ImageProperties& dstImageProperties) override;
    bool Process(const void* source, void* destination, std::size_t size) override;

private:
    std::size_t m_payloadSize = 0;
};

} // namespace V4lX
