// White balance of the camera module.
#include <cmath>

#include "module/camera_module_ap1302.h"
#include "module/value_name.h"
#include "trace/camera_log.h"

namespace mcm
{

namespace
{

// Awb_ctrl_MODE.
constexpr std::uint32_t kModeManual = 0;
constexpr std::uint32_t kModeAuto = 15;

constexpr const char* kPresetNames[] = {
    "None",          "Auto",          "Horizon2500K",  "Tungsten2800K", "CoolWhiteFluorescent4250K",
    "Daylight5000K", "Daylight6500K", "Daylight7500K",
};

std::uint32_t modeOfPreset(std::uint32_t preset)
{
    constexpr std::uint32_t kModes[] = {kModeManual, kModeAuto, 1, 2, 3, 4, 5, 6};
    static_assert(sizeof kModes / sizeof *kModes == sizeof kPresetNames / sizeof *kPresetNames);
    return preset < sizeof kModes / sizeof *kModes ? kModes[preset] : kModeManual;
}

} // namespace

void CameraModuleAP1302::SetBalanceWhiteAuto(bool on)
{
    MCM_LOG(kLogDebug, kLogModule) << "SetBalanceWhiteAuto(" << on << ")\n";
    whiteBalanceMode_ = on ? kModeAuto : kModeManual;
    if (!isTestPatternActive_)
        applyWhiteBalance();
}

void CameraModuleAP1302::SetLightSourcePreset(std::uint32_t preset)
{
    MCM_LOG(kLogDebug, kLogModule)
        << "SetLightSourcePreset(" << valueName(kPresetNames, preset) << ")\n";
    whiteBalanceMode_ = modeOfPreset(preset);
    if (!isTestPatternActive_)
        applyWhiteBalance();
}

void CameraModuleAP1302::applyWhiteBalance()
{
    isp_.Awb_ctrl_MODE(whiteBalanceMode_);
    if (whiteBalanceMode_ == kModeManual) {
        setOverrideGains(balanceRed_, balanceGreen_, balanceBlue_);
        return;
    }
    setOverrideGains(0.0, 0.0, 0.0);
}

void CameraModuleAP1302::setOverrideGains(double red, double green, double blue)
{
    isp_.AWB_OVERRIDE_GAIN_0(red);
    isp_.AWB_OVERRIDE_GAIN_1(green);
    isp_.AWB_OVERRIDE_GAIN_2(blue);
}

/// A ratio that the register refuses isn't kept either.
void CameraModuleAP1302::setBalanceRatio(double factor, double& ratio,
                                         void (IspSensor::*setGain)(double))
{
    if (whiteBalanceMode_ == kModeManual && !isTestPatternActive_)
        (isp_.*setGain)(factor);
    ratio = factor;
}

void CameraModuleAP1302::SetBalanceRatioRed(double factor)
{
    MCM_LOG(kLogDebug, kLogModule) << "SetBalanceRatioRed(" << factor << ")\n";
    setBalanceRatio(factor, balanceRed_, &IspSensor::AWB_OVERRIDE_GAIN_0);
}

void CameraModuleAP1302::SetBalanceRatioGreen(double factor)
{
    MCM_LOG(kLogDebug, kLogModule) << "SetBalanceRatioGreen(" << factor << ")\n";
    setBalanceRatio(factor, balanceGreen_, &IspSensor::AWB_OVERRIDE_GAIN_1);
}

void CameraModuleAP1302::SetBalanceRatioBlue(double factor)
{
    MCM_LOG(kLogDebug, kLogModule) << "SetBalanceRatioBlue(" << factor << ")\n";
    setBalanceRatio(factor, balanceBlue_, &IspSensor::AWB_OVERRIDE_GAIN_2);
}

/// While the ISP balances, the ratios are what it makes of its measured chromaticity.
void CameraModuleAP1302::measureWhiteBalance()
{
    if (whiteBalanceMode_ == kModeManual || isTestPatternActive_)
        return;
    const double x = isp_.AWB_MEASURED_QX();
    const double y = isp_.AWB_MEASURED_QY();
    balanceRed_ = 1.0 / std::exp2(-(x + y) / 2);
    balanceGreen_ = 1.0;
    balanceBlue_ = 1.0 / std::exp2((x - y) / 2);
}

double CameraModuleAP1302::GetCurrentBalanceRatioRed()
{
    MCM_LOG(kLogDebug, kLogModule) << "GetCurrentBalanceRatioRed()\n";
    measureWhiteBalance();
    MCM_LOG(kLogDebug, kLogModule)
        << "GetCurrentBalanceRatioRed last AWB measured red=" << balanceRed_ << "\n";
    return balanceRed_;
}

double CameraModuleAP1302::GetCurrentBalanceRatioGreen()
{
    MCM_LOG(kLogDebug, kLogModule) << "GetCurrentBalanceRatioGreen()\n";
    measureWhiteBalance();
    MCM_LOG(kLogDebug, kLogModule)
        << "GetCurrentBalanceRatioGreen last AWB measured green=" << balanceGreen_ << "\n";
    return balanceGreen_;
}

double CameraModuleAP1302::GetCurrentBalanceRatioBlue()
{
    MCM_LOG(kLogDebug, kLogModule) << "GetCurrentBalanceRatioBlue()\n";
    measureWhiteBalance();
    MCM_LOG(kLogDebug, kLogModule)
        << "GetCurrentBalanceRatioBlue last AWB measured blue = " << balanceBlue_ << "\n";
    return balanceBlue_;
}

} // namespace mcm
