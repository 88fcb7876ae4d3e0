// What the camera module asks of its frame trigger.
#pragma once

namespace mcm
{

/// One thread at a time. Failing transfers throw.
class ITriggerFeature
{
public:
    virtual ~ITriggerFeature() = default;
    /// Once behind a firmware upload.
    virtual void Initialize() = 0;
    /// Frames come without a trigger from now on.
    virtual void DisableTrigger() = 0;
    /// Puts a trigger that is switched on in force, and takes it out of force.
    virtual void AcquisitionStart() = 0;
    virtual void AcquisitionStop() = 0;
};

} // namespace mcm
