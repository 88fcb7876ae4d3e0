// Handle of the trigger section of a camera module.
#pragma once

#include <cstdint>
#include <memory>

#include "bus/bus_device_implementation.h"

namespace mcm
{

/// The registers of the section stand at these offsets; what they do isn't known.
enum class TriggerRegister16 : std::uint16_t {
    At6 = 6,
    FlagAt20 = 20, ///< 1 means true
    At22 = 22,
    At28 = 28, ///< read-only
};
enum class TriggerRegister32 : std::uint16_t { At8 = 8, At12 = 12, At16 = 16, At24 = 24 };

class TriggerDeviceImplementation final : public BusDeviceImplementation
{
public:
    using BusDeviceImplementation::BusDeviceImplementation;
};

/// Movable; a handle that was moved from throws std::runtime_error on use. Otherwise as a
/// BusDevice.
class TriggerDevice final
{
public:
    explicit TriggerDevice(std::unique_ptr<TriggerDeviceImplementation> implementation) noexcept
        : implementation_(std::move(implementation))
    {
    }

    std::uint16_t read(TriggerRegister16 position) const;
    std::uint32_t read(TriggerRegister32 position) const;
    void write(TriggerRegister16 position, std::uint16_t value);
    void write(TriggerRegister32 position, std::uint32_t value);

private:
    const TriggerDeviceImplementation& implementation() const;

    std::unique_ptr<TriggerDeviceImplementation> implementation_;
};

} // namespace mcm
