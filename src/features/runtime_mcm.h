// Everything that the register layer of an open camera reaches outside itself.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <utility>

#include "capture/grabber/istream_grabber.h"
#include "module/icamera_module.h"
#include "platform/ipipeline_agent.h"
#include "registers/space/iregister.h"

namespace GenTLProducer
{

/// How the owner of the registers gives the port the root of its register tree.
class ICtrlRegisterHandler
{
public:
    virtual ~ICtrlRegisterHandler() = default;
    /// The root stays the caller's and must live as long as the port is open.
    virtual void setRegisterSpace(IRegister* root) = 0;
};

/// Resets of the camera, as the feature layer asks for them.
class IDeviceReset
{
public:
    virtual ~IDeviceReset() = default;
    virtual void resetDevice() = 0;
};

/// The outward references of an open camera. Made by the remote port; handler, module and
/// grabber stay their owners' and must outlive it.
struct RuntimeMCM {
    class DeviceReset final : public IDeviceReset
    {
    public:
        explicit DeviceReset(mcm::ICameraModule* module) : module_(module) {}
        void resetDevice() override { module_->DeviceReset(); }

    private:
        mcm::ICameraModule* module_;
    };

    /// Reads the two texts from module and grabber, once.
    RuntimeMCM(ICtrlRegisterHandler* registerHandler, mcm::ICameraModule* cameraModule,
               V4lX::IStreamGrabber* streamGrabber, std::unique_ptr<IPipelineAgent> pipelineAgent)
        : handler(registerHandler), module(cameraModule), grabber(streamGrabber),
          agent(std::move(pipelineAgent)), firmwareVersion(module->GetFirmwareVersion()),
          devicePath(grabber->GetDevicePath()), reset(module)
    {
    }

    // What changes the image goes to both sides. The grabber must know of a size or format before
    // the ISP delivers it; an offset counts for it only once the ISP has taken it.

    void setPixelFormat(std::uint32_t pfncValue)
    {
        grabber->SetPixelFormat(pfncValue);
        module->SetPixelFormat(pfncValue);
    }
    void setWidth(std::uint32_t pixels)
    {
        grabber->SetWidth(pixels);
        module->SetWidth(pixels);
    }
    void setHeight(std::uint32_t lines)
    {
        grabber->SetHeight(lines);
        module->SetHeight(lines);
    }
    void setOffsetX(std::uint32_t sensorPixels)
    {
        module->SetOffsetX(sensorPixels);
        grabber->SetOffsetX(sensorPixels);
    }
    void setOffsetY(std::uint32_t sensorLines)
    {
        module->SetOffsetY(sensorLines);
        grabber->SetOffsetY(sensorLines);
    }

    ICtrlRegisterHandler* handler;
    mcm::ICameraModule* module;
    V4lX::IStreamGrabber* grabber;
    std::unique_ptr<IPipelineAgent> agent;
    std::string firmwareVersion;
    std::string devicePath;
    DeviceReset reset;
};

} // namespace GenTLProducer
