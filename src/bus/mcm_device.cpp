#include "bus/mcm_device.h"

#include <stdexcept>
#include <utility>

#include "bus/mcm_device_implementation.h"

namespace mcm
{

namespace
{

BusDevice makeBusDevice(BusDeviceImplementation implementation)
{
    return BusDevice(std::make_unique<BusDeviceImplementation>(std::move(implementation)));
}

} // namespace

McmDevice::McmDevice(std::shared_ptr<IMcmBridge> bridge)
    : implementation_(std::make_unique<McmDeviceImplementation>(std::move(bridge)))
{
}

McmDevice::McmDevice(McmDevice&& other) noexcept = default;
McmDevice& McmDevice::operator=(McmDevice&& other) noexcept = default;
McmDevice::~McmDevice() = default;

const McmDeviceImplementation& McmDevice::implementation() const
{
    if (!implementation_)
        throw std::runtime_error("McmDevice no longer exists.");
    return *implementation_;
}

std::string McmDevice::getFirmwareVersion() const
{
    return implementation().firmwareVersion();
}

void McmDevice::resetDevice()
{
    implementation().reset();
}

BusDevice McmDevice::getBootstrapDevice() const
{
    return makeBusDevice(implementation().bootstrapDevice());
}

BusDevice McmDevice::getGenericDevice(unsigned index) const
{
    return makeBusDevice(implementation().genericDevice(index));
}

BusDevice McmDevice::getI2cDevice(std::uint16_t i2cAddress) const
{
    return makeBusDevice(implementation().i2cDevice(i2cAddress));
}

TriggerDevice McmDevice::getTriggerDevice() const
{
    return TriggerDevice(
        std::make_unique<TriggerDeviceImplementation>(implementation().triggerDevice()));
}

} // namespace mcm
