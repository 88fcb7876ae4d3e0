#include "bus/bus_device_implementation.h"

#include <cstdio>
#include <iterator>
#include <stdexcept>
#include <string>

#include "base/endian.h"
#include "trace/camera_log.h"

namespace mcm
{

namespace
{

std::string hexText(DeviceAddress address)
{
    char text[8];
    std::snprintf(text, sizeof text, "0x%x", static_cast<unsigned>(address.value));
    return text;
}

void logMapping(const MappingEntry& entry, DeviceAddress address)
{
    MCM_LOG(kLogDebug, kLogMapping)
        << "itMapping->DeviceAddressStart " << DeviceAddress{entry.DeviceAddressStart} << "\n";
    MCM_LOG(kLogDebug, kLogMapping)
        << "itMapping->AddressRangeSize   0x" << std::hex << entry.AddressRangeSize << "\n";
    MCM_LOG(kLogDebug, kLogMapping)
        << "itMapping->CciAddressStart    " << CciAddress{entry.CciAddressStart} << "\n";
    MCM_LOG(kLogDebug, kLogMapping) << "DeviceAddress                 " << address << "\n";
}

/// The value prints in hexadecimal, but for a single byte, which prints as the character it is.
template <typename T>
void logTransfer(const char* what, DeviceAddress address, T value)
{
    MCM_LOG(kLogDebug, kLogTransfers)
        << what << address << " = " << value << " (size: " << sizeof(T) << ")\n";
}

} // namespace

void BusDeviceImplementation::addMapping(const MappingEntry& entry)
{
    MCM_LOG(kLogInfo, kLogMapping)
        << "Add: Device " << DeviceAddress{entry.DeviceAddressStart} << " to cci "
        << CciAddress{entry.CciAddressStart} << " range 0x" << entry.AddressRangeSize << ".\n";
    mapping_.insert(entry);
}

const MappingEntry& BusDeviceImplementation::findEntry(DeviceAddress address) const
{
    const auto behind = mapping_.upper_bound(address);
    if (behind == mapping_.begin())
        throw std::range_error("Unmapped device address " + hexText(address) + " requested.");
    return *std::prev(behind);
}

CciAddress BusDeviceImplementation::map(DeviceAddress address) const
{
    const MappingEntry& entry = findEntry(address);
    if (IsLogged(kLogDebug, kLogMapping))
        logMapping(entry, address);
    const std::uint64_t offset = address.value - entry.DeviceAddressStart;
    if (offset > entry.AddressRangeSize)
        throw std::range_error("Device address " + hexText(address) + " outside mapped range.\n");

    const CciAddress mapped{static_cast<std::uint16_t>(entry.CciAddressStart + offset)};
    MCM_LOG(kLogDebug, kLogMapping)
        << "Mapping device  address " << address << " to CCI adress " << mapped << ".\n";
    return mapped;
}

template <typename T>
void BusDeviceImplementation::write(DeviceAddress address, T value) const
{
    logTransfer("I2C write ", address, value);
    const CciAddress cci = map(address);
    std::uint8_t bytes[sizeof(T)];
    GenTLProducer::storeBigEndian(bytes, value);
    connection_.write(cci, bytes, sizeof bytes);
}

template <typename T>
T BusDeviceImplementation::read(DeviceAddress address) const
{
    std::uint8_t bytes[sizeof(T)]{};
    connection_.read(map(address), bytes, sizeof bytes);
    const T value = GenTLProducer::loadBigEndian<T>(bytes);
    logTransfer("I2C read ", address, value);
    return value;
}

template void BusDeviceImplementation::write(DeviceAddress, std::uint8_t) const;
template void BusDeviceImplementation::write(DeviceAddress, std::uint16_t) const;
template void BusDeviceImplementation::write(DeviceAddress, std::uint32_t) const;
template void BusDeviceImplementation::write(DeviceAddress, std::uint64_t) const;
template std::uint8_t BusDeviceImplementation::read(DeviceAddress) const;
template std::uint16_t BusDeviceImplementation::read(DeviceAddress) const;
template std::uint32_t BusDeviceImplementation::read(DeviceAddress) const;
template std::uint64_t BusDeviceImplementation::read(DeviceAddress) const;

void BusDeviceImplementation::writeBlock(DeviceAddress address, const void* data, long size) const
{
    connection_.write(map(address), data, size);
}

void BusDeviceImplementation::readBlock(DeviceAddress address, void* data, long size) const
{
    connection_.read(map(address), data, size);
}

} // namespace mcm
