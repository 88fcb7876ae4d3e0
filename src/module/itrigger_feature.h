// What the camera module asks of its frame trigger.
#pragma once

#include "module/trigger_configuration.h"

namespace mcm
{

/// One thread at a time. Failing transfers throw std::runtime_error, and so does a sensor that
/// the ISP can't reach. A configuration or selector that isn't supported is reported in the log
/// and changes nothing.
class ITriggerFeature
{
public:
    virtual ~ITriggerFeature() = default;
    /// Once behind a firmware upload.
    virtual void Initialize() = 0;
    /// Frames come without a trigger from now on.
    virtual void DisableTrigger() = 0;
    /// Polarity and delay come into force at once, the rest at the next AcquisitionStart.
    virtual void ConfigureTrigger(const TriggerConfiguration& configuration) = 0;
    /// The same. Throws std::range_error for a signal in force that is to act on any edge.
    virtual void ConfigurePeriodicSignal(const PeriodicSignalConfiguration& configuration) = 0;
    /// Puts a trigger that is switched on in force, and takes it out of force.
    virtual void AcquisitionStart() = 0;
    virtual void AcquisitionStop() = 0;
    /// Drives the line that the ISP takes for the software trigger.
    virtual void ExecuteSoftwareTrigger(TriggerSelector selector) = 0;
};

} // namespace mcm
