#include "platform/camera.h"

#include "bus/camera_driver.h"
#include "bus/mcm_device.h"
#include "bus/tolmen_camera_driver_bridge.h"
#include "module/camera_module_ap1302.h"
#include "module/trigger_feature.h"

namespace GenTLProducer
{

std::unique_ptr<mcm::ICameraModule> openCameraModule(const std::string& cameraPath,
                                                     const std::string& /*serialNumber*/)
{
    auto driver = std::make_shared<mcm::CameraDriver>(cameraPath);
    const mcm::CsiConfiguration csi = driver->getCsiConfiguration();
    auto bridge = std::make_shared<mcm::TolmenCameraDriverBridge>(std::move(driver));
    auto control = std::make_shared<mcm::McmDevice>(std::move(bridge));
    auto module = std::make_unique<mcm::CameraModuleAP1302>(std::move(control), csi,
                                                            mcm::makeTriggerFeature);
    module->Initialize();
    return module;
}

} // namespace GenTLProducer
