#include "modules/concrete/device.h"

#include <boost/make_shared.hpp>

#include "base/last_error.h"
#include "capture/binding/stream.h"
#include "capture/grabber/stream_grabber.h"
#include "trace/gentl_trace.h"

namespace GenTLProducer
{

namespace
{

constexpr std::uint32_t kEventDeviceLost = 0;        // entry of the event selector
constexpr std::uint32_t kEventIdDeviceLost = 0x1234; // EventID in the device's description
constexpr std::uint32_t kDeviceLostValue = 1;

} // namespace

Device::Device(std::shared_ptr<Camera> camera, InfoPtr deviceInfo, Handle parent,
               DEVICE_ACCESS_FLAGS iOpenFlags, GrabberFactory makeGrabber)
    : CDefaultDevice(std::move(deviceInfo), parent, iOpenFlags),
      makeGrabber_(std::move(makeGrabber)), camera_(std::move(camera))
{
}

Device::~Device()
{
    Device::Close();
}

GC_ERROR Device::Open()
{
    const Lock lock(mutex_);
    if (const GC_ERROR result = CDefaultDevice::Open(); result != GC_ERR_SUCCESS)
        return result;
    const DEVICE_ACCESS_STATUS status = GetAccessStatus();
    if (status == DEVICE_ACCESS_STATUS_UNKNOWN || status == DEVICE_ACCESS_STATUS_NOACCESS)
        return GC_ERR_ACCESS_DENIED;
    if (const GC_ERROR result = OpenCamera(); result != GC_ERR_SUCCESS)
        return result;
    if (const GC_ERROR result = OpenRemotePort(); result != GC_ERR_SUCCESS)
        return result;
    AddStream(boost::make_shared<CDefaultStaticStreamInfo>(
        CDefaultStaticStreamInfo::Fields{"Stream0", "Custom", 5}));
    return GC_ERR_SUCCESS;
}

GC_ERROR Device::OpenCamera()
{
    static constexpr char kFailure[] = "Failed to open the camera";

    camera_->SetSurpriseRemovalHandler(this);
    if (camera_->Open() < 0) {
        GENTL_TRACE(kTraceDevice, 1, "%s", kFailure);
        SetLastError(GC_ERR_ERROR, kFailure);
        return kErrorAlreadyStored;
    }
    grabber_ = makeGrabber_(camera_->GetCaptureDevicePath(), camera_->GetCameraModule());
    return GC_ERR_SUCCESS;
}

GC_ERROR Device::OpenRemotePort()
{
    remotePort_ = boost::make_shared<CameraDevicePort>(deviceInfo_, camera_->GetPipelineHandler(),
                                                       grabber_.get(), camera_->GetCameraModule(),
                                                       GetAccessStatus());
    if (const GC_ERROR result = remotePort_->Open(); result != GC_ERR_SUCCESS)
        return result;
    remotePortHandle_ = HandleRegistry::Instance()->AddPort(remotePort_);
    return GC_ERR_SUCCESS;
}

void Device::Close()
{
    const Lock lock(mutex_);
    if (remotePortHandle_ != 0) {
        HandleRegistry::Instance()->Remove(remotePortHandle_);
        remotePortHandle_ = 0;
    }
    if (remotePort_) {
        remotePort_->Close();
        remotePort_.reset();
    }
    streams_.clear();
    if (camera_) {
        camera_->ClearSurpriseRemovalHandler();
        camera_->Close();
        camera_.reset();
    }
    CDefaultDevice::Close();
}

void Device::CreatePortInfo()
{
    SetPortInfo({CDefaultPortInfo::Endianness::Big, kDevicePortId, "TLDevice", "DevicePort",
                 "Tolmen", "ZEVO", "2.0.0", "Custom", "Tolmen ZEVO GenTL Producer"});
}

GC_ERROR Device::GetPort(PORT_HANDLE* phRemoteDev)
{
    const Lock lock(mutex_);
    if (!isOpen_)
        return GC_ERR_NOT_INITIALIZED;
    *phRemoteDev = ToOpaque(remotePortHandle_);
    return remotePortHandle_ != 0 ? GC_ERR_SUCCESS : GC_ERR_NOT_IMPLEMENTED;
}

GC_ERROR Device::CreateStream(std::size_t index, DS_HANDLE* phDataStream)
{
    ChildEntry<IStream>& entry = streams_[index];
    const auto child =
        boost::make_shared<Stream>(entry.info, GetHandle(), grabber_.get(), remotePort_.get());
    if (const GC_ERROR result = child->Open(); result != GC_ERR_SUCCESS)
        return result;
    child->SetHandle(HandleRegistry::Instance()->AddModule(child));
    entry.module = child;
    *phDataStream = ToOpaque(child->GetHandle());
    return GC_ERR_SUCCESS;
}

GC_ERROR Device::RegisterEvent(std::int32_t iEventID, EVENT_HANDLE* phEvent)
{
    const Lock lock(mutex_);
    if (!isOpen_)
        return GC_ERR_NOT_INITIALIZED;
    if (iEventID != EVENT_MODULE)
        return GC_ERR_NOT_IMPLEMENTED;
    const std::lock_guard<std::mutex> eventLock(eventMutex_);
    if (moduleEvent_)
        return GC_ERR_RESOURCE_IN_USE;
    const auto event = boost::make_shared<CNodemapDeliveredEvent>(sizeof kDeviceLostValue);
    if (const GC_ERROR result = event->OpenEvent(); result != GC_ERR_SUCCESS)
        return result;
    const Handle handle = HandleRegistry::Instance()->AddEvent(event);
    event->SetHandle(handle);
    moduleEvent_ = event;
    *phEvent = ToOpaque(handle);
    return GC_ERR_SUCCESS;
}

GC_ERROR Device::UnregisterEvent(std::int32_t iEventID)
{
    const Lock lock(mutex_);
    if (!isOpen_)
        return GC_ERR_NOT_INITIALIZED;
    if (iEventID != EVENT_MODULE)
        return GC_ERR_NOT_IMPLEMENTED;
    boost::shared_ptr<CNodemapDeliveredEvent> event;
    {
        const std::lock_guard<std::mutex> eventLock(eventMutex_);
        event.swap(moduleEvent_);
    }
    if (!event)
        return GC_ERR_INVALID_PARAMETER;
    event->Close();
    return GC_ERR_SUCCESS;
}

void Device::OnSurpriseRemoval()
{
    GENTL_TRACE(kTraceDevice, 5, "Event OnSurpriseRemoval");
    boost::shared_ptr<CNodemapDeliveredEvent> event;
    {
        const std::lock_guard<std::mutex> eventLock(eventMutex_);
        event = moduleEvent_;
    }
    if (event && TakeNotification(kEventDeviceLost))
        event->Push(kEventIdDeviceLost, &kDeviceLostValue, sizeof kDeviceLostValue);
}

boost::shared_ptr<IDevice> MakeDevice(std::shared_ptr<Camera> camera, InfoPtr deviceInfo,
                                      Handle parent, DEVICE_ACCESS_FLAGS iOpenFlags)
{
    if (!camera)
        return nullptr;
    return boost::make_shared<Device>(
        std::move(camera), std::move(deviceInfo), parent, iOpenFlags,
        [](const std::string& capturePath, mcm::ICameraModule* module) {
            return V4lX::CreateStreamGrabber(capturePath, module->GetImageProcessing());
        });
}

} // namespace GenTLProducer
