#include "registers/port/camera_device_port.h"

#include <chrono>
#include <exception>
#include <stdexcept>
#include <system_error>
#include <utility>
#include <vector>

#include "base/scope_exit.h"
#include "modules/generic/port_description.h"
#include "platform/pipeline_agent.h"
#include "trace/gentl_trace.h"

namespace GenTLProducer
{

namespace
{

constexpr std::uint64_t kDescriptionAddress = 0xC0000000;
constexpr std::uint64_t kDescriptionMask = 0xF0000000;
constexpr std::chrono::milliseconds kPollPeriod{500};

// Trace thresholds.
constexpr std::int32_t kFailures = 1;
constexpr std::int32_t kPolling = 2;

} // namespace

CameraDevicePort::CameraDevicePort(InfoPtr deviceInfo, const PlatformPipelineHandler* handler,
                                   V4lX::IStreamGrabber* grabber, mcm::ICameraModule* module,
                                   DEVICE_ACCESS_STATUS accessStatus)
    : deviceInfo_(std::move(deviceInfo)), handler_(handler), grabber_(grabber), module_(module),
      accessStatus_(accessStatus), pollThread_(kPollPeriod, [this] { Poll(); })
{
}

CameraDevicePort::~CameraDevicePort()
{
    Close();
}

GC_ERROR CameraDevicePort::WritePort(std::uint64_t iAddress, const void* pBuffer,
                                     std::size_t* piSize)
{
    const Lock lock(mutex_);
    if (!isOpen_)
        return GC_ERR_NOT_INITIALIZED;
    if (!IsWritable())
        return GC_ERR_ACCESS_DENIED;
    if (piSize == nullptr)
        return GC_ERR_INVALID_PARAMETER;
    if (registerSpace_ == nullptr)
        return GC_ERR_NOT_INITIALIZED;
    if (!IsInSpace(iAddress, *piSize))
        return GC_ERR_INVALID_PARAMETER;

    const RegisterStatus status = registerSpace_->write(
        static_cast<std::uint32_t>(iAddress), pBuffer, static_cast<std::uint32_t>(*piSize));
    if (status == kStatusSuccess)
        return GC_ERR_SUCCESS;
    GENTL_TRACE(kTraceDevice, kFailures, "Write register 0x%lx with size %zu failed. Error 0x%x",
                static_cast<unsigned long>(iAddress), *piSize, status);
    return GC_ERR_ERROR;
}

GC_ERROR CameraDevicePort::ReadPort(std::uint64_t iAddress, void* pBuffer, std::size_t* piSize)
{
    const Lock lock(mutex_);
    if (!isOpen_)
        return GC_ERR_NOT_INITIALIZED;
    if (accessStatus_ == DEVICE_ACCESS_STATUS_NOACCESS)
        return GC_ERR_ACCESS_DENIED;
    if (piSize == nullptr)
        return GC_ERR_INVALID_PARAMETER;
    if ((iAddress & kDescriptionMask) == kDescriptionAddress) {
        description_.UserRead(iAddress, pBuffer, *piSize);
        return GC_ERR_SUCCESS;
    }
    if (registerSpace_ == nullptr)
        return GC_ERR_NOT_INITIALIZED;
    if (!IsInSpace(iAddress, *piSize))
        return GC_ERR_INVALID_PARAMETER;

    const RegisterStatus status = registerSpace_->read(
        static_cast<std::uint32_t>(iAddress), pBuffer, static_cast<std::uint32_t>(*piSize));
    if (status == kStatusSuccess)
        return GC_ERR_SUCCESS;
    GENTL_TRACE(kTraceDevice, kFailures, "Read register 0x%lx with size %zu failed. Error 0x%x",
                static_cast<unsigned long>(iAddress), *piSize, status);
    return GC_ERR_ERROR;
}

bool CameraDevicePort::IsWritable() const
{
    return accessStatus_ == DEVICE_ACCESS_STATUS_READWRITE ||
           accessStatus_ == DEVICE_ACCESS_STATUS_OPEN_READWRITE;
}

bool CameraDevicePort::IsInSpace(std::uint64_t address, std::size_t size) const
{
    const std::uint64_t end = registerSpace_->size();
    return address < end && size <= end - address;
}

GC_ERROR CameraDevicePort::Open()
{
    const Lock lock(mutex_);
    if (const GC_ERROR error = OpenPort(); error != GC_ERR_SUCCESS)
        return error;
    if (const GC_ERROR error = PublishDescription(); error != GC_ERR_SUCCESS)
        return error;

    ScopeExit undo([this] {
        registerSpace_ = nullptr;
        camera_.reset();
        runtime_.reset();
    });
    runtime_ = std::make_unique<RuntimeMCM>(this, module_, grabber_,
                                            std::make_unique<PipelineAgent>(handler_));
    camera_ = CreateCameraRegisters(runtime_.get());
    camera_->run();
    if (const GC_ERROR error = StartPolling(); error != GC_ERR_SUCCESS)
        return error;
    undo.release();
    isOpen_ = true;
    return GC_ERR_SUCCESS;
}

GC_ERROR CameraDevicePort::PublishDescription()
{
    std::vector<std::uint8_t> xmlBytes;
    boost::shared_ptr<CDefaultUrlInfo> urlInfo;
    if (!AttachPortXml(portInfo_->GetId(), xmlBytes, urlInfo, kDescriptionAddress))
        return GC_ERR_ERROR;
    description_.Declare(kDescriptionAddress, CRegisterMap::kReadable, xmlBytes.data(),
                         xmlBytes.size(), nullptr);
    urls_.push_back(urlInfo);
    return GC_ERR_SUCCESS;
}

GC_ERROR CameraDevicePort::StartPolling()
{
    try {
        pollThread_.Start();
        return GC_ERR_SUCCESS;
    } catch (const std::system_error& error) {
        GENTL_TRACE(kTraceDevice, kFailures, "Exception occurred while creating thread: %s",
                    error.what());
        return GC_ERR_ERROR;
    }
}

void CameraDevicePort::Poll() noexcept
{
    const Lock lock(mutex_);
    try {
        camera_->trig_update();
    } catch (const std::runtime_error& error) {
        GENTL_TRACE(kTraceDevice, kPolling, "Exception occurred while calling trig_update: %s",
                    error.what());
    } catch (...) {
        GENTL_TRACE(kTraceDevice, kPolling, "Unknown exception occurred while calling trig_update");
    }
}

void CameraDevicePort::Close()
{
    const auto isOpen = [this] {
        const Lock lock(mutex_);
        return isOpen_;
    };
    if (isOpen()) {
        try {
            pollThread_.Stop();
        } catch (const std::system_error& error) {
            GENTL_TRACE(kTraceDevice, kPolling, "Exception occurred while calling join: %s",
                        error.what());
        }
        const Lock lock(mutex_);
        camera_.reset();
        runtime_.reset();
        isOpen_ = false;
    }
    ClosePort();
}

void CameraDevicePort::setRegisterSpace(IRegister* root)
{
    registerSpace_ = root;
}

void CameraDevicePort::CreatePortInfo()
{
    SetPortInfo({CDefaultPortInfo::Endianness::Big, kRemotePortId, "Device", "Device",
                 ReadInfoString(deviceInfo_, DEVICE_INFO_VENDOR),
                 ReadInfoString(deviceInfo_, DEVICE_INFO_MODEL), "2.0.0", "Custom",
                 "Tolmen ZEVO GenTL Producer"});
}

} // namespace GenTLProducer
