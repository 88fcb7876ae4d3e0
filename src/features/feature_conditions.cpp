#include "features/feature_conditions.h"

#include "features/feature_context.h"

namespace GenTLProducer
{

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
    for (const RegisterRow& row : DeviceRegisterRows()) {
        const Role role = row.behaviour.role;
        const Condition& condition = row.behaviour.condition;
        if (role == Role::Feature || role == Role::Live)
            context.registers.set(row.key, RegisterFlag::Unchecked, context.isStreaming);
        if (condition.holds == nullptr)
            continue;
        const bool holds = condition.holds(context);
        context.registers.set(condition.target, condition.flag, holds);
        context.registers.show(row.key, holds);
    }
}

} // namespace GenTLProducer
