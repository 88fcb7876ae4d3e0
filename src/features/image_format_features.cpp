#include "features/image_format_features.h"

#include <algorithm>

#include "features/pixel_formats.h"

namespace GenTLProducer
{

namespace
{

constexpr std::int64_t kPercent = 100;
constexpr std::int64_t kLowestScale = 30;
constexpr std::int64_t kSizeIncrement = 8;
constexpr std::int64_t kOffsetGrid = 8;

constexpr ImageAxis kHorizontal{
    Reg::Width, Reg::WidthMax,         Reg::OffsetX,           Reg::TlmScaledSensorWidth, 2592,
    96,         &RuntimeMCM::setWidth, &RuntimeMCM::setOffsetX};
constexpr ImageAxis kVertical{
    Reg::Height, Reg::HeightMax,         Reg::OffsetY,           Reg::TlmScaledSensorHeight, 1944,
    104,         &RuntimeMCM::setHeight, &RuntimeMCM::setOffsetY};

/// Quotient of numbers that aren't negative; 0 where a platform's limits leave nothing to divide
/// by.
std::int64_t Quotient(std::int64_t dividend, std::int64_t divisor)
{
    return divisor != 0 ? dividend / divisor : 0;
}

std::int64_t RoundDown(std::int64_t value, std::int64_t increment)
{
    return value / increment * increment;
}

/// Row of an entry among the handled formats, the first for one that isn't handled.
std::uint32_t HandledRow(std::int64_t entry)
{
    for (std::uint32_t row = 0; row < kHandledFormatCount; ++row) {
        if (PixelFormatIndex(kHandledFormats[row].pfncValue) == entry)
            return row;
    }
    return 0;
}

} // namespace

void ImageFormatFeatures::selectFormats()
{
    bool offered[kHandledFormatCount];
    bool available[kHandledFormatCount] = {};
    std::uint32_t values[kHandledFormatCount];
    for (std::uint32_t i = 0; i < kHandledFormatCount; ++i) {
        offered[i] = kHandledFormats[i].isCandidate;
        values[i] = kHandledFormats[i].pfncValue;
    }
    context_.runtime.agent->FilterPixelFormats(offered, values, available);

    std::uint32_t entries = 0;
    availableFormats_ = 0;
    for (std::uint32_t i = 0; i < kHandledFormatCount; ++i) {
        if (!offered[i] || !available[i])
            continue;
        availableFormats_ |= 1u << i;
        entries |= 1u << PixelFormatIndex(kHandledFormats[i].pfncValue);
    }
    context_.registers.setValidMask(Reg::PixelFormat, entries);
}

void ImageFormatFeatures::selectSizes()
{
    const auto limitsOf = [](const ImageAxis& axis) {
        return Limits{axis.minimum, axis.sensorSize, kSizeIncrement};
    };
    const auto word = [](std::int64_t value) { return static_cast<std::uint32_t>(value); };
    const Limits wide = limitsOf(kHorizontal);
    const Limits high = limitsOf(kVertical);
    const ImageSizeLimits sizes = context_.runtime.agent->GetImageSizeLimits(
        {word(wide.min), word(wide.max), word(wide.inc), word(high.min), word(high.max),
         word(high.inc)});
    showSizeLimits(kHorizontal, {sizes.minWidth, sizes.maxWidth, sizes.widthIncrement});
    showSizeLimits(kVertical, {sizes.minHeight, sizes.maxHeight, sizes.heightIncrement});
}

void ImageFormatFeatures::showSizeLimits(const ImageAxis& axis, const Limits& limits)
{
    context_.registers.setLimits(axis.size, limits);
    context_.registers.show(axis.sizeMax, limits.max);
}

void ImageFormatFeatures::applyPixelFormat()
{
    RegisterBank& registers = context_.registers;
    const std::uint32_t row = HandledRow(registers.adoptValid(Reg::PixelFormat));
    const HandledFormat& format = kHandledFormats[FirstValid(row, availableFormats_)];

    registers.adopt(Reg::PixelFormat, PixelFormatIndex(format.pfncValue));
    context_.runtime.setPixelFormat(format.pfncValue);
    registers.show(Reg::PixelSize, static_cast<std::int64_t>(format.pixelSize));
    registers.show(Reg::PixelDynamicRangeMax, format.dynamicRangeMax);
    bitsPerPixel_ = BitsPerPixel(format.pixelSize);
}

void ImageFormatFeatures::applyWidth()
{
    applySize(kHorizontal);
}

void ImageFormatFeatures::applyHeight()
{
    applySize(kVertical);
}

void ImageFormatFeatures::applySize(const ImageAxis& axis)
{
    const std::int64_t size = context_.registers.adoptValid(axis.size);
    (context_.runtime.*axis.sendSize)(static_cast<std::uint32_t>(size));
}

void ImageFormatFeatures::applyScalingFactor()
{
    RegisterBank& registers = context_.registers;
    const Limits wide = scaleLimits(kHorizontal);
    const Limits high = scaleLimits(kVertical);
    registers.setLimits(Reg::TlmScalingFactor, {std::max({wide.min, high.min, kLowestScale}),
                                                std::min(wide.max, high.max), 1});
    const std::int64_t scale = registers.adoptValid(Reg::TlmScalingFactor);
    for (const ImageAxis& axis : {kHorizontal, kVertical}) {
        registers.setLimits(axis.offset, offsetLimits(axis, scale));
        registers.show(axis.scaledSensor, Quotient(axis.sensorSize * kPercent, scale));
    }
    context_.runtime.module->SetScalingFactor(static_cast<float>(static_cast<double>(scale) / 100));
}

/// The image must cover its minimum on the sensor and fit on the sensor.
Limits ImageFormatFeatures::scaleLimits(const ImageAxis& axis) const
{
    const std::int64_t size = context_.registers.effective(axis.size);
    return {Quotient(axis.minimum * kPercent + size - 1, size),
            Quotient(axis.sensorSize * kPercent, size), 1};
}

Limits ImageFormatFeatures::offsetLimits(const ImageAxis& axis, std::int64_t scale) const
{
    const std::int64_t increment =
        std::max<std::int64_t>(1, Quotient(kOffsetGrid * kPercent, scale));
    const std::int64_t covered = scale * context_.registers.effective(axis.size) / kPercent;
    const std::int64_t free = std::max<std::int64_t>(0, axis.sensorSize - covered);
    return {0, RoundDown(Quotient(free * kPercent, scale), increment), increment};
}

void ImageFormatFeatures::applyOffsetX()
{
    applyOffset(kHorizontal);
}

void ImageFormatFeatures::applyOffsetY()
{
    applyOffset(kVertical);
}

void ImageFormatFeatures::applyOffset(const ImageAxis& axis)
{
    RegisterBank& registers = context_.registers;
    const std::int64_t offset = registers.adoptValid(axis.offset);
    const std::int64_t onSensor =
        RoundDown(offset * registers.effective(Reg::TlmScalingFactor) / kPercent,
                  registers.limits(axis.offset).inc);
    (context_.runtime.*axis.sendOffset)(static_cast<std::uint32_t>(onSensor));
}

void ImageFormatFeatures::applyPayloadSize()
{
    const auto width = static_cast<std::uint32_t>(context_.registers.effective(Reg::Width));
    const auto height = static_cast<std::uint32_t>(context_.registers.effective(Reg::Height));
    const std::uint32_t payload = width * height * bitsPerPixel_ / 8;
    context_.registers.show(Reg::PayloadSize, payload);
    context_.runtime.grabber->SetPayloadSize(payload);
}

void ImageFormatFeatures::writePixelFormat()
{
    applyPixelFormat();
    applyPayloadSize();
}

void ImageFormatFeatures::writeWidth()
{
    applyWidth();
    applyRegion();
}

void ImageFormatFeatures::writeHeight()
{
    applyHeight();
    applyRegion();
}

/// What depends on the size of the image.
void ImageFormatFeatures::applyRegion()
{
    writeScalingFactor();
    applyPayloadSize();
}

void ImageFormatFeatures::writeScalingFactor()
{
    applyScalingFactor();
    applyOffsetX();
    applyOffsetY();
}

void ImageFormatFeatures::centerX()
{
    center(kHorizontal);
}

void ImageFormatFeatures::centerY()
{
    center(kVertical);
}

void ImageFormatFeatures::center(const ImageAxis& axis)
{
    const Limits limits = context_.registers.limits(axis.offset);
    context_.registers.request(axis.offset, RoundDown(limits.max / 2, limits.inc));
    if (!context_.isStreaming)
        applyOffset(axis);
}

void ImageFormatFeatures::requestCenteredOffsets()
{
    requestCenteredOffset(kHorizontal);
    requestCenteredOffset(kVertical);
}

void ImageFormatFeatures::requestCenteredOffset(const ImageAxis& axis)
{
    RegisterBank& registers = context_.registers;
    const std::int64_t free =
        std::max<std::int64_t>(0, axis.sensorSize - registers.effective(axis.size));
    const std::int64_t scaled = Quotient(RoundDown(free / 2, kOffsetGrid) * kPercent,
                                         registers.effective(Reg::TlmScalingFactor));
    registers.request(axis.offset, RoundDown(scaled, registers.limits(axis.offset).inc));
}

} // namespace GenTLProducer
