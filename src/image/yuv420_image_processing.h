// For 4:2:0 images, which the capture node delivers in an order of its own.
#pragma once

#include "image/iimage_processing.h"

namespace V4lX
{

/// Converts whole images of even width and height. Anything else, a frame that isn't a whole one
/// or a payload too small for the size, is copied as it comes.
class Yuv420ImageProcessing final : public IImageProcessing
{
public:
    /// Takes everything as it is given.
    void Prepare(const ImageProperties& srcImageProperties,
                 const ImageProperties& dstImageProperties) override;
    bool Process(const void* source, void* destination, std::size_t size) override;

private:
    bool canConvert() const noexcept;

    std::uint32_t m_width = 0;
    std::uint32_t m_height = 0;
    std::size_t m_destinationPayloadSize = 0;
    std::size_t m_sourcePayloadSize = 0;
};

} // namespace V4lX
