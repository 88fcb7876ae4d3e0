// What the groups of features share.
#pragma once

#include "features/register_bank.h"
#include "features/runtime_mcm.h"

namespace GenTLProducer
{

struct FeatureContext {
    FeatureContext(RuntimeMCM& outward, IRegisterValues& values)
        : runtime(outward), registers(values)
    {
    }

    RuntimeMCM& runtime;
    RegisterBank registers;
    /// Between the start and the end of feature streaming: writes are stored and act at its end.
    bool isStreaming = false;
    /// The acquisition state machine is in its active state.
    bool isAcquiring = false;
};

} // namespace GenTLProducer
