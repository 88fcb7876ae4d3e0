#include "platform/camera_device_manager.h"

#include <cstdio>
#include <stdexcept>

#include "bus/camera_driver.h"
#include "platform/media_graph_handlers.h"
#include "platform/platform_pipeline_handler_factory.h"
#include "trace/gentl_trace.h"

namespace GenTLProducer
{

namespace
{

constexpr char kNoSupport[] = "No explicit support for this platform, trying generic pipeline "
                              "handler. Some features might not work as expected.";

} // namespace

void CameraDeviceManager::Update()
{
    cameras_.clear();
    const V4L2::EnumerateResult enumeration = callables_.enumerate();
    GENTL_TRACE(kTraceCameraList, 4, "Trying to find devices for '%s'", kSupportedModel);
    bool isFound = false;
    for (const auto& makeHandler : callables_.handlerFactories) {
        if (ScanHandler(makeHandler(), enumeration))
            isFound = true;
    }
    if (!isFound) {
        GENTL_TRACE(kTraceDevice, 2, "%s", kNoSupport);
        std::fprintf(stderr, "WARNING: %s\n", kNoSupport);
        ScanHandler(std::make_unique<PlatformPipelineHandlerSimple>(), enumeration);
    }
    GENTL_TRACE(kTraceCameraList, 4, "Found %u usable camera devices",
                static_cast<unsigned>(cameras_.size()));
}

bool CameraDeviceManager::ScanHandler(std::shared_ptr<const PlatformPipelineHandler> handler,
                                      const V4L2::EnumerateResult& enumeration)
{
    GENTL_TRACE(kTraceCameraList, 4, "  checking pipeline handler '%s'", handler->GetName());
    const std::vector<PipelineDevice> pairs = handler->FindCameraDevices(enumeration);
    if (pairs.empty())
        return false;
    GENTL_TRACE(kTraceDevice, 4, "  Pipeline handler found %u potential camera devices",
                static_cast<unsigned>(pairs.size()));
    for (const PipelineDevice& pair : pairs) {
        GENTL_TRACE(kTraceDevice, 4, "   - capture=%s camera=%s", pair.capturePath.c_str(),
                    pair.cameraPath.c_str());
        TestPair(handler, pair);
    }
    return true;
}

void CameraDeviceManager::TestPair(const std::shared_ptr<const PlatformPipelineHandler>& handler,
                                   const PipelineDevice& pair)
{
    try {
        mcm::DeviceInformation device = callables_.readDeviceInformation(pair.cameraPath);
        if (device.modelName != kSupportedModel)
            return;
        cameras_.push_back(callables_.makeCamera(handler, {std::move(device), pair}));
    } catch (const std::runtime_error& error) {
        GENTL_TRACE(kTraceCameraList, 4, "Could not use '%s': %s", pair.cameraPath.c_str(),
                    error.what());
    }
}

std::unique_ptr<CameraDeviceManager> CreateCameraDeviceManager()
{
    CameraDeviceManager::Callables callables;
    callables.enumerate = V4L2::Enumerate;
    for (const PlatformPipelineHandlerMaker make : PlatformPipelineHandlerFactory())
        callables.handlerFactories.emplace_back(make);
    callables.readDeviceInformation = [](const std::string& cameraPath) {
        return mcm::CameraDriver(cameraPath).getDeviceInformation();
    };
    callables.makeCamera = [](std::shared_ptr<const PlatformPipelineHandler> handler,
                              CameraInformation information) {
        return std::make_shared<Camera>(openCameraModule, std::move(handler),
                                        std::move(information));
    };
    return std::make_unique<CameraDeviceManager>(std::move(callables));
}

} // namespace GenTLProducer
