// Handle of a camera module's control block.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "bus/bus_device.h"
#include "bus/imcm_bridge.h"
#include "bus/trigger_device.h"

namespace mcm
{

class McmDeviceImplementation;

/// Where the module tells what it consists of. Hands out the devices of the module; those keep
/// the bridge alive and don't depend on this handle. Movable; a handle that was moved from throws
/// std::runtime_error on use.
class McmDevice
{
public:
    /// Finds the control block, its transfer limits and the firmware version. Throws
    /// std::runtime_error for an interface other than 2.x and when the block can't be read.
    explicit McmDevice(std::shared_ptr<IMcmBridge> bridge);
    McmDevice(McmDevice&& other) noexcept;
    McmDevice& operator=(McmDevice&& other) noexcept;
    McmDevice(const McmDevice&) = delete;
    McmDevice& operator=(const McmDevice&) = delete;
    virtual ~McmDevice();

    /// As it was read at construction.
    std::string getFirmwareVersion() const;
    void resetDevice();

    /// The bootstrap registers: device and CCI addresses are the same.
    BusDevice getBootstrapDevice() const;

    /// The devices below throw std::runtime_error when the module has no such section.
    /// The index counts the sections of generic devices from 0.
    BusDevice getGenericDevice(unsigned index) const;
    BusDevice getI2cDevice(std::uint16_t i2cAddress) const;
    TriggerDevice getTriggerDevice() const;

private:
    const McmDeviceImplementation& implementation() const;

    std::unique_ptr<McmDeviceImplementation> implementation_;
};

} // namespace mcm
