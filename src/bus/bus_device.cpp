#include "bus/bus_device.h"

#include <stdexcept>
#include <utility>

#include "bus/bus_device_implementation.h"

namespace mcm
{

BusDevice::BusDevice(std::unique_ptr<BusDeviceImplementation> implementation) noexcept
    : implementation_(std::move(implementation))
{
}

BusDevice::BusDevice(BusDevice&& other) noexcept = default;
BusDevice& BusDevice::operator=(BusDevice&& other) noexcept = default;
BusDevice::~BusDevice() = default;

const BusDeviceImplementation& BusDevice::implementation() const
{
    if (!implementation_)
        throw std::runtime_error("BusDevice no longer exists.");
    return *implementation_;
}

void BusDevice::write(std::uint16_t deviceAddress, std::uint8_t value)
{
    implementation().write(DeviceAddress{deviceAddress}, value);
}

void BusDevice::write(std::uint16_t deviceAddress, std::uint16_t value)
{
    implementation().write(DeviceAddress{deviceAddress}, value);
}

void BusDevice::write(std::uint16_t deviceAddress, std::uint32_t value)
{
    implementation().write(DeviceAddress{deviceAddress}, value);
}

void BusDevice::write(std::uint16_t deviceAddress, std::uint64_t value)
{
    implementation().write(DeviceAddress{deviceAddress}, value);
}

void BusDevice::read(std::uint16_t deviceAddress, std::uint8_t* result)
{
    *result = implementation().read<std::uint8_t>(DeviceAddress{deviceAddress});
}

void BusDevice::read(std::uint16_t deviceAddress, std::uint16_t* result)
{
    *result = implementation().read<std::uint16_t>(DeviceAddress{deviceAddress});
}

void BusDevice::read(std::uint16_t deviceAddress, std::uint32_t* result)
{
    *result = implementation().read<std::uint32_t>(DeviceAddress{deviceAddress});
}

void BusDevice::read(std::uint16_t deviceAddress, std::uint64_t* result)
{
    *result = implementation().read<std::uint64_t>(DeviceAddress{deviceAddress});
}

void BusDevice::writeBlock(std::uint16_t deviceAddress, const void* data, long size)
{
    implementation().writeBlock(DeviceAddress{deviceAddress}, data, size);
}

void BusDevice::readBlock(std::uint16_t deviceAddress, void* data, long size)
{
    implementation().readBlock(DeviceAddress{deviceAddress}, data, size);
}

} // namespace mcm
