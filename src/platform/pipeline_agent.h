// The platform's limits for the feature layer.
#pragma once

#include "platform/ipipeline_agent.h"
#include "platform/platform_pipeline_handler.h"

namespace GenTLProducer
{

class PipelineAgent final : public IPipelineAgent
{
public:
    /// The handler stays the caller's and must outlive the agent.
    explicit PipelineAgent(const PlatformPipelineHandler* handler) : handler_(handler) {}

    ImageSizeLimits GetImageSizeLimits(const ImageSizeLimits& camera) const override;
    void FilterPixelFormats(Span<const bool> offered, Span<const std::uint32_t> pfncValues,
                            Span<bool> result) const override;

private:
    const PlatformPipelineHandler* handler_;
};

} // namespace GenTLProducer
