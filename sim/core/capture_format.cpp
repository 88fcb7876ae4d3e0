#include "sim/core/capture_format.h"

#include <linux/videodev2.h>

#include <algorithm>
#include <cstring>

#include "sim/core/renderer.h"

namespace zevo_sim
{

CaptureFormat CaptureFormat::Nearest(const v4l2_format& wanted, const FormatLimits& limits)
{
    const bool isMulti = wanted.type == V4L2_BUF_TYPE_VIDEO_CAPTURE_MPLANE;
    const auto& single = wanted.fmt.pix;
    const auto& multi = wanted.fmt.pix_mp;
    const std::uint32_t width = isMulti ? multi.width : single.width;
    const std::uint32_t height = isMulti ? multi.height : single.height;
    const std::uint32_t fourcc = isMulti ? multi.pixelformat : single.pixelformat;
    CaptureFormat nearest{limits.formats.data(), 0, 0};
    for (const NodeFormat& candidate : limits.formats)
        if (candidate.fourcc == fourcc)
            nearest.pixels = &candidate;
    nearest.width = std::clamp(width, kMinSize, limits.maxWidth);
    nearest.width = std::max(nearest.width - nearest.width % limits.widthStep, limits.widthStep);
    nearest.height = std::clamp(height, kMinSize, limits.maxHeight) & ~1u;
    return nearest;
}

unsigned CaptureFormat::BytesPerLine() const
{
    const unsigned bytes = pixels->layout == FrameLayout::LineInterleaved420 ? width : width * 2;
    return (bytes + pixels->lineAlignment - 1) / pixels->lineAlignment * pixels->lineAlignment;
}

std::size_t CaptureFormat::Size() const
{
    if (pixels->layout == FrameLayout::LineInterleaved420)
        return FrameSize(pixels->layout, width, height);
    return std::size_t{BytesPerLine()} * height;
}

void CaptureFormat::Describe(v4l2_format& target) const
{
    const auto size = static_cast<std::uint32_t>(Size());
    if (target.type == V4L2_BUF_TYPE_VIDEO_CAPTURE_MPLANE) {
        v4l2_pix_format_mplane& pix = target.fmt.pix_mp;
        std::memset(&pix, 0, sizeof(pix));
        pix.width = width;
        pix.height = height;
        pix.pixelformat = pixels->fourcc;
        pix.field = V4L2_FIELD_NONE;
        pix.colorspace = V4L2_COLORSPACE_SMPTE170M;
        pix.num_planes = 1;
        pix.plane_fmt[0].bytesperline = BytesPerLine();
        pix.plane_fmt[0].sizeimage = size;
        pix.ycbcr_enc = V4L2_YCBCR_ENC_601;
        pix.quantization = V4L2_QUANTIZATION_LIM_RANGE;
        return;
    }
    v4l2_pix_format& pix = target.fmt.pix;
    pix = {};
    pix.width = width;
    pix.height = height;
    pix.pixelformat = pixels->fourcc;
    pix.field = V4L2_FIELD_NONE;
    pix.bytesperline = BytesPerLine();
    pix.sizeimage = size;
    pix.colorspace = V4L2_COLORSPACE_SMPTE170M;
    pix.priv = V4L2_PIX_FMT_PRIV_MAGIC;
    pix.ycbcr_enc = V4L2_YCBCR_ENC_601;
    pix.quantization = V4L2_QUANTIZATION_LIM_RANGE;
}

bool CaptureFormat::Receives(const PictureSetup& setup) const
{
    const bool isYuyv = pixels->layout == FrameLayout::Yuyv;
    const auto sent =
        SentLayout(setup.outputFormat, isYuyv ? FrameLayout::Yuyv : FrameLayout::Uyvy);
    return sent == pixels->layout && IsRenderable(setup);
}

} // namespace zevo_sim
