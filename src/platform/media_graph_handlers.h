// Boards on which the media graph tells which nodes make up a camera.
#pragma once

#include "platform/platform_pipeline_handler.h"

namespace GenTLProducer
{

/// Any board: the first capture node and the first camera sensor of each media device.
class PlatformPipelineHandlerSimple final : public PlatformPipelineHandler
{
public:
    const char* GetName() const override { return "simple"; }
    std::vector<PipelineDevice>
    FindCameraDevices(const V4L2::EnumerateResult& enumeration) const override;
    bool IsPixelFormatSupported(std::uint32_t /*pfncValue*/) const override { return true; }
};

/// NXP i.MX8M Plus, with either of its two capture drivers.
class PlatformPipelineHandlerImx8mp final : public PlatformPipelineHandler
{
public:
    const char* GetName() const override { return "imx8mp"; }
    /// std::runtime_error where the graph behind a sensor is broken.
    std::vector<PipelineDevice>
    FindCameraDevices(const V4L2::EnumerateResult& enumeration) const override;
    /// Depends on the CSI receiver that the camera is wired to; std::runtime_error where the
    /// device tree names one that can't be read.
    std::uint32_t GetMaxWidth() const override;
    bool IsPixelFormatSupported(std::uint32_t pfncValue) const override;
};

} // namespace GenTLProducer
