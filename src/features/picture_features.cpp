#include "features/picture_features.h"

#include "features/feature_conditions.h"

namespace GenTLProducer
{

namespace
{

constexpr Reg kRatios[] = {Reg::BalanceRatioRed, Reg::BalanceRatioGreen, Reg::BalanceRatioBlue};

// Valid presets: Auto goes with the automatic alone, all others without it alone.
constexpr std::uint32_t kAutomaticPreset = 0b00000010;
constexpr std::uint32_t kOtherPresets = 0b11111101;

} // namespace

void PictureFeatures::writeExposureAuto()
{
    writeAutomatic(Reg::ExposureAuto, Reg::ExposureTime);
}

void PictureFeatures::writeGainAuto()
{
    writeAutomatic(Reg::GainAuto, Reg::Gain);
}

void PictureFeatures::writeAutomatic(Reg automatic, Reg manual)
{
    context_.apply(automatic);
    if (context_.isOn(automatic))
        return;
    if (context_.isAcquiring) {
        context_.requestMeasured(manual);
        context_.apply(manual);
        return;
    }
    context_.send(manual);
}

void PictureFeatures::writeBalanceWhiteAuto()
{
    applyBalanceWhiteAuto();
    writeLightSourcePreset();
}

void PictureFeatures::applyBalanceWhiteAuto()
{
    context_.apply(Reg::BalanceWhiteAuto);
    context_.registers.setValidMask(Reg::TlmLightSourcePreset, context_.isOn(Reg::BalanceWhiteAuto)
                                                                   ? kAutomaticPreset
                                                                   : kOtherPresets);
}

void PictureFeatures::writeLightSourcePreset()
{
    context_.apply(Reg::TlmLightSourcePreset);
    if (!HasAutomaticBalance(context_))
        applyRatios();
}

void PictureFeatures::applyRatios()
{
    for (const Reg ratio : kRatios) {
        if (context_.isAcquiring)
            context_.requestMeasured(ratio);
        context_.apply(ratio);
    }
}

void PictureFeatures::writeToneMapping()
{
    context_.apply(Reg::TlmAdaptiveToneMappingMode);
    UpdateConditions(context_);
    if (!context_.isOn(Reg::TlmAdaptiveToneMappingMode))
        applyContrast();
}

void PictureFeatures::applyContrast()
{
    if (!context_.isOn(Reg::TlmAdaptiveToneMappingMode))
        context_.registers.request(Reg::TlmContrast, 0);
    context_.apply(Reg::TlmContrast);
}

void PictureFeatures::requestMeasured()
{
    if (IsExposureAutomatic(context_))
        context_.requestMeasured(Reg::ExposureTime);
    if (IsGainAutomatic(context_))
        context_.requestMeasured(Reg::Gain);
    if (!IsBalanceAutomatic(context_))
        return;
    for (const Reg ratio : kRatios)
        context_.requestMeasured(ratio);
}

} // namespace GenTLProducer
