// The platform's limits, as the feature layer asks for them.
#pragma once

#include <cstdint>

#include "base/span.h"

namespace GenTLProducer
{

/// Limits of one image, in pixels and lines.
struct ImageSizeLimits {
    std::uint32_t minWidth;
    std::uint32_t maxWidth;
    std::uint32_t widthIncrement;
    std::uint32_t minHeight;
    std::uint32_t maxHeight;
    std::uint32_t heightIncrement;
};

class IPipelineAgent
{
public:
    virtual ~IPipelineAgent() = default;

    /// The camera's limits narrowed to the platform's: increments to their least common
    /// multiple, the maximum down and the minimum up to a multiple of that.
    /// Throws std::runtime_error where the platform can't tell its limits.
    virtual ImageSizeLimits GetImageSizeLimits(const ImageSizeLimits& camera) const = 0;

    /// For each format: may it be offered? A format that the camera doesn't offer stays out,
    /// one that it offers stays if the platform's capture path passes it. All three spans have
    /// the same length; offered and result may be the same memory.
    virtual void FilterPixelFormats(Span<const bool> offered, Span<const std::uint32_t> pfncValues,
                                    Span<bool> result) const = 0;
};

} // namespace GenTLProducer
