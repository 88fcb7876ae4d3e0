// The frame trigger, carried out by the ISP.
#pragma once

#include <cstdint>
#include <memory>

#include "module/clock.h"
#include "module/isp_sensor.h"
#include "module/itrigger_feature.h"
#include "module/sensor_register_access.h"

namespace mcm
{

/// One trigger (FrameStart, by level) and one periodic signal, which is that trigger's source or
/// without effect. A software trigger drives a general-purpose line of the ISP.
/// ISP and clock stay the caller's and must outlive this object.
class TriggerFeature final : public ITriggerFeature
{
public:
    TriggerFeature(IspSensor& isp, const IClock& clock) noexcept;

    void Initialize() override;
    void DisableTrigger() override;
    void ConfigureTrigger(const TriggerConfiguration& configuration) override;
    void ConfigurePeriodicSignal(const PeriodicSignalConfiguration& configuration) override;
    void AcquisitionStart() override;
    void AcquisitionStop() override;
    void ExecuteSoftwareTrigger(TriggerSelector selector) override;

private:
    enum class Mode : std::uint8_t { LineOrSoftware, PeriodicSignal };

    void apply();
    void EnableTrigger();
    void SetTriggerDelay(double microseconds);
    void SetTriggerActivation(TriggerActivation activation);
    void SetSwTriggerGpio(std::uint32_t line);
    void setSoftwareLine(bool isHigh);
    void setSensorFreeRunning(bool isFreeRunning);

    IspSensor& isp_;
    const IClock& clock_;
    SensorRegisterAccess sensor_;
    bool isEnabled_ = false;
    Mode mode_ = Mode::LineOrSoftware;
    TriggerActivation activation_ = TriggerActivation::RisingEdge;
    double periodicDelay_ = 0.0; ///< microseconds
    TriggerActivation periodicActivation_ = TriggerActivation::RisingEdge;
    bool isFirstSoftwareTrigger_ = true;
};

/// What makes the trigger feature of a camera module.
std::unique_ptr<ITriggerFeature> makeTriggerFeature(IspSensor& isp, const IClock& clock);

} // namespace mcm
