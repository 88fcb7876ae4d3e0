// The camera module with an AP1302 between sensor and CSI-2 link.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include "bus/csi_configuration.h"
#include "bus/mcm_device.h"
#include "module/clock.h"
#include "module/icamera_module.h"
#include "module/isp_sensor.h"
#include "module/itrigger_feature.h"

namespace V4lX
{
class AP1302ImageProcessing;
}

namespace mcm
{

/// Turns the operations of a camera module into register writes of the ISP, and keeps the values
/// that have to survive a change of mode. Has no lock; each bus transfer has its own.
///
/// Life: constructed, no register touched; Initialize boots the ISP and stalls its stream;
/// AcquisitionStart and AcquisitionStop let it run and stall it again. The operations of the
/// features work in both states. Their values are kept, since while a test pattern is on most of
/// them may not reach the ISP: they come into force when it goes off.
///
/// Sources by group of operations: camera_module_geometry.cpp (size, region, format), _exposure,
/// _white_balance, _image_controls, _test_pattern.
class CameraModuleAP1302 final : public ICameraModule
{
public:
    using TriggerFeatureFactory =
        std::function<std::unique_ptr<ITriggerFeature>(IspSensor& isp, const IClock& clock)>;

    /// Throws std::runtime_error when the module tells of no ISP. The clock must outlive the
    /// object.
    CameraModuleAP1302(std::shared_ptr<McmDevice> controlDevice, const CsiConfiguration& csi,
                       const TriggerFeatureFactory& makeTrigger,
                       const IClock& clock = steadyClock());
    ~CameraModuleAP1302() override;

    void Initialize() override;
    BusDevice GetBootstrapDevice() override;
    std::string GetFirmwareVersion() override;
    std::shared_ptr<V4lX::IImageProcessing> GetImageProcessing() override;

    bool AcquisitionStart() override;
    void AcquisitionStop() override;
    void DeviceReset() override;
    void RegisterCallback(IModuleEvent* listener) override;
    void UnregisterCallback() override;

    void SetWidth(std::uint32_t pixels) override;
    void SetHeight(std::uint32_t lines) override;
    void SetOffsetX(std::uint32_t sensorPixels) override;
    void SetOffsetY(std::uint32_t sensorLines) override;
    void SetPixelFormat(std::uint32_t pfncValue) override;
    void SetScalingFactor(float sensorPixelsPerPixel) override;

    void SetExposureAuto(bool on) override;
    void SetExposureTime_us(std::uint32_t microseconds) override;
    std::uint32_t GetCurrentExposureTime_us() override;
    void SetGainAuto(bool on) override;
    void SetGainFactor(double factor) override;
    double GetCurrentGainFactor() override;
    void SetAcquisitionFrameRate(double hertz) override;
    void SetAcquisitionFrameRateEnable(bool on) override;

    void SetBalanceWhiteAuto(bool on) override;
    void SetLightSourcePreset(std::uint32_t preset) override;
    void SetBalanceRatioRed(double factor) override;
    void SetBalanceRatioGreen(double factor) override;
    void SetBalanceRatioBlue(double factor) override;
    double GetCurrentBalanceRatioRed() override;
    double GetCurrentBalanceRatioGreen() override;
    double GetCurrentBalanceRatioBlue() override;

    void SetBrightness(double amount) override;
    void SetContrast(double amount) override;
    void SetSaturation(double factor) override;
    void SetSharpness(double amount) override;
    void SetGamma(double exponent) override;
    void SetColorSpace(std::uint32_t space) override;
    void SetAdaptiveToneMappingAuto(bool on) override;
    void SetAntiFlicker(std::uint32_t mode) override;
    void SetTestPattern(std::uint32_t pattern) override;

    void ConfigureTrigger(const TriggerConfiguration& configuration) override;
    void ExecuteSoftwareTrigger(std::uint32_t selector) override;
    void ConfigurePeriodicSignal(const PeriodicSignalConfiguration& configuration) override;

private:
    // ATM_CTRL.
    static constexpr std::uint32_t kAtmAuto = 0x043F; ///< also what the firmware starts with
    static constexpr std::uint32_t kAtmOff = 0;

    /// What a test pattern overrides beside the values that the features keep.
    struct TestPatternSavedRegs {
        std::uint32_t sensor; ///< of SENSOR_SELECT
        std::uint32_t sensorMode;
        std::uint32_t awbControl;
        std::uint32_t awbCalibNcc;
        double awbManualQx;
        double awbManualQy;
    };

    void CheckAdaptiveToneMappingRegister();
    void IspInitialize();
    void logCsiLanes() const;
    void checkSensorSize();

    void SetStreaming(bool on);
    void ToggleStallState();
    void waitForStallToggle();

    template <typename Writes>
    void writeAtomically(Writes writes);
    double lineTimeFor(float scaling);
    void SetRoiX();
    void SetRoiY();

    void SetAeCtrlMode();
    void applyWhiteBalance();
    void setOverrideGains(double red, double green, double blue);
    void setBalanceRatio(double factor, double& ratio, void (IspSensor::*setGain)(double));
    void measureWhiteBalance();
    void SetGammaReg();
    void SaveTestPatternSavedRegs();
    void RestoreTestPatternSavedRegs();
    void neutraliseAutomatics();

    std::shared_ptr<McmDevice> controlDevice_;
    IspSensor isp_;
    std::shared_ptr<V4lX::AP1302ImageProcessing> imageProcessing_;
    std::uint32_t sensorWidth_ = 0;
    std::uint32_t sensorHeight_ = 0;
    std::uint32_t width_ = 0;
    std::uint32_t height_ = 0;
    bool isAcquisitionRunning_ = false;
    bool isExposureAuto_ = true;
    double gainFactor_ = 1.0;
    bool isGainAuto_ = true;
    bool isFrameRateEnabled_ = false;
    double frameRate_ = 255.9; ///< Hz; the initial value stands for no limit
    std::uint32_t offsetX_ = 0;
    std::uint32_t offsetY_ = 0;
    float scalingFactor_ = 1.0F;
    bool isToneMappingAuto_ = true;
    double gamma_ = 0.0;
    std::uint32_t colorSpace_ = 0;
    double balanceRed_ = 1.0;
    double balanceGreen_ = 1.0;
    double balanceBlue_ = 1.0;
    std::uint32_t whiteBalanceMode_ = 15;
    bool isTestPatternActive_ = false; ///< the saved registers are valid
    TestPatternSavedRegs saved_{};
    std::unique_ptr<ITriggerFeature> trigger_;
    CsiConfiguration csi_;
    IModuleEvent* listener_ = nullptr; ///< not owned
    const IClock& clock_;
};

} // namespace mcm
