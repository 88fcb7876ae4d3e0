// Finds the cameras of the board.
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "bus/device_information.h"
#include "platform/camera.h"
#include "platform/platform_pipeline_handler.h"

namespace GenTLProducer
{

/// Asks every board family for its node pairs, asks the driver of each pair what is behind it, and
/// keeps a camera for each pair that holds the supported model. Runs under its owner's lock.
class CameraDeviceManager final
{
public:
    /// What the scan reaches the outside with; each can be replaced.
    struct Callables {
        std::function<V4L2::EnumerateResult()> enumerate;
        std::vector<std::function<std::unique_ptr<PlatformPipelineHandler>()>> handlerFactories;
        std::function<mcm::DeviceInformation(const std::string& cameraPath)> readDeviceInformation;
        std::function<std::shared_ptr<Camera>(std::shared_ptr<const PlatformPipelineHandler>,
                                              CameraInformation)>
            makeCamera;
    };

    explicit CameraDeviceManager(Callables callables) : callables_(std::move(callables)) {}

    /// The scan, into the list of cameras. A pair that can't be used is passed over; what a
    /// handler throws while it searches passes out.
    void Update();
    std::vector<std::shared_ptr<Camera>> GetCameras() const { return cameras_; }
    void Clear() { cameras_.clear(); }

private:
    bool ScanHandler(std::shared_ptr<const PlatformPipelineHandler> handler,
                     const V4L2::EnumerateResult& enumeration);
    void TestPair(const std::shared_ptr<const PlatformPipelineHandler>& handler,
                  const PipelineDevice& pair);

    Callables callables_;
    std::vector<std::shared_ptr<Camera>> cameras_;
};

/// A manager on the real board.
std::unique_ptr<CameraDeviceManager> CreateCameraDeviceManager();

} // namespace GenTLProducer
