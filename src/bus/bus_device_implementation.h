// What stands behind the handle of a bus device: a connection and an address map.
#pragma once

#include <cstdint>
#include <set>

#include "bus/address.h"
#include "bus/chunked_connection.h"

namespace mcm
{

/// One contiguous range of a device's registers on the bus.
struct MappingEntry {
    std::uint16_t CciAddressStart;
    std::uint16_t DeviceAddressStart;
    std::uint64_t AddressRangeSize;
};

/// Translates device addresses and moves values through the connection. The map and the limits
/// are set while the device is built; from then on any thread may use it. Only the first address
/// of a transfer is mapped: one that runs past its entry goes on in CCI space.
class BusDeviceImplementation
{
public:
    explicit BusDeviceImplementation(ChunkedConnection connection)
        : connection_(std::move(connection))
    {
    }
    BusDeviceImplementation(const BusDeviceImplementation&) = default;
    BusDeviceImplementation& operator=(const BusDeviceImplementation&) = default;
    BusDeviceImplementation(BusDeviceImplementation&&) noexcept = default;
    BusDeviceImplementation& operator=(BusDeviceImplementation&&) noexcept = default;
    virtual ~BusDeviceImplementation() = default;

    /// A second entry with the same device address changes nothing.
    void addMapping(const MappingEntry& entry);
    void setLimits(TransferLimits limits) noexcept { connection_.setLimits(limits); }
    const ChunkedConnection& connection() const noexcept { return connection_; }

    /// Throws std::range_error for an address that no entry covers. The address right behind an
    /// entry still counts as covered.
    CciAddress map(DeviceAddress address) const;

    /// Unsigned integers of 1, 2, 4 and 8 bytes, most significant byte first on the bus.
    template <typename T>
    void write(DeviceAddress address, T value) const;
    template <typename T>
    T read(DeviceAddress address) const;

    void writeBlock(DeviceAddress address, const void* data, long size) const;
    void readBlock(DeviceAddress address, void* data, long size) const;

private:
    struct ByDeviceAddress {
        using is_transparent = void;
        bool operator()(const MappingEntry& left, const MappingEntry& right) const noexcept
        {
            return left.DeviceAddressStart < right.DeviceAddressStart;
        }
        bool operator()(DeviceAddress left, const MappingEntry& right) const noexcept
        {
            return left.value < right.DeviceAddressStart;
        }
    };

    const MappingEntry& findEntry(DeviceAddress address) const;

    ChunkedConnection connection_;
    std::set<MappingEntry, ByDeviceAddress> mapping_;
};

extern template void BusDeviceImplementation::write(DeviceAddress, std::uint8_t) const;
extern template void BusDeviceImplementation::write(DeviceAddress, std::uint16_t) const;
extern template void BusDeviceImplementation::write(DeviceAddress, std::uint32_t) const;
extern template void BusDeviceImplementation::write(DeviceAddress, std::uint64_t) const;
extern template std::uint8_t BusDeviceImplementation::read(DeviceAddress) const;
extern template std::uint16_t BusDeviceImplementation::read(DeviceAddress) const;
extern template std::uint32_t BusDeviceImplementation::read(DeviceAddress) const;
extern template std::uint64_t BusDeviceImplementation::read(DeviceAddress) const;

} // namespace mcm
