#include "module/trigger_feature.h"

#include "trace/camera_log.h"

namespace mcm
{

namespace
{

constexpr std::uint32_t kSwTriggerLine = 10;
constexpr std::uint32_t kModeOff = 0;
constexpr std::uint32_t kSyncModeOff = 1;
constexpr std::uint32_t kStallingThresholdOff = 300;

} // namespace

void TriggerFeature::Initialize()
{
    setSwTriggerGpio(kSwTriggerLine);
}

void TriggerFeature::setSwTriggerGpio(std::uint32_t line)
{
    MCM_LOG(kLogDebug, kLogModule) << "SetSwTriggerGpio(" << line << ")\n";
    isp_.SW_TRIGGER_GPIO(line);
}

void TriggerFeature::DisableTrigger()
{
    isp_.Trigger_ctrl_MODE(kModeOff);
    isp_.Trigger_ctrl_SYNC_MODE(kSyncModeOff);
    isp_.Trigger_ctrl2_BIT_1(true);
    isp_.TRIGGER_STALLING_TH(kStallingThresholdOff);
}

// No trigger can be switched on yet, and one that is off leaves ISP and sensor alone.
void TriggerFeature::AcquisitionStart() {}

void TriggerFeature::AcquisitionStop() {}

std::unique_ptr<ITriggerFeature> makeTriggerFeature(IspSensor& isp)
{
    return std::make_unique<TriggerFeature>(isp);
}

} // namespace mcm
