#include "platform/camera.h"

#include <cerrno>
#include <stdexcept>

#include "trace/camera_log.h"

namespace GenTLProducer
{

Camera::Camera(OpenFunction open, std::shared_ptr<const PlatformPipelineHandler> handler,
               CameraInformation information)
    : open_(std::move(open)), handler_(std::move(handler)), information_(std::move(information))
{
}

Camera::~Camera()
{
    Close();
}

int Camera::Open()
{
    try {
        handler_->PrepareDevice(information_.nodes.capturePath);
        module_ = open_(information_.nodes.cameraPath, information_.device.serialNumber);
    } catch (const std::runtime_error& error) {
        MCM_LOG(kLogWarning, kLogAlways) << "Failed to open camera: " << error.what() << '\n';
        return -EFAULT;
    }
    module_->RegisterCallback(this);
    return 0;
}

void Camera::Close()
{
    if (!module_)
        return;
    module_->UnregisterCallback();
    module_.reset();
}

void Camera::OnDeviceLost()
{
    if (ISurpriseRemoval* const handler = removal_)
        handler->OnSurpriseRemoval();
}

} // namespace GenTLProducer
