// What stands behind the handle of the control block: its registers and its list of sections.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "bus/bus_device_implementation.h"
#include "bus/trigger_device.h"

namespace mcm
{

enum class SectionType : std::uint16_t { GenericDevice = 0, I2cDevice = 6, TriggerDevice = 7 };

class McmDeviceImplementation final : public BusDeviceImplementation
{
public:
    /// Runs the open sequence.
    explicit McmDeviceImplementation(std::shared_ptr<IMcmBridge> bridge);

    const std::string& firmwareVersion() const noexcept { return firmwareVersion_; }
    void reset() const;

    BusDeviceImplementation bootstrapDevice() const;
    BusDeviceImplementation genericDevice(unsigned index) const;
    BusDeviceImplementation i2cDevice(std::uint16_t i2cAddress) const;
    TriggerDeviceImplementation triggerDevice() const;

private:
    void mapRegisterBlock();
    void checkInterface() const;
    std::uint32_t readLimit(DeviceAddress address, const char* name) const;
    std::string readFirmwareVersion() const;

    template <typename Filter>
    DeviceAddress findSection(SectionType type, Filter filter) const;
    ChunkedConnection chipConnection() const;

    std::string firmwareVersion_;
};

} // namespace mcm
