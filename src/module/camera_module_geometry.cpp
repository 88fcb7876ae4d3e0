// Size, region and pixel format of the camera module.
#include <cmath>

#include "base/pfnc.h"
#include "module/camera_module_ap1302.h"
#include "trace/camera_log.h"

namespace mcm
{

namespace
{

using namespace std::chrono_literals;
namespace Pfnc = GenTLProducer::Pfnc;

constexpr auto kAtomicTimeout = 10100ms;
constexpr auto kAtomicPause = 10ms;

/// Codes of ATOMIC.
constexpr std::uint32_t kOpenRecord = 1;
constexpr std::uint32_t kCommitRunning = 3;
constexpr std::uint32_t kCommitStopped = 7;

struct PixelFormat {
    std::uint32_t pfncValue;
    std::uint32_t outputFormat;
};
constexpr PixelFormat kPixelFormats[] = {
    // PFNC value                          PREVIEW_OUT_FMT
    {Pfnc::Mono8, 0x8A},
    {Pfnc::BayerGR8, 0x8A},
    {Pfnc::Mono10, 0x9A},
    {Pfnc::BayerGR10, 0x9A},
    {Pfnc::YUV422_8_UYVY, 0x50},
    {Pfnc::YUV422_8, 0x50},
    {Pfnc::YCbCr420_8_YY_CbCr_Semiplanar, 0x51},
};

// Where the line time must be told to the ISP, and how it follows from the width.
constexpr std::uint32_t kFirstWithoutLineTime = 426; ///< of REGISTER_004E
constexpr float kLineTimeScaling = 0.5F;
constexpr std::uint32_t kLineTimeLanes = 2;
constexpr double kLineTimeLaneRate = 1200.0; ///< of REGISTER_0068
constexpr double kLineTimePerPixel = 0.006668875;
constexpr double kLineTimeBase = 0.4984;

struct Range {
    float begin;
    float end;
};

/// A region in parts of the sensor's width or height, in single precision like the ISP's own.
Range relativeRange(std::uint32_t size, std::uint32_t offset, float scaling, std::uint32_t sensor)
{
    const auto whole = static_cast<float>(sensor);
    const auto begin = static_cast<float>(offset);
    return {begin / whole, std::fma(static_cast<float>(size), scaling, begin) / whole};
}

} // namespace

/// The registers that the callable writes come into force together, between two frames. If it
/// throws, nothing commits the record.
template <typename Writes>
void CameraModuleAP1302::writeAtomically(Writes writes)
{
    if (!waitUntil(clock_, kAtomicTimeout, kAtomicPause,
                   [this] { return !isp_.Atomic_PENDING(); })) {
        MCM_LOG(kLogWarning, kLogAlways)
            << "ISP is still waiting until all recorded data is written.\n";
    }
    isp_.ATOMIC(kOpenRecord);
    writes();
    isp_.ATOMIC(isAcquisitionRunning_ ? kCommitRunning : kCommitStopped);
}

void CameraModuleAP1302::SetWidth(std::uint32_t pixels)
{
    MCM_LOG(kLogDebug, kLogModule) << "SetWidth(" << pixels << ")\n";
    width_ = pixels;
    isp_.PREVIEW_WIDTH(pixels);
}

void CameraModuleAP1302::SetHeight(std::uint32_t lines)
{
    MCM_LOG(kLogDebug, kLogModule) << "SetHeight(" << lines << ")\n";
    height_ = lines;
    isp_.PREVIEW_HEIGHT(lines);
}

void CameraModuleAP1302::SetOffsetX(std::uint32_t sensorPixels)
{
    MCM_LOG(kLogDebug, kLogModule) << "SetOffsetX(" << sensorPixels << ")\n";
    offsetX_ = sensorPixels;
    writeAtomically([this] { SetRoiX(); });
}

void CameraModuleAP1302::SetOffsetY(std::uint32_t sensorLines)
{
    MCM_LOG(kLogDebug, kLogModule) << "SetOffsetY(" << sensorLines << ")\n";
    offsetY_ = sensorLines;
    writeAtomically([this] { SetRoiY(); });
}

void CameraModuleAP1302::SetScalingFactor(float sensorPixelsPerPixel)
{
    MCM_LOG(kLogDebug, kLogModule) << "SetScalingFactor(" << sensorPixelsPerPixel << ")\n";
    scalingFactor_ = sensorPixelsPerPixel;
    writeAtomically([this] {
        isp_.PREVIEW_LINE_TIME(lineTimeFor(scalingFactor_));
        SetRoiX();
        SetRoiY();
    });
}

double CameraModuleAP1302::lineTimeFor(float scaling)
{
    const bool isNeeded = isp_.REGISTER_004E() < kFirstWithoutLineTime &&
                          scaling == kLineTimeScaling && csi_.laneCount == kLineTimeLanes &&
                          isp_.REGISTER_0068() == kLineTimeLaneRate;
    return isNeeded ? (width_ * kLineTimePerPixel + kLineTimeBase) / scaling : 0.0;
}

void CameraModuleAP1302::SetRoiX()
{
    const Range range = relativeRange(width_, offsetX_, scalingFactor_, sensorWidth_);
    isp_.PREVIEW_ROI_X0(range.begin);
    isp_.PREVIEW_ROI_X1(range.end);
}

void CameraModuleAP1302::SetRoiY()
{
    const Range range = relativeRange(height_, offsetY_, scalingFactor_, sensorHeight_);
    isp_.PREVIEW_ROI_Y0(range.begin);
    isp_.PREVIEW_ROI_Y1(range.end);
}

void CameraModuleAP1302::SetPixelFormat(std::uint32_t pfncValue)
{
    MCM_LOG(kLogDebug, kLogModule) << "SetPixelFormat(0x" << std::hex << pfncValue << ")\n";
    for (const PixelFormat& format : kPixelFormats) {
        if (format.pfncValue == pfncValue) {
            isp_.PREVIEW_OUT_FMT(format.outputFormat);
            return;
        }
    }
    MCM_LOG(kLogError, kLogAlways) << "SetPixelFormat Ignore unsupported PFNC pixel format 0x"
                                   << std::hex << pfncValue << "\n";
}

} // namespace mcm
