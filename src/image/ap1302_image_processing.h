// The operations for the formats of the AP1302.
#pragma once

#include "image/copy_processing.h"
#include "image/yuv420_image_processing.h"

namespace V4lX
{

class AP1302ImageProcessing final : public IImageProcessing
{
public:
    AP1302ImageProcessing() = default;
    AP1302ImageProcessing(const AP1302ImageProcessing&) = delete;
    AP1302ImageProcessing& operator=(const AP1302ImageProcessing&) = delete;

    void Prepare(const ImageProperties& srcImageProperties,
                 const ImageProperties& dstImageProperties) override;
    /// Leaves the destination as it is unless the last Prepare found an operation.
    bool Process(const void* source, void* destination, std::size_t size) override;

private:
    IImageProcessing* select(std::uint32_t fourcc, std::uint32_t pfncValue) noexcept;

    CopyProcessing m_copy;
    Yuv420ImageProcessing m_yuv420;
    IImageProcessing* m_selected = nullptr;
};

} // namespace V4lX
