// A board family for tests: what it finds and what its limits are is given.
#pragma once

#include "platform/platform_pipeline_handler.h"

namespace GenTLProducer
{

struct FakeHandler final : PlatformPipelineHandler {
    const char* GetName() const override { return "fake"; }
    std::vector<PipelineDevice> FindCameraDevices(const V4L2::EnumerateResult&) const override
    {
        return pairs;
    }
    void PrepareDevice(std::string_view capturePath) const override { prepared = capturePath; }
    std::uint32_t GetWidthIncrement() const override { return widthIncrement; }
    std::uint32_t GetMaxWidth() const override { return maxWidth; }
    std::uint32_t GetMaxHeight() const override { return maxHeight; }
    bool IsPixelFormatSupported(std::uint32_t pfncValue) const override
    {
        return pfncValue == supported;
    }

    std::vector<PipelineDevice> pairs;
    std::uint32_t widthIncrement = 1;
    std::uint32_t maxWidth = 0xFFFFFFFF;
    std::uint32_t maxHeight = 0xFFFFFFFF;
    std::uint32_t supported = 0;
    mutable std::string prepared;
};

} // namespace GenTLProducer
