// What is particular to the capture hardware of one board family.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "v4l2/enumeration.h"

namespace GenTLProducer
{

/// One camera that a board offers. The capture node is the one that images come from, the camera
/// node the one on which the kernel camera driver answers; some boards have one node for both.
struct PipelineDevice {
    std::string capturePath;
    std::string cameraPath;
};

/// Holds no state that changes. One object serves all cameras found with it.
class PlatformPipelineHandler
{
public:
    virtual ~PlatformPipelineHandler() = default;

    virtual const char* GetName() const = 0;
    /// The cameras of the board; empty where the handler doesn't recognise it. Whether they are
    /// of the right model is another question.
    virtual std::vector<PipelineDevice>
    FindCameraDevices(const V4L2::EnumerateResult& enumeration) const = 0;
    /// Called before each opening of a camera, with its capture node.
    virtual void PrepareDevice(std::string_view /*capturePath*/) const {}
    virtual std::uint32_t GetWidthIncrement() const { return 1; }
    virtual std::uint32_t GetMaxWidth() const { return 0xFFFFFFFF; }
    virtual std::uint32_t GetMaxHeight() const { return 0xFFFFFFFF; }
    virtual bool IsPixelFormatSupported(std::uint32_t pfncValue) const = 0;
};

using PlatformPipelineHandlerMaker = std::unique_ptr<PlatformPipelineHandler> (*)();

} // namespace GenTLProducer
