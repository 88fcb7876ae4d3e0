// When a feature is locked, and when a command is offered.
#pragma once

namespace GenTLProducer
{

struct FeatureContext;

bool IsStreaming(const FeatureContext& context);
bool IsNotStreaming(const FeatureContext& context);
bool IsAcquiring(const FeatureContext& context);

/// Somebody relies on format and size of the image: an acquisition, or the transport layer.
bool IsFormatFixed(const FeatureContext& context);
/// Feature streaming starts and ends only while the format may change.
bool MayStartStreaming(const FeatureContext& context);
bool MayEndStreaming(const FeatureContext& context);

// The camera owns the value as long as it acquires images.
bool IsExposureAutomatic(const FeatureContext& context);
bool IsGainAutomatic(const FeatureContext& context);
bool IsBalanceAutomatic(const FeatureContext& context);

/// Contrast has an effect with tone mapping alone.
bool IsContrastFixed(const FeatureContext& context);
/// sRGB has its own gamma.
bool IsGammaFixed(const FeatureContext& context);

/// The balance ratios are the ISP's: an automatic runs, or a preset stands for fixed ones.
bool HasAutomaticBalance(const FeatureContext& context);

/// Brings every flag that follows from the state of the features, and the word that tells of it,
/// to that state. Due behind every change.
void UpdateConditions(FeatureContext& context);
/// The same for what follows from feature streaming alone.
void UpdateStreamingConditions(FeatureContext& context);

} // namespace GenTLProducer
