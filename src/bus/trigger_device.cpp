#include "bus/trigger_device.h"

#include <stdexcept>

namespace mcm
{

namespace
{

template <typename Register>
DeviceAddress addressOf(Register position) noexcept
{
    return DeviceAddress{static_cast<std::uint16_t>(position)};
}

} // namespace

const TriggerDeviceImplementation& TriggerDevice::implementation() const
{
    if (!implementation_)
        throw std::runtime_error("TriggerDevice no longer exists.");
    return *implementation_;
}

std::uint16_t TriggerDevice::read(TriggerRegister16 position) const
{
    return implementation().read<std::uint16_t>(addressOf(position));
}

std::uint32_t TriggerDevice::read(TriggerRegister32 position) const
{
    return implementation().read<std::uint32_t>(addressOf(position));
}

void TriggerDevice::write(TriggerRegister16 position, std::uint16_t value)
{
    implementation().write(addressOf(position), value);
}

void TriggerDevice::write(TriggerRegister32 position, std::uint32_t value)
{
    implementation().write(addressOf(position), value);
}

} // namespace mcm
