// Picture controls of the camera module.
#include "module/camera_module_ap1302.h"
#include "module/value_name.h"
#include "trace/camera_log.h"

namespace mcm
{

namespace
{

constexpr double kContrastScale = 5.0;
constexpr double kSharpnessScale = 7.99;

constexpr const char* kColorSpaceNames[] = {"Off", "sRGB"};
constexpr std::uint32_t kColorSpaceOff = 0;
constexpr double kGammaOfColorSpace = 0.0; ///< the ISP's own curve

constexpr const char* kAntiFlickerNames[] = {"Off", "Auto", "Manual_50Hz", "Manual_60Hz"};
/// Flick_ctrl_FREQ, 0 to leave it alone, and Flick_ctrl_MODE of each anti-flicker value.
constexpr struct {
    std::uint32_t hertz;
    std::uint32_t mode;
} kAntiFlicker[] = {{0, 0}, {0, 2}, {50, 1}, {60, 1}};

} // namespace

void CameraModuleAP1302::SetBrightness(double amount)
{
    MCM_LOG(kLogDebug, kLogModule) << "SetBrightness(" << amount << ")\n";
    MCM_LOG(kLogDebug, kLogModule) << "SetBrightness: BRIGHTNESS = " << amount << "\n";
    isp_.BRIGHTNESS(amount);
}

void CameraModuleAP1302::SetContrast(double amount)
{
    MCM_LOG(kLogDebug, kLogModule) << "SetContrast(" << amount << ")\n";
    const double value = amount * kContrastScale;
    MCM_LOG(kLogDebug, kLogModule) << "SetContrast: CONTRAST = " << value << "\n";
    isp_.CONTRAST(value);
}

void CameraModuleAP1302::SetSaturation(double factor)
{
    MCM_LOG(kLogDebug, kLogModule) << "SetSaturation(" << factor << ")\n";
    isp_.SATURATION(factor);
}

void CameraModuleAP1302::SetSharpness(double amount)
{
    MCM_LOG(kLogDebug, kLogModule) << "SetSharpness(" << amount << ")\n";
    const double value = amount * kSharpnessScale;
    MCM_LOG(kLogDebug, kLogModule) << "SetSharpness: SHARPEN_VALUE = " << value << "\n";
    isp_.SHARPEN_VALUE(value);
}

void CameraModuleAP1302::SetGamma(double exponent)
{
    MCM_LOG(kLogDebug, kLogModule) << "SetGamma(" << exponent << ")\n";
    gamma_ = exponent;
    SetGammaReg();
}

void CameraModuleAP1302::SetColorSpace(std::uint32_t space)
{
    MCM_LOG(kLogDebug, kLogModule)
        << "SetColorSpace(" << valueName(kColorSpaceNames, space) << ")\n";
    colorSpace_ = space;
    SetGammaReg();
}

void CameraModuleAP1302::SetGammaReg()
{
    if (isTestPatternActive_)
        return;
    if (colorSpace_ != kColorSpaceOff) {
        isp_.GAMMA(kGammaOfColorSpace);
        return;
    }
    if (gamma_ == 0.0) {
        MCM_LOG(kLogError, kLogAlways) << "SetGammaReg: Cannot set gamma factor 0.0\n";
        return;
    }
    isp_.GAMMA(1.0 / gamma_);
}

void CameraModuleAP1302::SetAdaptiveToneMappingAuto(bool on)
{
    MCM_LOG(kLogDebug, kLogModule) << "SetAdaptiveToneMappingAuto(" << on << ")\n";
    isToneMappingAuto_ = on;
    if (!isTestPatternActive_)
        isp_.ATM_CTRL(on ? kAtmAuto : kAtmOff);
}

void CameraModuleAP1302::SetAntiFlicker(std::uint32_t mode)
{
    MCM_LOG(kLogDebug, kLogModule)
        << "SetAntiFlicker(" << valueName(kAntiFlickerNames, mode) << ")\n";
    if (mode >= sizeof kAntiFlicker / sizeof *kAntiFlicker)
        return;
    if (kAntiFlicker[mode].hertz != 0)
        isp_.Flick_ctrl_FREQ(kAntiFlicker[mode].hertz);
    isp_.Flick_ctrl_MODE(kAntiFlicker[mode].mode);
}

} // namespace mcm
