#include "image/ap1302_image_processing.h"

#include <cinttypes>
#include <cstdio>

#include <linux/videodev2.h>

#include "base/pfnc.h"

namespace V4lX
{

namespace Pfnc = GenTLProducer::Pfnc;

IImageProcessing* AP1302ImageProcessing::select(std::uint32_t fourcc,
                                                std::uint32_t pfncValue) noexcept
{
    if (pfncValue == Pfnc::YUV422_8_UYVY && fourcc == V4L2_PIX_FMT_UYVY)
        return &m_copy;
    if (pfncValue == Pfnc::YUV422_8 && fourcc == V4L2_PIX_FMT_YUYV)
        return &m_copy;
    if (pfncValue == Pfnc::YCbCr420_8_YY_CbCr_Semiplanar && fourcc == V4L2_PIX_FMT_NV12)
        return &m_yuv420;
    return nullptr;
}

void AP1302ImageProcessing::Prepare(const ImageProperties& srcImageProperties,
                                    const ImageProperties& dstImageProperties)
{
    m_selected = select(srcImageProperties.pixelFormat, dstImageProperties.pixelFormat);
    if (!m_selected) {
        char text[96];
        std::snprintf(text, sizeof text,
                      "No operation from V4L2 format 0x%08" PRIx32 " to pixel format 0x%08" PRIx32,
                      srcImageProperties.pixelFormat, dstImageProperties.pixelFormat);
        throw UnsupportedFormats(text);
    }
    m_selected->Prepare(srcImageProperties, dstImageProperties);
}

bool AP1302ImageProcessing::Process(const void* source, void* destination, std::size_t size)
{
    if (m_selected)
        m_selected->Process(source, destination, size);
    return true;
}

} // namespace V4lX
