// The acquisition commands, and the locks that follow from them.
#pragma once

#include "features/acquisition_state_machine.h"
#include "features/feature_context.h"

namespace GenTLProducer
{

class AcquisitionFeatures final
{
public:
    explicit AcquisitionFeatures(FeatureContext& context)
        : context_(context), machine_(*context.runtime.module)
    {
    }

    // The commands: an event of the state machine, then the lock rule.
    void start();
    void stop();
    void abort();

    void applyTLParamsLocked();
    /// Offers the start or the end of feature streaming, neither while the format is locked.
    void offerStreamingCommands();

private:
    /// Turns the acquisition state into locks. Runs behind every event, whether it did anything
    /// or not.
    void applyLocks();
    void applyFormatLock();
    bool isFormatLocked() const;

    FeatureContext& context_;
    AcquisitionStateMachine machine_;
};

} // namespace GenTLProducer
