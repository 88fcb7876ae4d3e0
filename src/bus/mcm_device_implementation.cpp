#include "bus/mcm_device_implementation.h"

#include <cstring>
#include <stdexcept>
#include <utility>

#include "base/endian.h"
#include "bus/version.h"
#include "trace/camera_log.h"

namespace mcm
{

namespace
{

constexpr CciAddress kSbrmAddress{0x01D8};

// Registers of the block.
constexpr DeviceAddress kInterfaceVersion{0x0000};
constexpr DeviceAddress kMaximumWriteLength{0x0014};
constexpr DeviceAddress kMaximumReadLength{0x0018};
constexpr DeviceAddress kDeviceReset{0x0034};
constexpr DeviceAddress kFirmwareVersion{0x0050};
constexpr DeviceAddress kSectionListSize{0x013C};
constexpr DeviceAddress kFirstSection{0x0140};

constexpr std::size_t kFirmwareVersionSize = 236;
constexpr Version kRequiredInterface{2, 0};
constexpr Version kRequiredSectionFormat{1, 0};

// Short enough for any module, until its own limits are known.
constexpr TransferLimits kFirstLimits{8, 8};
constexpr std::int64_t kChipReadLength = 2;

// Offsets inside a section; from 6 on they depend on its type.
constexpr unsigned kSectionSize = 0;
constexpr unsigned kSectionType = 2;
constexpr unsigned kSectionFormat = 4;
constexpr unsigned kSectionHeaderSize = 6;
constexpr unsigned kGenericCciAddress = 6;
constexpr unsigned kGenericRangeSize = 8;
constexpr unsigned kI2cEntryCount = 6;
constexpr unsigned kI2cAddress = 8;
constexpr unsigned kI2cFirstEntry = 10;
constexpr unsigned kI2cEntrySize = 6;

constexpr std::uint32_t kAddressSpace = 0x10000;

DeviceAddress operator+(DeviceAddress address, unsigned offset) noexcept
{
    return DeviceAddress{static_cast<std::uint16_t>(address.value + offset)};
}

Version sectionFormat(std::uint16_t word) noexcept
{
    return {word >> 8, word & 0xFF};
}

} // namespace

McmDeviceImplementation::McmDeviceImplementation(std::shared_ptr<IMcmBridge> bridge)
    : BusDeviceImplementation(ChunkedConnection(std::move(bridge), kFirstLimits))
{
    mapRegisterBlock();
    checkInterface();
    TransferLimits limits = kFirstLimits;
    limits.maximumWriteLength = readLimit(kMaximumWriteLength, "write");
    setLimits(limits);
    limits.maximumReadLength = readLimit(kMaximumReadLength, "read");
    setLimits(limits);
    firmwareVersion_ = readFirmwareVersion();
}

void McmDeviceImplementation::mapRegisterBlock()
{
    std::uint8_t bytes[8]{};
    connection().read(kSbrmAddress, bytes, sizeof bytes);
    const auto start =
        static_cast<std::uint16_t>(GenTLProducer::loadBigEndian<std::uint64_t>(bytes));
    addMapping({start, 0, static_cast<std::uint16_t>(kAddressSpace - 1 - start)});
}

void McmDeviceImplementation::checkInterface() const
{
    const auto word = read<std::uint32_t>(kInterfaceVersion);
    const Version connected{static_cast<int>(word >> 16), static_cast<int>(word & 0xFFFF)};
    if (!checkVersion(kRequiredInterface, connected))
        throw std::runtime_error("ZEVO version mismatch, expected " +
                                 std::to_string(kRequiredInterface.major) + "." +
                                 std::to_string(kRequiredInterface.minor) +
                                 ", connected: " + std::to_string(connected.major) + "." +
                                 std::to_string(connected.minor));
}

std::uint32_t McmDeviceImplementation::readLimit(DeviceAddress address, const char* name) const
{
    try {
        return read<std::uint32_t>(address);
    } catch (const std::runtime_error&) {
        MCM_LOG(kLogWarning, kLogAlways) << "Could net set maximum " << name << " length.\n";
        return 0;
    }
}

std::string McmDeviceImplementation::readFirmwareVersion() const
{
    char text[kFirmwareVersionSize]{};
    readBlock(kFirmwareVersion, text, sizeof text);
    std::string version(text, ::strnlen(text, sizeof text));
    if (version.empty()) {
        MCM_LOG(kLogWarning, kLogAlways) << "Empty MCM Firmware Version String.\n";
    }
    return version;
}

void McmDeviceImplementation::reset() const
{
    write(kDeviceReset, std::uint32_t{1});
}

/// Walks the list to the first section of the type that the filter takes. Sections of a format
/// that isn't known are passed over. A list that is damaged ends where the damage is seen: at a
/// section shorter than its header, or behind one round through the address space.
template <typename Filter>
DeviceAddress McmDeviceImplementation::findSection(SectionType type, Filter filter) const
{
    const auto total = read<std::uint32_t>(kSectionListSize);
    std::uint32_t walked = 0;
    while (walked < total && walked < kAddressSpace) {
        const DeviceAddress section = kFirstSection + walked;
        const auto size = read<std::uint16_t>(section + kSectionSize);
        const auto found = read<std::uint16_t>(section + kSectionType);
        if (size < kSectionHeaderSize)
            break;
        if (found == static_cast<std::uint16_t>(type) &&
            checkVersion(kRequiredSectionFormat,
                         sectionFormat(read<std::uint16_t>(section + kSectionFormat))) &&
            filter(section))
            return section;
        walked += size;
    }
    throw std::runtime_error("Could not find requested MCM section of type " +
                             std::to_string(static_cast<unsigned>(type)) + ".");
}

/// The chips behind the module take no more than a register's two bytes in one read.
ChunkedConnection McmDeviceImplementation::chipConnection() const
{
    return {connection().bridge(), {kChipReadLength, connection().limits().maximumWriteLength}};
}

BusDeviceImplementation McmDeviceImplementation::bootstrapDevice() const
{
    BusDeviceImplementation device(connection());
    device.addMapping({0, 0, kAddressSpace});
    return device;
}

BusDeviceImplementation McmDeviceImplementation::genericDevice(unsigned index) const
{
    unsigned seen = 0;
    const DeviceAddress section =
        findSection(SectionType::GenericDevice, [&](DeviceAddress) { return seen++ == index; });
    BusDeviceImplementation device(chipConnection());
    const auto start = read<std::uint16_t>(section + kGenericCciAddress);
    const auto size = read<std::uint16_t>(section + kGenericRangeSize);
    device.addMapping({start, 0, size});
    return device;
}

BusDeviceImplementation McmDeviceImplementation::i2cDevice(std::uint16_t i2cAddress) const
{
    const DeviceAddress section = findSection(SectionType::I2cDevice, [&](DeviceAddress candidate) {
        return read<std::uint16_t>(candidate + kI2cAddress) == i2cAddress;
    });
    BusDeviceImplementation device(chipConnection());
    const auto count = read<std::uint16_t>(section + kI2cEntryCount);
    for (unsigned i = 0; i < count; ++i) {
        const DeviceAddress entry = section + (kI2cFirstEntry + i * kI2cEntrySize);
        const auto cciStart = read<std::uint16_t>(entry);
        const auto size = read<std::uint16_t>(entry + 2);
        const auto deviceStart = read<std::uint16_t>(entry + 4);
        device.addMapping({cciStart, deviceStart, size});
    }
    return device;
}

TriggerDeviceImplementation McmDeviceImplementation::triggerDevice() const
{
    const DeviceAddress section =
        findSection(SectionType::TriggerDevice, [](DeviceAddress) { return true; });
    TriggerDeviceImplementation device(connection());
    device.addMapping({map(section).value, 0, read<std::uint16_t>(section + kSectionSize)});
    return device;
}

} // namespace mcm
