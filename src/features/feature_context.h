// What the groups of features share.
#pragma once

#include "features/register_bank.h"
#include "features/runtime_mcm.h"

namespace GenTLProducer
{

/// The registers of an open camera and its state, with the steps that all features are made of.
struct FeatureContext {
    FeatureContext(RuntimeMCM& outward, IRegisterValues& values)
        : runtime(outward), registers(values)
    {
    }

    bool isOn(Reg key) const { return registers.effective(key) != 0; }
    /// Hands the effective value to the module.
    void send(Reg key);
    /// Adopts the requested value, made valid, and sends it.
    void apply(Reg key);
    /// Requests the value that the camera itself has settled on, within the limits. The next
    /// read shows it.
    void requestMeasured(Reg key);

    RuntimeMCM& runtime;
    RegisterBank registers;
    /// Between the start and the end of feature streaming: writes are stored and act at its end.
    bool isStreaming = false;
    /// The acquisition state machine is in its active state.
    bool isAcquiring = false;
};

} // namespace GenTLProducer
