#include "features/feature_conditions.h"

#include "features/feature_context.h"

namespace GenTLProducer
{

namespace
{

void Update(FeatureContext& context, const RegisterRow& row)
{
    const Condition& condition = row.behaviour.condition;
    if (condition.holds == nullptr)
        return;
    const bool holds = condition.holds(context);
    context.registers.set(condition.target, condition.flag, holds);
    context.registers.show(row.key, holds);
}

} // namespace

bool IsStreaming(const FeatureContext& context)
{
    return context.isStreaming;
}

bool IsNotStreaming(const FeatureContext& context)
{
    return !context.isStreaming;
}

bool IsAcquiring(const FeatureContext& context)
{
    return context.isAcquiring;
}

bool IsFormatFixed(const FeatureContext& context)
{
    return context.isOn(Reg::TLParamsLocked) || context.isAcquiring;
}

bool MayStartStreaming(const FeatureContext& context)
{
    return !IsFormatFixed(context) && !context.isStreaming;
}

bool MayEndStreaming(const FeatureContext& context)
{
    return !IsFormatFixed(context) && context.isStreaming;
}

bool IsExposureAutomatic(const FeatureContext& context)
{
    return context.isOn(Reg::ExposureAuto) && context.isAcquiring;
}

bool IsGainAutomatic(const FeatureContext& context)
{
    return context.isOn(Reg::GainAuto) && context.isAcquiring;
}

bool IsBalanceAutomatic(const FeatureContext& context)
{
    return HasAutomaticBalance(context) && context.isAcquiring;
}

bool IsContrastFixed(const FeatureContext& context)
{
    return !context.isOn(Reg::TlmAdaptiveToneMappingMode);
}

bool IsGammaFixed(const FeatureContext& context)
{
    return context.isOn(Reg::TlmColorSpace);
}

bool HasAutomaticBalance(const FeatureContext& context)
{
    return context.isOn(Reg::BalanceWhiteAuto) || context.isOn(Reg::TlmLightSourcePreset);
}

void UpdateConditions(FeatureContext& context)
{
    UpdateStreamingConditions(context);
    for (const RegisterRow& row : DeviceRegisterRows())
        Update(context, row);
}

void UpdateStreamingConditions(FeatureContext& context)
{
    for (const RegisterRow& row : DeviceRegisterRows()) {
        const Role role = row.behaviour.role;
        const auto holds = row.behaviour.condition.holds;
        if (role == Role::Feature || role == Role::Live)
            context.registers.set(row.key, RegisterFlag::Unchecked, context.isStreaming);
        if (holds == IsStreaming || holds == IsNotStreaming)
            Update(context, row);
    }
}

} // namespace GenTLProducer
