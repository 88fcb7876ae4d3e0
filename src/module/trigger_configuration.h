// What the feature layer tells the camera module about triggers.
#pragma once

#include <cstdint>
#include <string>

namespace mcm
{

enum class TriggerSelector : std::uint32_t {
    FrameBurstStart = 0,
    FrameBurstEnd = 1,
    FrameBurstActive = 2,
    FrameStart = 3,
    FrameEnd = 4,
    FrameActive = 5,
    ExposureStart = 6,
    ExposureEnd = 7,
    ExposureActive = 8,
};

enum class TriggerSourceType : std::uint32_t {
    DigitalIoLine = 0,
    Software = 1,
    PeriodicSignal = 2,
};

enum class TriggerActivation : std::uint32_t {
    RisingEdge = 0,
    FallingEdge = 1,
    AnyEdge = 2,
    LevelHigh = 3,
    LevelLow = 4,
};

// The names as log lines print them.
std::string toText(TriggerSelector selector);
std::string toText(TriggerSourceType type);
std::string toText(TriggerActivation activation);

/// Argument of ICameraModule::ConfigureTrigger.
struct TriggerConfiguration {
    TriggerSelector selector;
    bool enabled;
    TriggerSourceType sourceType;
    std::uint32_t sourceIndex;
    TriggerActivation activation;
    double delay; ///< microseconds
};

/// Argument of ICameraModule::ConfigurePeriodicSignal.
struct PeriodicSignalConfiguration {
    std::uint32_t index;
    double delay; ///< microseconds
    TriggerSourceType sourceType;
    std::uint32_t sourceIndex;
    TriggerActivation activation;
};

} // namespace mcm
