// Exposure, gain and frame rate of the camera module.
#include "module/camera_module_ap1302.h"
#include "trace/camera_log.h"

namespace mcm
{

namespace
{

constexpr double kNoFrameRateLimit = 255.9;

/// Ae_ctrl_MODE by the two switches of the features, exposure first.
constexpr std::uint32_t kAeModes[2][2] = {
    // gain off, on
    {0, 9},
    {10, 12},
};

} // namespace

void CameraModuleAP1302::SetAeCtrlMode()
{
    const std::uint32_t mode = kAeModes[isExposureAuto_][isGainAuto_];
    MCM_LOG(kLogDebug, kLogModule)
        << " SetAeCtrlMode ExposureAuto=" << isExposureAuto_ << " GainAuto=" << isGainAuto_
        << " => mode=0x" << std::hex << mode << "\n";
    isp_.Ae_ctrl_MODE(mode);
}

void CameraModuleAP1302::SetExposureAuto(bool on)
{
    MCM_LOG(kLogDebug, kLogModule) << "SetExposureAuto(" << on << ")\n";
    isExposureAuto_ = on;
    if (!isTestPatternActive_)
        SetAeCtrlMode();
}

void CameraModuleAP1302::SetGainAuto(bool on)
{
    MCM_LOG(kLogDebug, kLogModule) << "SetGainAuto(" << on << ")\n";
    isGainAuto_ = on;
    if (!isTestPatternActive_)
        SetAeCtrlMode();
}

void CameraModuleAP1302::SetExposureTime_us(std::uint32_t microseconds)
{
    MCM_LOG(kLogDebug, kLogModule) << "SetExposureTime_us(" << microseconds << ")\n";
    isp_.AE_MANUAL_EXP_TIME(microseconds);
}

std::uint32_t CameraModuleAP1302::GetCurrentExposureTime_us()
{
    MCM_LOG(kLogDebug, kLogModule) << "GetCurrentExposureTime_us()\n";
    const std::uint32_t microseconds = isp_.AE_EXP_TIME();
    MCM_LOG(kLogDebug, kLogModule)
        << "GetCurrentExposureTime_us: AE_EXP_TIME = " << microseconds << "\n";
    return microseconds;
}

void CameraModuleAP1302::SetGainFactor(double factor)
{
    MCM_LOG(kLogDebug, kLogModule) << "SetGainFactor(" << factor << ")\n";
    gainFactor_ = factor;
    if (!isTestPatternActive_)
        isp_.AE_MANUAL_GAIN(factor);
}

double CameraModuleAP1302::GetCurrentGainFactor()
{
    MCM_LOG(kLogDebug, kLogModule) << "GetCurrentGainFactor()\n";
    const double factor = isp_.AE_GAIN();
    MCM_LOG(kLogDebug, kLogModule) << "GetCurrentGainFactor: AE_GAIN = " << factor << "\n";
    return factor;
}

void CameraModuleAP1302::SetAcquisitionFrameRate(double hertz)
{
    MCM_LOG(kLogDebug, kLogModule) << "SetAcquisitionFrameRate(" << hertz << ")\n";
    frameRate_ = hertz;
    if (isFrameRateEnabled_)
        isp_.PREVIEW_MAX_FPS(hertz);
}

void CameraModuleAP1302::SetAcquisitionFrameRateEnable(bool on)
{
    MCM_LOG(kLogDebug, kLogModule) << "SetAcquisitionFrameRateEnable(" << on << ")\n";
    isFrameRateEnabled_ = on;
    isp_.PREVIEW_MAX_FPS(on ? frameRate_ : kNoFrameRateLimit);
}

} // namespace mcm
