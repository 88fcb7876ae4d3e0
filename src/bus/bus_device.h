// Handle of one register space of a camera module.
#pragma once

#include <cstdint>
#include <memory>

namespace mcm
{

class BusDeviceImplementation;

/// Typed registers in the device's own addresses. Movable; a handle that was moved from throws
/// std::runtime_error on use. Transfers throw std::range_error for an address outside the
/// device's map, and what the bridge throws. Any thread; each call is one transfer under the
/// bridge's lock, so a read followed by a write isn't atomic.
class BusDevice
{
public:
    /// Takes over the implementation.
    explicit BusDevice(std::unique_ptr<BusDeviceImplementation> implementation) noexcept;
    BusDevice(BusDevice&& other) noexcept;
    BusDevice& operator=(BusDevice&& other) noexcept;
    BusDevice(const BusDevice&) = delete;
    BusDevice& operator=(const BusDevice&) = delete;
    virtual ~BusDevice();

    virtual void write(std::uint16_t deviceAddress, std::uint8_t value);
    virtual void write(std::uint16_t deviceAddress, std::uint16_t value);
    virtual void write(std::uint16_t deviceAddress, std::uint32_t value);
    virtual void write(std::uint16_t deviceAddress, std::uint64_t value);
    virtual void read(std::uint16_t deviceAddress, std::uint8_t* result);
    virtual void read(std::uint16_t deviceAddress, std::uint16_t* result);
    virtual void read(std::uint16_t deviceAddress, std::uint32_t* result);
    virtual void read(std::uint16_t deviceAddress, std::uint64_t* result);
    /// Bytes as they are.
    virtual void writeBlock(std::uint16_t deviceAddress, const void* data, long size);
    virtual void readBlock(std::uint16_t deviceAddress, void* data, long size);

private:
    const BusDeviceImplementation& implementation() const;

    std::unique_ptr<BusDeviceImplementation> implementation_;
};

} // namespace mcm
