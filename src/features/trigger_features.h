// The frame trigger, the periodic signal, and the trigger sets that lead nowhere.
#pragma once

#include "features/feature_context.h"

namespace GenTLProducer
{

/// Registers of one trigger, by the number of its selector entry.
struct TriggerSet {
    Reg mode;
    Reg source;
    Reg activation;
};

/// There are registers for nine triggers, of which the camera has FrameStart. The others keep
/// valid values and nothing more. What the module throws passes through.
class TriggerFeatures final
{
public:
    explicit TriggerFeatures(FeatureContext& context) : context_(context) {}

    // Writes of one of the registers of a set, and of the periodic signal.
    void writeMode(Reg mode);
    void writeSource(Reg source);
    void writeActivation(Reg activation);
    void writePeriodicSignal(Reg key);
    /// Fires the frame trigger, whatever mode and source are.
    void fire();

    /// Adopts the exposure mode, on which the validity of triggers rests, then sends the frame
    /// trigger.
    void applyExposureMode();
    void applyPeriodicSignal();
    void applyHiddenSets();

private:
    void applySource(const TriggerSet& set);
    void applySet(const TriggerSet& set);
    void configureTrigger();
    void configurePeriodicSignal();

    FeatureContext& context_;
};

} // namespace GenTLProducer
