// Test patterns of the camera module.
#include "module/camera_module_ap1302.h"
#include "trace/camera_log.h"

namespace mcm
{

namespace
{

constexpr std::uint32_t kPatternOff = 0;
constexpr std::uint32_t kSensorOfPatterns = 0; ///< of SENSOR_SELECT
constexpr std::uint32_t kSensorModeOfPatterns = 0;

enum class Colors : std::uint8_t { Untouched, Black, White };

/// The patterns from 1 on.
struct TestPattern {
    std::uint32_t mode; ///< Sensor_select_TP_MODE
    Colors colors;
};
constexpr TestPattern kTestPatterns[] = {
    {1, Colors::Black},      {1, Colors::White},     {3, Colors::Untouched}, {4, Colors::Untouched},
    {10, Colors::Untouched}, {2, Colors::Untouched}, {5, Colors::Untouched}, {6, Colors::Untouched},
    {7, Colors::Untouched},  {8, Colors::Untouched},
};
constexpr std::size_t kTestPatternCount = sizeof kTestPatterns / sizeof *kTestPatterns;

// What leaves a pattern's levels as they are.
constexpr std::uint32_t kAeOff = 0;
constexpr double kNeutralGain = 1.0;
constexpr std::uint32_t kAwbOff = 0;
constexpr std::uint32_t kNoCalibration = 0;
constexpr double kNeutralQy = 5.0;
constexpr double kNeutralQx = 0.0;
constexpr double kNeutralGamma = 1.0;
constexpr double kNoOverrideGain = 0.0;

} // namespace

void CameraModuleAP1302::SetTestPattern(std::uint32_t pattern)
{
    MCM_LOG(kLogDebug, kLogModule) << "SetTestPattern(" << pattern << ")\n";
    if (pattern == kPatternOff) {
        RestoreTestPatternSavedRegs();
        return;
    }
    if (pattern > kTestPatternCount) {
        MCM_LOG(kLogError, kLogAlways)
            << "SetTestPattern: invalid test pattern selected: " << pattern << "\n";
        return;
    }
    SaveTestPatternSavedRegs();
    neutraliseAutomatics();
    const TestPattern& chosen = kTestPatterns[pattern - 1];
    isp_.Sensor_select_TP_MODE(chosen.mode);
    if (chosen.colors != Colors::Untouched) {
        const std::uint32_t level = chosen.colors == Colors::White ? 0xFFFF : 0;
        isp_.TP_R_COLOR(level);
        isp_.TP_GR_COLOR(level);
        isp_.TP_GB_COLOR(level);
        isp_.TP_B_COLOR(level);
    }
    isp_.Sensor_select_SENSOR(kSensorOfPatterns);
    isp_.PREVIEW_SENSOR_MODE(kSensorModeOfPatterns);
}

void CameraModuleAP1302::neutraliseAutomatics()
{
    isp_.Ae_ctrl_MODE(kAeOff);
    isp_.AE_MANUAL_GAIN(kNeutralGain);
    isp_.AWB_CTRL(kAwbOff);
    isp_.AWB_CALIB_NCC(kNoCalibration);
    isp_.AWB_MANUAL_QY(kNeutralQy);
    isp_.AWB_MANUAL_QX(kNeutralQx);
    isp_.GAMMA(kNeutralGamma);
    setOverrideGains(kNoOverrideGain, kNoOverrideGain, kNoOverrideGain);
    isp_.ATM_CTRL(kAtmOff);
}

/// From one pattern to another, what was saved before the first one stays.
void CameraModuleAP1302::SaveTestPatternSavedRegs()
{
    MCM_LOG(kLogDebug, kLogModule)
        << "SaveTestPatternSavedRegs() valid=" << isTestPatternActive_ << "\n";
    if (isTestPatternActive_)
        return;
    saved_.sensor = isp_.Sensor_select_SENSOR();
    saved_.sensorMode = isp_.PREVIEW_SENSOR_MODE();
    saved_.awbControl = isp_.AWB_CTRL();
    saved_.awbCalibNcc = isp_.AWB_CALIB_NCC();
    saved_.awbManualQx = isp_.AWB_MANUAL_QX();
    saved_.awbManualQy = isp_.AWB_MANUAL_QY();
    isTestPatternActive_ = true;
}

void CameraModuleAP1302::RestoreTestPatternSavedRegs()
{
    MCM_LOG(kLogDebug, kLogModule)
        << "RestoreTestPatternSavedRegs() valid=" << isTestPatternActive_ << "\n";
    if (!isTestPatternActive_)
        return;
    isp_.Sensor_select_SENSOR(saved_.sensor);
    isp_.PREVIEW_SENSOR_MODE(saved_.sensorMode);
    isp_.AWB_CTRL(saved_.awbControl);
    isp_.AWB_CALIB_NCC(saved_.awbCalibNcc);
    isp_.AWB_MANUAL_QX(saved_.awbManualQx);
    isp_.AWB_MANUAL_QY(saved_.awbManualQy);
    isTestPatternActive_ = false;
    // From here on the stored values of the features reach the ISP again.
    SetGammaReg();
    SetAeCtrlMode();
    isp_.AE_MANUAL_GAIN(gainFactor_);
    applyWhiteBalance();
    SetAdaptiveToneMappingAuto(isToneMappingAuto_);
}

} // namespace mcm
