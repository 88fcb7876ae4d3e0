// The interface module of this producer: the cameras of the board as GenTL devices.
#pragma once

#include <memory>

#include "modules/concrete/system_mcm.h"
#include "modules/generic/default_interface.h"

namespace GenTLProducer
{

class Interface final : public CDefaultInterface
{
public:
    Interface(InfoPtr interfaceInfo, Handle parent, DeviceFactory makeDevice,
              std::unique_ptr<CameraDeviceManager> manager);
    ~Interface() override;

    /// Scans the board: the only time that it is searched.
    GC_ERROR Open() override;
    void Close() override;
    /// Compares the list with what the scan left.
    GC_ERROR UpdateDeviceList(bool8_t* pbChanged, std::uint64_t iTimeout) override;

private:
    void CreatePortInfo() override;
    GC_ERROR CreateDevice(std::size_t index, DEVICE_ACCESS_FLAGS iOpenFlags,
                          DEV_HANDLE* phDevice) override;
    std::shared_ptr<Camera> FindCamera(const char* identifier) const;

    std::unique_ptr<CameraDeviceManager> manager_;
    DeviceFactory makeDevice_;
};

} // namespace GenTLProducer
