// Boards that identify themselves by a file and have one node for capture and camera.
#pragma once

#include <functional>

#include "base/span.h"
#include "platform/platform_pipeline_handler.h"
#include "v4l2/ivideo_device.h"

namespace GenTLProducer
{

/// Everything that sets one such family apart from the others.
struct SingleNodeBoard {
    const char* name;
    const char* identificationFile; ///< its first line is one of the texts
    Span<const char* const> identifications;
    const char* driverName; ///< of its capture nodes
    Span<const std::uint32_t> pixelFormats;
    std::uint32_t widthIncrement;
};

class SingleNodeHandler : public PlatformPipelineHandler
{
public:
    const char* GetName() const override { return board_.name; }
    std::vector<PipelineDevice>
    FindCameraDevices(const V4L2::EnumerateResult& enumeration) const override;
    std::uint32_t GetWidthIncrement() const override { return board_.widthIncrement; }
    bool IsPixelFormatSupported(std::uint32_t pfncValue) const override;

protected:
    explicit SingleNodeHandler(const SingleNodeBoard& board) : board_(board) {}

private:
    const SingleNodeBoard& board_;
};

class PlatformPipelineHandlerImx8mm final : public SingleNodeHandler
{
public:
    PlatformPipelineHandlerImx8mm();
};

class PlatformPipelineHandlerImx8mq final : public SingleNodeHandler
{
public:
    PlatformPipelineHandlerImx8mq();
};

class PlatformPipelineHandlerNvidiaJetsonTx2 final : public SingleNodeHandler
{
public:
    PlatformPipelineHandlerNvidiaJetsonTx2();
};

class PlatformPipelineHandlerNvidia final : public SingleNodeHandler
{
public:
    using MakeVideoDevice =
        std::function<std::unique_ptr<V4L2::IVideoDevice>(const std::string& path)>;

    /// Opens video devices with the real system calls.
    PlatformPipelineHandlerNvidia();
    explicit PlatformPipelineHandlerNvidia(MakeVideoDevice makeVideoDevice);

    /// Switches the driver's low latency mode on, where it has one. A node that can't be opened
    /// throws V4L2::Error.
    void PrepareDevice(std::string_view capturePath) const override;

private:
    MakeVideoDevice makeVideoDevice_;
};

} // namespace GenTLProducer
