#include "module/trigger_configuration.h"

#include "module/value_name.h"

namespace mcm
{

namespace
{

constexpr const char* kSelectorNames[] = {
    "FrameBurstStart", "FrameBurstEnd", "FrameBurstActive", "FrameStart",     "FrameEnd",
    "FrameActive",     "ExposureStart", "ExposureEnd",      "ExposureActive",
};
constexpr const char* kSourceTypeNames[] = {"DigitalIoLine", "Software", "PeriodicSignal"};
constexpr const char* kActivationNames[] = {
    "RisingEdge", "FallingEdge", "AnyEdge", "LevelHigh", "LevelLow",
};

} // namespace

std::string toText(TriggerSelector selector)
{
    return valueName(kSelectorNames, static_cast<std::uint32_t>(selector));
}

std::string toText(TriggerSourceType type)
{
    return valueName(kSourceTypeNames, static_cast<std::uint32_t>(type));
}

std::string toText(TriggerActivation activation)
{
    return valueName(kActivationNames, static_cast<std::uint32_t>(activation));
}

} // namespace mcm
