// The frame trigger, carried out by the ISP.
#pragma once

#include <cstdint>
#include <memory>

#include "module/isp_sensor.h"
#include "module/itrigger_feature.h"

namespace mcm
{

/// The ISP stays the caller's and must outlive this object.
class TriggerFeature final : public ITriggerFeature
{
public:
    explicit TriggerFeature(IspSensor& isp) : isp_(isp) {}

    void Initialize() override;
    void DisableTrigger() override;
    void AcquisitionStart() override;
    void AcquisitionStop() override;

private:
    void setSwTriggerGpio(std::uint32_t line);

    IspSensor& isp_;
};

/// What makes the trigger feature of a camera module.
std::unique_ptr<ITriggerFeature> makeTriggerFeature(IspSensor& isp);

} // namespace mcm
