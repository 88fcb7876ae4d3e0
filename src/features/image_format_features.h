// Pixel format, region of interest, scaling, and what follows from them.
#pragma once

#include <cstdint>

#include "features/feature_context.h"

namespace GenTLProducer
{

/// One direction of the image.
struct ImageAxis {
    Reg size;
    Reg sizeMax;
    Reg offset;
    Reg scaledSensor;
    std::int64_t sensorSize; ///< pixels of the sensor
    std::int64_t minimum;    ///< of the image
    void (RuntimeMCM::*sendSize)(std::uint32_t);
    void (RuntimeMCM::*sendOffset)(std::uint32_t);
};

/// The one group that talks to module and grabber. The image is cut out of the scaled sensor: a
/// scale of 100 percent is 1:1, a smaller one enlarges the picture of the sensor.
///
/// An apply step brings the requested value within its limits, makes it effective and sends it. A
/// write runs the apply steps of all that depends on it. What module or grabber throw passes
/// through, and the steps behind it don't happen.
class ImageFormatFeatures final
{
public:
    explicit ImageFormatFeatures(FeatureContext& context) : context_(context) {}

    /// Asks the platform which formats it passes and marks them valid.
    void selectFormats();
    /// Asks the platform for the limits of the image size.
    void selectSizes();

    void applyPixelFormat();
    void applyWidth();
    void applyHeight();
    void applyScalingFactor();
    void applyOffsetX();
    void applyOffsetY();
    void applyPayloadSize();

    void writePixelFormat();
    void writeWidth();
    void writeHeight();
    void writeScalingFactor();
    void centerX();
    void centerY();

    /// Requests the offsets at which the image lies in the middle of the sensor.
    void requestCenteredOffsets();

private:
    void showSizeLimits(const ImageAxis& axis, const Limits& limits);
    void applySize(const ImageAxis& axis);
    void applyOffset(const ImageAxis& axis);
    void applyRegion();
    Limits scaleLimits(const ImageAxis& axis) const;
    Limits offsetLimits(const ImageAxis& axis, std::int64_t scale) const;
    void center(const ImageAxis& axis);
    void requestCenteredOffset(const ImageAxis& axis);

    FeatureContext& context_;
    /// Bit i: row i of kHandledFormats is available.
    std::uint32_t availableFormats_ = 0;
    std::uint32_t bitsPerPixel_ = 0;
};

} // namespace GenTLProducer
