#include "module/trigger_feature.h"

#include <stdexcept>

#include "trace/camera_log.h"

namespace mcm
{

namespace
{

using namespace std::chrono_literals;

constexpr std::uint32_t kSwTriggerLine = 10;
constexpr auto kSwTriggerPulse = 2ms;

constexpr std::uint32_t kModeOff = 0;
constexpr std::uint32_t kModePeriodicSignal = 2;
constexpr std::uint32_t kModeLineOrSoftware = 3;
constexpr std::uint32_t kSyncModeOff = 1;
constexpr std::uint32_t kSyncModeOn = 0;
constexpr std::uint32_t kStallingThresholdOff = 300;
constexpr std::uint32_t kStallingThresholdOn = 0;
constexpr std::uint32_t kTriggerGpioSelection = 8;

/// The word of the ISP's GPIO outputs stands at the begin of the window that this base opens.
constexpr std::uint32_t kGpioOutputBase = 0x002A0000;
constexpr std::uint16_t kAdvancedWindow = 0xE000;

constexpr std::uint16_t kSensorControl = 0x301A;
constexpr std::uint16_t kSensorFreeRunning = 1U << 2;

bool isSource(TriggerSourceType type)
{
    switch (type) {
    case TriggerSourceType::DigitalIoLine:
    case TriggerSourceType::Software:
    case TriggerSourceType::PeriodicSignal:
        return true;
    }
    return false; // a number of the caller's that names no type
}

std::string sourceText(TriggerSourceType type, std::uint32_t index)
{
    return toText(type) + ", " + std::to_string(index);
}

void logIgnored(const char* operation, const char* what, const std::string& value)
{
    MCM_LOG(kLogError, kLogAlways) << operation << ": ignore " << what << value << "\n";
}

} // namespace

TriggerFeature::TriggerFeature(IspSensor& isp, const IClock& clock) noexcept
    : isp_(isp), clock_(clock), sensor_(isp, clock)
{
}

void TriggerFeature::Initialize()
{
    SetSwTriggerGpio(kSwTriggerLine);
}

void TriggerFeature::SetSwTriggerGpio(std::uint32_t line)
{
    MCM_LOG(kLogDebug, kLogModule) << "SetSwTriggerGpio(" << line << ")\n";
    isp_.SW_TRIGGER_GPIO(line);
}

void TriggerFeature::ConfigureTrigger(const TriggerConfiguration& configuration)
{
    MCM_LOG(kLogDebug, kLogModule)
        << "ConfigureTrigger(selector=" << toText(configuration.selector)
        << ", enabled=" << configuration.enabled << ", source=(" << toText(configuration.sourceType)
        << ", " << configuration.sourceIndex << "), activation=" << toText(configuration.activation)
        << ", delay=" << configuration.delay << ")\n";
    const bool isLevel = configuration.activation == TriggerActivation::LevelHigh ||
                         configuration.activation == TriggerActivation::LevelLow;
    if (!isLevel) {
        logIgnored("ConfigureTrigger", "unsupported trigger activation ",
                   toText(configuration.activation));
        return;
    }
    if (configuration.selector != TriggerSelector::FrameStart) {
        logIgnored("ConfigureTrigger", "unsupported trigger selector ",
                   toText(configuration.selector));
        return;
    }
    if (!isSource(configuration.sourceType) || configuration.sourceIndex != 0) {
        logIgnored("ConfigureTrigger", "unsupported trigger source: ",
                   sourceText(configuration.sourceType, configuration.sourceIndex));
        return;
    }
    isEnabled_ = configuration.enabled;
    mode_ = configuration.sourceType == TriggerSourceType::PeriodicSignal ? Mode::PeriodicSignal
                                                                          : Mode::LineOrSoftware;
    // The line that a software trigger drives is active high, whatever is asked for.
    activation_ = configuration.sourceType == TriggerSourceType::Software
                      ? TriggerActivation::LevelHigh
                      : configuration.activation;
    apply();
}

void TriggerFeature::ConfigurePeriodicSignal(const PeriodicSignalConfiguration& configuration)
{
    MCM_LOG(kLogDebug, kLogModule)
        << "ConfigurePeriodicSignal(index=" << configuration.index << ", source=("
        << toText(configuration.sourceType) << ", " << configuration.sourceIndex
        << "), activation=" << toText(configuration.activation) << ", delay=" << configuration.delay
        << ")\n";
    if (configuration.index != 0) {
        logIgnored("ConfigurePeriodicSignal", "unsupported periodic signal index ",
                   std::to_string(configuration.index));
        return;
    }
    if (configuration.sourceType != TriggerSourceType::DigitalIoLine ||
        configuration.sourceIndex != 0) {
        logIgnored("ConfigurePeriodicSignal", "unsupported periodic signal source: ",
                   sourceText(configuration.sourceType, configuration.sourceIndex));
        return;
    }
    periodicActivation_ = configuration.activation;
    periodicDelay_ = configuration.delay;
    apply();
}

void TriggerFeature::apply()
{
    const bool isPeriodic = mode_ == Mode::PeriodicSignal;
    SetTriggerDelay(isPeriodic ? periodicDelay_ : 0.0);
    SetTriggerActivation(isPeriodic ? periodicActivation_ : activation_);
}

void TriggerFeature::SetTriggerDelay(double microseconds)
{
    MCM_LOG(kLogDebug, kLogModule) << "SetTriggerDelay(" << microseconds << "us)\n";
    isp_.TRIGGER_DELAY(-microseconds);
}

void TriggerFeature::SetTriggerActivation(TriggerActivation activation)
{
    MCM_LOG(kLogDebug, kLogModule) << "SetTriggerActivation(" << toText(activation) << ")\n";
    switch (activation) {
    case TriggerActivation::RisingEdge:
    case TriggerActivation::LevelHigh:
        isp_.Trigger_ctrl_POLARITY(false);
        break;
    case TriggerActivation::FallingEdge:
    case TriggerActivation::LevelLow:
        isp_.Trigger_ctrl_POLARITY(true);
        break;
    case TriggerActivation::AnyEdge:
        throw std::range_error("TriggerActivation::AnyEdge not supported.");
    }
}

void TriggerFeature::DisableTrigger()
{
    isp_.Trigger_ctrl_MODE(kModeOff);
    isp_.Trigger_ctrl_SYNC_MODE(kSyncModeOff);
    isp_.Trigger_ctrl2_BIT_1(true);
    isp_.TRIGGER_STALLING_TH(kStallingThresholdOff);
}

void TriggerFeature::EnableTrigger()
{
    isp_.Trigger_ctrl_MODE(mode_ == Mode::PeriodicSignal ? kModePeriodicSignal
                                                         : kModeLineOrSoftware);
    isp_.Trigger_ctrl_GPIO_SEL(kTriggerGpioSelection);
    isp_.Trigger_ctrl_SYNC_MODE(kSyncModeOn);
    isp_.Trigger_ctrl2_BIT_1(false);
    isp_.TRIGGER_STALLING_TH(kStallingThresholdOn);
}

void TriggerFeature::AcquisitionStart()
{
    if (!isEnabled_)
        return;
    setSoftwareLine(false);
    EnableTrigger();
    if (mode_ == Mode::LineOrSoftware)
        setSensorFreeRunning(false);
}

void TriggerFeature::AcquisitionStop()
{
    if (!isEnabled_)
        return;
    DisableTrigger();
    if (mode_ == Mode::LineOrSoftware)
        setSensorFreeRunning(true);
}

void TriggerFeature::setSensorFreeRunning(bool isFreeRunning)
{
    const std::uint16_t control = sensor_.ReadSensorReg(kSensorControl);
    const std::uint16_t others = control & ~kSensorFreeRunning;
    const std::uint16_t wanted = isFreeRunning ? others | kSensorFreeRunning : others;
    if (wanted != control)
        sensor_.WriteSensorReg(kSensorControl, wanted);
}

void TriggerFeature::setSoftwareLine(bool isHigh)
{
    constexpr std::uint32_t kLineBit = 1U << kSwTriggerLine;
    // Whoever else uses the window moves its base.
    isp_.ADVANCED_BASE(kGpioOutputBase);
    std::uint32_t outputs = 0;
    isp_.read(kAdvancedWindow, &outputs);
    isp_.write(kAdvancedWindow, isHigh ? outputs | kLineBit : outputs & ~kLineBit);
}

void TriggerFeature::ExecuteSoftwareTrigger(TriggerSelector selector)
{
    MCM_LOG(kLogDebug, kLogModule) << "ExecuteSoftwareTrigger(" << toText(selector) << ")\n";
    if (selector != TriggerSelector::FrameStart) {
        logIgnored("ExecuteSoftwareTrigger", "software trigger for unsupported trigger selector ",
                   toText(selector));
        return;
    }
    setSoftwareLine(true);
    if (isFirstSoftwareTrigger_) {
        clock_.sleep(kSwTriggerPulse);
        setSoftwareLine(false);
        isFirstSoftwareTrigger_ = false;
    }
}

std::unique_ptr<ITriggerFeature> makeTriggerFeature(IspSensor& isp, const IClock& clock)
{
    return std::make_unique<TriggerFeature>(isp, clock);
}

} // namespace mcm
