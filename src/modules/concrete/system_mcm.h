// The system module of this producer: one interface, whatever the board.
#pragma once

#include <functional>
#include <memory>

#include "modules/generic/default_system.h"
#include "platform/camera_device_manager.h"

namespace GenTLProducer
{

/// Makes a closed device module for a camera.
using DeviceFactory = std::function<boost::shared_ptr<IDevice>(std::shared_ptr<Camera>, InfoPtr,
                                                               Handle parent, DEVICE_ACCESS_FLAGS)>;

/// What the producer tells about itself; GCInitLib makes the one record.
InfoPtr MakeSystemInfo();

class SystemMCM final : public CDefaultSystem
{
public:
    using ManagerFactory = std::function<std::unique_ptr<CameraDeviceManager>()>;

    /// On the real board.
    explicit SystemMCM(InfoPtr systemInfo);
    SystemMCM(InfoPtr systemInfo, ManagerFactory makeManager, DeviceFactory makeDevice);
    ~SystemMCM() override;

    GC_ERROR UpdateInterfaceList(bool8_t* pbChanged, std::uint64_t iTimeout) override;

private:
    void CreatePortInfo() override;
    GC_ERROR CreateInterface(std::size_t index, IF_HANDLE* phIface) override;

    ManagerFactory makeManager_;
    DeviceFactory makeDevice_;
};

} // namespace GenTLProducer
