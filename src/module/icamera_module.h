// What the rest of the producer knows of a camera module.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "bus/bus_device.h"
#include "module/trigger_configuration.h"

namespace V4lX
{
class IImageProcessing;
}

namespace mcm
{

/// A camera module as a flat list of operations, in the units of the GenICam features above.
/// Every operation has a default that does nothing; a Get of a gain or ratio gives 1.0 then, any
/// other 0. One thread at a time. A failing bus transfer or a value that a register can't hold
/// throws (std::runtime_error, std::range_error); the object stays usable.
class ICameraModule
{
public:
    /// Listener for what happens to the module itself.
    class IModuleEvent
    {
    public:
        /// The module was reset. Called on the thread that wrote the reset.
        virtual void OnDeviceLost() = 0;
        virtual ~IModuleEvent() = default;
    };

    virtual ~ICameraModule() = default;

    /// Boots the ISP and brings it to idle. Called once, behind construction.
    virtual void Initialize() {}
    virtual BusDevice GetBootstrapDevice() = 0;
    virtual std::string GetFirmwareVersion() { return {}; }

    virtual void SetWidth(std::uint32_t /*pixels*/) {}
    virtual void SetHeight(std::uint32_t /*lines*/) {}
    virtual void SetOffsetX(std::uint32_t /*sensorPixels*/) {}
    virtual void SetOffsetY(std::uint32_t /*sensorLines*/) {}
    virtual void SetPixelFormat(std::uint32_t /*pfncValue*/) {}
    virtual void SetExposureAuto(bool /*on*/) {}
    virtual void SetExposureTime_us(std::uint32_t /*microseconds*/) {}
    virtual std::uint32_t GetCurrentExposureTime_us() { return 0; }
    virtual void SetGainAuto(bool /*on*/) {}
    virtual void SetGainFactor(double /*factor*/) {}
    virtual double GetCurrentGainFactor() { return 1.0; }
    virtual void SetSharpness(double /*amount*/) {}
    /// The operation between kernel and user buffers; empty for a plain copy.
    virtual std::shared_ptr<V4lX::IImageProcessing> GetImageProcessing() { return nullptr; }
    virtual void SetTestPattern(std::uint32_t /*pattern*/) {}
    virtual void SetAcquisitionFrameRate(double /*hertz*/) {}
    virtual void SetAcquisitionFrameRateEnable(bool /*on*/) {}
    virtual void SetScalingFactor(float /*sensorPixelsPerPixel*/) {}
    virtual void SetAntiFlicker(std::uint32_t /*mode*/) {}
    virtual void SetBrightness(double /*amount*/) {}
    virtual void SetContrast(double /*amount*/) {}
    virtual void SetGamma(double /*exponent*/) {}
    virtual void SetColorSpace(std::uint32_t /*space*/) {}
    virtual void SetBalanceWhiteAuto(bool /*on*/) {}
    virtual void SetBalanceRatioRed(double /*factor*/) {}
    virtual void SetBalanceRatioGreen(double /*factor*/) {}
    virtual void SetBalanceRatioBlue(double /*factor*/) {}
    virtual double GetCurrentBalanceRatioRed() { return 1.0; }
    virtual double GetCurrentBalanceRatioGreen() { return 1.0; }
    virtual double GetCurrentBalanceRatioBlue() { return 1.0; }
    virtual void SetAdaptiveToneMappingAuto(bool /*on*/) {}
    virtual void SetSaturation(double /*factor*/) {}
    virtual void ConfigureTrigger(const TriggerConfiguration& /*configuration*/) {}
    virtual void ExecuteSoftwareTrigger(std::uint32_t /*selector*/) {}
    virtual void ConfigurePeriodicSignal(const PeriodicSignalConfiguration& /*configuration*/) {}
    virtual void SetLightSourcePreset(std::uint32_t /*preset*/) {}

    /// Lets the ISP's stream run.
    virtual bool AcquisitionStart() { return false; }
    /// Stalls the ISP's stream.
    virtual void AcquisitionStop() {}
    /// Resets the module, then tells the listener.
    virtual void DeviceReset() {}
    /// The listener stays the caller's; a second one replaces the first.
    virtual void RegisterCallback(IModuleEvent* /*listener*/) {}
    virtual void UnregisterCallback() {}
};

} // namespace mcm
