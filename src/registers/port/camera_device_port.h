// The port of the remote device: the camera as a consumer configures it.
#pragma once

#include <cstdint>
#include <memory>

#include "features/camera_registers.h"
#include "features/runtime_mcm.h"
#include "modules/generic/default_port.h"
#include "platform/platform_pipeline_handler.h"
#include "registers/port/poll_thread.h"
#include "registers/space/cregister_map.h"

namespace GenTLProducer
{

/// Looks like the register window of a device: the emulated registers from address 0 on, the
/// description of the camera at 0xC0000000.
///
/// Opened once: a device makes a new port each time it is opened. Every access and the poll
/// thread hold the port's lock. What module, grabber or bus throw on an access passes through.
class CameraDevicePort final : public CDefaultPort<IPort>, public ICtrlRegisterHandler
{
public:
    /// Handler, grabber and module stay the caller's and must outlive the open port. The access
    /// status, a DEVICE_ACCESS_STATUS, decides on reading and writing.
    CameraDevicePort(InfoPtr deviceInfo, const PlatformPipelineHandler* handler,
                     V4lX::IStreamGrabber* grabber, mcm::ICameraModule* module,
                     DEVICE_ACCESS_STATUS accessStatus);
    ~CameraDevicePort() override;

    /// GC_ERR_NOT_INITIALIZED while closed, GC_ERR_ACCESS_DENIED by the access status,
    /// GC_ERR_INVALID_PARAMETER past the end of the space, GC_ERR_ERROR for a register that
    /// refuses. The size isn't changed.
    GC_ERROR WritePort(std::uint64_t iAddress, const void* pBuffer, std::size_t* piSize) override;
    GC_ERROR ReadPort(std::uint64_t iAddress, void* pBuffer, std::size_t* piSize) override;

    /// Builds the features and sends the default configuration to the camera, then starts the
    /// poll thread. Throws what module, grabber and platform throw; the port stays closed then.
    GC_ERROR Open();
    /// Waits for the poll thread, which takes the port's lock: no caller may hold that.
    void Close();

    void setRegisterSpace(IRegister* root) override;

private:
    void CreatePortInfo() override;
    GC_ERROR PublishDescription();
    GC_ERROR StartPolling();
    void Poll() noexcept;
    bool IsWritable() const;
    bool IsInSpace(std::uint64_t address, std::size_t size) const;

    const InfoPtr deviceInfo_;
    const PlatformPipelineHandler* const handler_;
    V4lX::IStreamGrabber* const grabber_;
    mcm::ICameraModule* const module_;
    const DEVICE_ACCESS_STATUS accessStatus_;

    CRegisterMap description_;
    IRegister* registerSpace_ = nullptr; ///< part of camera_
    std::unique_ptr<RuntimeMCM> runtime_;
    std::unique_ptr<CameraRegisters> camera_;
    PollThread pollThread_;
};

} // namespace GenTLProducer
