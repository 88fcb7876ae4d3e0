// One camera of the board: where it is and, while open, its camera module.
#pragma once

#include <atomic>
#include <functional>
#include <memory>
#include <string>

#include "bus/device_information.h"
#include "module/icamera_module.h"
#include "platform/platform_pipeline_handler.h"

namespace GenTLProducer
{

/// The one camera model that this producer is for.
inline constexpr char kSupportedModel[] = "zvK1800-45tqr";

/// What is known of a found camera.
struct CameraInformation {
    mcm::DeviceInformation device;
    PipelineDevice nodes;
};

/// Made closed by the scan of the board. Closed or open; open means that it has a camera module.
/// It can be opened again after a Close and after a failed Open. One thread at a time.
class Camera final : public mcm::ICameraModule::IModuleEvent
{
public:
    /// Told that the camera was reset. Called on the thread that wrote the reset.
    class ISurpriseRemoval
    {
    public:
        virtual void OnSurpriseRemoval() = 0;

    protected:
        ~ISurpriseRemoval() = default;
    };

    /// Brings up the module behind a camera node. Throws std::runtime_error.
    using OpenFunction = std::function<std::unique_ptr<mcm::ICameraModule>(
        const std::string& cameraPath, const std::string& serialNumber)>;

    Camera(OpenFunction open, std::shared_ptr<const PlatformPipelineHandler> handler,
           CameraInformation information);
    Camera(const Camera&) = delete;
    Camera& operator=(const Camera&) = delete;
    ~Camera() override;

    /// 0, or the negative value of EFAULT with the reason in the camera log. A module from an
    /// earlier Open is replaced.
    int Open();
    void Close();

    /// Null while closed.
    mcm::ICameraModule* GetCameraModule() const noexcept { return module_.get(); }
    const std::string& GetCaptureDevicePath() const noexcept
    {
        return information_.nodes.capturePath;
    }
    const CameraInformation& GetInformation() const noexcept { return information_; }
    const PlatformPipelineHandler* GetPipelineHandler() const noexcept { return handler_.get(); }

    /// The handler stays the caller's, which clears it before it goes.
    void SetSurpriseRemovalHandler(ISurpriseRemoval* handler) noexcept { removal_ = handler; }
    void ClearSurpriseRemovalHandler() noexcept { removal_ = nullptr; }

    void OnDeviceLost() override;

private:
    OpenFunction open_;
    std::shared_ptr<const PlatformPipelineHandler> handler_;
    CameraInformation information_;
    std::unique_ptr<mcm::ICameraModule> module_;
    std::atomic<ISurpriseRemoval*> removal_{nullptr};
};

/// The open function of real cameras: kernel driver, bridge, control device and camera module
/// on a camera node, the ISP booted.
std::unique_ptr<mcm::ICameraModule> openCameraModule(const std::string& cameraPath,
                                                     const std::string& serialNumber);

} // namespace GenTLProducer
