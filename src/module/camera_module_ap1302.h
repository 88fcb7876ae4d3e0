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
/// features work in both states. camera_module_geometry.cpp holds size, region and format.
class CameraModuleAP1302 final : public ICameraModule
{
public:
    using TriggerFeatureFactory = std::function<std::unique_ptr<ITriggerFeature>(IspSensor& isp)>;

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

private:
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

    std::shared_ptr<McmDevice> controlDevice_;
    IspSensor isp_;
    std::shared_ptr<V4lX::AP1302ImageProcessing> imageProcessing_;
    std::uint32_t sensorWidth_ = 0;
    std::uint32_t sensorHeight_ = 0;
    std::uint32_t width_ = 0;
    std::uint32_t height_ = 0;
    bool isAcquisitionRunning_ = false;
    std::uint32_t offsetX_ = 0;
    std::uint32_t offsetY_ = 0;
    float scalingFactor_ = 1.0F;
    std::unique_ptr<ITriggerFeature> trigger_;
    CsiConfiguration csi_;
    IModuleEvent* listener_ = nullptr; ///< not owned
    const IClock& clock_;
};

} // namespace mcm
