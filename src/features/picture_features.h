// Features that decide how the picture looks, as far as one of them changes others.
#pragma once

#include "features/feature_context.h"

namespace GenTLProducer
{

/// Exposure, gain and white balance with their automatics, and tone mapping.
///
/// Exposure time, gain and balance ratios are the consumer's as long as their automatic is off, and
/// the ISP's while it is on and images are acquired. An automatic that goes off then leaves what
/// the ISP has settled on, so that the picture doesn't jump. What the module throws passes through,
/// and the steps behind it don't happen.
class PictureFeatures final
{
public:
    explicit PictureFeatures(FeatureContext& context) : context_(context) {}

    void writeExposureAuto();
    void writeGainAuto();
    void writeBalanceWhiteAuto();
    void writeLightSourcePreset();
    void writeToneMapping();

    // Steps of a configuration that is sent as a whole.

    /// Sends the automatic and says which presets go with it.
    void applyBalanceWhiteAuto();
    /// Without tone mapping the contrast is 0, whatever was requested.
    void applyContrast();

    /// Requests what the automatics have settled on, while images are acquired.
    void requestMeasured();

private:
    void writeAutomatic(Reg automatic, Reg manual);
    void applyRatios();

    FeatureContext& context_;
};

} // namespace GenTLProducer
