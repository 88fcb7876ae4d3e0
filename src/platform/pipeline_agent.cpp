#include "platform/pipeline_agent.h"

#include <algorithm>
#include <numeric>

namespace GenTLProducer
{

namespace
{

struct Axis {
    std::uint32_t minimum;
    std::uint32_t maximum;
    std::uint32_t increment;
};

// 64-bit inside: least common multiple and rounding up may leave 32 bits.
Axis merge(const Axis& camera, const Axis& platform)
{
    const std::uint64_t increment =
        std::lcm<std::uint64_t, std::uint64_t>(camera.increment, platform.increment);
    if (increment == 0)
        return {0, 0, 0};
    const std::uint64_t maximum =
        std::min(camera.maximum, platform.maximum) / increment * increment;
    const std::uint64_t minimum =
        (std::max(camera.minimum, platform.minimum) + increment - 1) / increment * increment;
    return {static_cast<std::uint32_t>(minimum), static_cast<std::uint32_t>(maximum),
            static_cast<std::uint32_t>(increment)};
}

} // namespace

ImageSizeLimits PipelineAgent::GetImageSizeLimits(const ImageSizeLimits& camera) const
{
    const Axis width = merge({camera.minWidth, camera.maxWidth, camera.widthIncrement},
                             {1, handler_->GetMaxWidth(), handler_->GetWidthIncrement()});
    const Axis height = merge({camera.minHeight, camera.maxHeight, camera.heightIncrement},
                              {1, handler_->GetMaxHeight(), 1});
    return {width.minimum,  width.maximum,  width.increment,
            height.minimum, height.maximum, height.increment};
}

void PipelineAgent::FilterPixelFormats(Span<const bool> offered,
                                       Span<const std::uint32_t> pfncValues,
                                       Span<bool> result) const
{
    for (std::size_t i = 0; i < offered.size(); ++i)
        result[i] = offered[i] && handler_->IsPixelFormatSupported(pfncValues[i]);
}

} // namespace GenTLProducer
