#include "features/trigger_features.h"

#include <algorithm>
#include <iterator>

namespace GenTLProducer
{

namespace
{

using mcm::TriggerActivation;
using mcm::TriggerSelector;
using mcm::TriggerSourceType;

constexpr TriggerSet kSets[] = {
    {Reg::TriggerMode0, Reg::TriggerSource0, Reg::TriggerActivation0},
    {Reg::TriggerMode1, Reg::TriggerSource1, Reg::TriggerActivation1},
    {Reg::TriggerMode2, Reg::TriggerSource2, Reg::TriggerActivation2},
    {Reg::TriggerMode3, Reg::TriggerSource3, Reg::TriggerActivation3},
    {Reg::TriggerMode4, Reg::TriggerSource4, Reg::TriggerActivation4},
    {Reg::TriggerMode5, Reg::TriggerSource5, Reg::TriggerActivation5},
    {Reg::TriggerMode6, Reg::TriggerSource6, Reg::TriggerActivation6},
    {Reg::TriggerMode7, Reg::TriggerSource7, Reg::TriggerActivation7},
    {Reg::TriggerMode8, Reg::TriggerSource8, Reg::TriggerActivation8},
};

constexpr TriggerSet kFrameStart = kSets[static_cast<std::size_t>(TriggerSelector::FrameStart)];
constexpr TriggerSet kFrameActive = kSets[static_cast<std::size_t>(TriggerSelector::FrameActive)];

/// Entries of TriggerSource.
enum Source : std::int64_t { kSoftware = 0, kLine1 = 1, kPeriodicSignal1 = 2 };

/// The ISP's trigger input is sensitive to levels; the other sources have no activation.
constexpr std::uint32_t ValidActivations(std::int64_t source)
{
    constexpr std::uint32_t kLevels = 1u << static_cast<int>(TriggerActivation::LevelHigh) |
                                      1u << static_cast<int>(TriggerActivation::LevelLow);
    return source == kLine1 ? kLevels : 0;
}

const TriggerSet& SetOfSource(Reg source)
{
    return *std::find_if(std::begin(kSets), std::end(kSets),
                         [source](const TriggerSet& set) { return set.source == source; });
}

TriggerSourceType SourceType(std::int64_t source)
{
    if (source == kLine1)
        return TriggerSourceType::DigitalIoLine;
    return source == kPeriodicSignal1 ? TriggerSourceType::PeriodicSignal
                                      : TriggerSourceType::Software;
}

/// Unknown entries, which only a register without a valid one can hold, count as the first.
TriggerActivation ActivationOf(std::int64_t entry)
{
    const bool isKnown = entry >= 0 && entry <= static_cast<int>(TriggerActivation::LevelLow);
    return isKnown ? static_cast<TriggerActivation>(entry) : TriggerActivation::RisingEdge;
}

} // namespace

void TriggerFeatures::writeMode(Reg mode)
{
    context_.registers.adoptValid(mode);
    if (mode == kFrameStart.mode || mode == kFrameActive.mode)
        configureTrigger();
}

void TriggerFeatures::writeSource(Reg source)
{
    applySource(SetOfSource(source));
    if (source == kFrameStart.source)
        configureTrigger();
}

void TriggerFeatures::writeActivation(Reg activation)
{
    context_.registers.adoptValid(activation);
    if (activation == kFrameStart.activation)
        configureTrigger();
}

void TriggerFeatures::writePeriodicSignal(Reg key)
{
    context_.registers.adoptValid(key);
    configurePeriodicSignal();
}

void TriggerFeatures::fire()
{
    context_.runtime.module->ExecuteSoftwareTrigger(
        static_cast<std::uint32_t>(TriggerSelector::FrameStart));
}

void TriggerFeatures::applyExposureMode()
{
    context_.registers.adoptValid(Reg::ExposureMode);
    applySet(kFrameStart);
    configureTrigger();
}

void TriggerFeatures::applyPeriodicSignal()
{
    for (const Reg key : {Reg::TlmPeriodicSignalDelay, Reg::TlmPeriodicSignalSource,
                          Reg::TlmPeriodicSignalActivation})
        context_.registers.adoptValid(key);
    configurePeriodicSignal();
}

void TriggerFeatures::applyHiddenSets()
{
    for (const TriggerSet& set : kSets) {
        if (set.mode != kFrameStart.mode)
            applySet(set);
    }
}

void TriggerFeatures::applySource(const TriggerSet& set)
{
    const std::int64_t source = context_.registers.adoptValid(set.source);
    context_.registers.setValidMask(set.activation, ValidActivations(source));
    context_.registers.adoptValid(set.activation);
}

void TriggerFeatures::applySet(const TriggerSet& set)
{
    context_.registers.adoptValid(set.mode);
    applySource(set);
}

void TriggerFeatures::configureTrigger()
{
    const RegisterBank& registers = context_.registers;
    context_.runtime.module->ConfigureTrigger(
        {TriggerSelector::FrameStart, registers.effective(kFrameStart.mode) == 1,
         SourceType(registers.effective(kFrameStart.source)), 0,
         ActivationOf(registers.effective(kFrameStart.activation)), 0.0});
}

void TriggerFeatures::configurePeriodicSignal()
{
    constexpr double kNanosecondsPerMicrosecond = 1000.0;
    const RegisterBank& registers = context_.registers;
    const auto delay = static_cast<double>(registers.effective(Reg::TlmPeriodicSignalDelay));
    context_.runtime.module->ConfigurePeriodicSignal(
        {0, delay / kNanosecondsPerMicrosecond, TriggerSourceType::DigitalIoLine, 0,
         ActivationOf(registers.effective(Reg::TlmPeriodicSignalActivation))});
}

} // namespace GenTLProducer
