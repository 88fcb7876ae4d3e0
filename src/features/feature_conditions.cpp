#include "features/feature_conditions.h"

#include "features/feature_context.h"

namespace GenTLProducer
{

namespace
{

enum class Extent : std::uint8_t { All, Streaming };

void update(FeatureContext& context, Extent extent)
{
    for (const RegisterRow& row : DeviceRegisterRows()) {
        const Role role = row.behaviour.role;
        const Condition& condition = row.behaviour.condition;
        if (role == Role::Feature || role == Role::Live)
            context.registers.set(row.key, RegisterFlag::Unchecked, context.isStreaming);
        const bool isOfStreaming =
            condition.holds == IsStreaming || condition.holds == IsNotStreaming;
        if (condition.holds == nullptr || (extent == Extent::Streaming && !isOfStreaming))
            continue;
        const bool holds = condition.holds(context);
        context.registers.set(condition.target, condition.flag, holds);
        context.registers.show(row.key, holds);
    }
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
    update(context, Extent::All);
}

void UpdateStreamingConditions(FeatureContext& context)
{
    update(context, Extent::Streaming);
}

} // namespace GenTLProducer
