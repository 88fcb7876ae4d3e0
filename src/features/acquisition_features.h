// The acquisition commands.
#pragma once

#include "features/acquisition_state_machine.h"
#include "features/feature_context.h"

namespace GenTLProducer
{

/// Brings the commands to the state machine. What the module throws passes through and leaves
/// everything as it was.
class AcquisitionFeatures final
{
public:
    explicit AcquisitionFeatures(FeatureContext& context)
        : context_(context), machine_(*context.runtime.module)
    {
    }

    void start();
    void stop();
    void abort();

private:
    void takeState();

    FeatureContext& context_;
    AcquisitionStateMachine machine_;
};

} // namespace GenTLProducer
