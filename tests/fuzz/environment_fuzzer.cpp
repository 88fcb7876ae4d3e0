// Environment variables: numbers of the trace settings, and the lane data rate of the ISP.
#include <cstdlib>
#include <stdexcept>
#include <string>

#include "bus/camera_driver.h"
#include "bus/mcm_device.h"
#include "bus/tolmen_camera_driver_bridge.h"
#include "data/camera_data.h"
#include "host.h"
#include "module/camera_module_ap1302.h"
#include "module/trigger_feature.h"
#include "sim/core/camera.h"
#include "trace/environment.h"

namespace
{

/// A camera that waits for its firmware.
class WaitingCamera final : public fuzz::Host
{
public:
    WaitingCamera() : camera_(options()) {}

    long ioctl(int /*fd*/, unsigned long request, void* argument) override
    {
        return camera_.Ioctl(request, argument);
    }

private:
    static zevo_sim::CameraOptions options()
    {
        zevo_sim::CameraOptions options;
        options.firmware = mcm::firmwareImage();
        options.logsTransfers = false;
        return options;
    }

    zevo_sim::Camera camera_;
};

void boot()
{
    WaitingCamera camera;
    const auto driver = std::make_shared<mcm::CameraDriver>("/dev/null");
    auto control =
        std::make_shared<mcm::McmDevice>(std::make_shared<mcm::TolmenCameraDriverBridge>(driver));
    mcm::CameraModuleAP1302 module(std::move(control), driver->getCsiConfiguration(),
                                   mcm::makeTriggerFeature);
    module.Initialize();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string text(reinterpret_cast<const char*>(data), size);
    ::setenv("ISP_LANE_DATARATE", text.c_str(), 1);
    GenTLProducer::ReadEnvironmentInteger("ISP_LANE_DATARATE", 1);
    try {
        boot();
    } catch (const std::runtime_error&) {
        // A rate that there is no clock set-up for.
    }
    ::unsetenv("ISP_LANE_DATARATE");
    return 0;
}
