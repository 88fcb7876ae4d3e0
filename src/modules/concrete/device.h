// The device module of this producer: one camera with its grabber, remote port and stream.
#pragma once

#include <functional>
#include <memory>
#include <mutex>

#include "capture/grabber/istream_grabber.h"
#include "modules/generic/default_device.h"
#include "modules/generic/event_nodemap_delivered.h"
#include "platform/camera.h"
#include "registers/port/camera_device_port.h"

namespace GenTLProducer
{

class Device final : public CDefaultDevice, public Camera::ISurpriseRemoval
{
public:
    using GrabberFactory = std::function<std::unique_ptr<V4lX::IStreamGrabber>(
        const std::string& capturePath, mcm::ICameraModule* module)>;

    /// Stores its arguments and opens nothing.
    Device(std::shared_ptr<Camera> camera, InfoPtr deviceInfo, Handle parent,
           DEVICE_ACCESS_FLAGS iOpenFlags, GrabberFactory makeGrabber);
    ~Device() override;

    /// Opens the camera, makes grabber and remote port, and lists the one stream.
    GC_ERROR Open() override;
    void Close() override;
    GC_ERROR GetPort(PORT_HANDLE* phRemoteDev) override;
    GC_ERROR RegisterEvent(std::int32_t iEventID, EVENT_HANDLE* phEvent) override;
    GC_ERROR UnregisterEvent(std::int32_t iEventID) override;

    /// Comes from a port write under the port's lock and takes none of this module's but the
    /// event's own.
    void OnSurpriseRemoval() override;

private:
    void CreatePortInfo() override;
    GC_ERROR CreateStream(std::size_t index, DS_HANDLE* phDataStream) override;
    GC_ERROR OpenCamera();
    GC_ERROR OpenRemotePort();

    GrabberFactory makeGrabber_;
    std::shared_ptr<Camera> camera_;
    std::unique_ptr<V4lX::IStreamGrabber> grabber_;
    boost::shared_ptr<CameraDevicePort> remotePort_;
    Handle remotePortHandle_ = 0;
    mutable std::mutex eventMutex_; // leaf: guards the reference
    boost::shared_ptr<CNodemapDeliveredEvent> moduleEvent_;
};

/// The device of real cameras; null without a camera.
boost::shared_ptr<IDevice> MakeDevice(std::shared_ptr<Camera> camera, InfoPtr deviceInfo,
                                      Handle parent, DEVICE_ACCESS_FLAGS iOpenFlags);

} // namespace GenTLProducer
