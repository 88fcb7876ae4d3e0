#include "bus/abrm_device.h"

#include <algorithm>
#include <array>

namespace mcm
{

namespace
{

constexpr std::uint16_t kGenCpVersion = 0x0000;
constexpr std::uint16_t kManufacturerName = 0x0004;
constexpr std::uint16_t kModelName = 0x0044;
constexpr std::uint16_t kDeviceVersion = 0x00C4;
constexpr std::uint16_t kManufacturerInfo = 0x0104;
constexpr std::uint16_t kSerialNumber = 0x0144;
constexpr std::uint16_t kUserDefinedName = 0x0184;
constexpr std::uint16_t kDeviceCapability = 0x01C4;
constexpr std::uint16_t kMaximumDeviceResponseTime = 0x01CC;
constexpr std::uint16_t kSbrmAddress = 0x01D8;
constexpr std::uint16_t kDeviceConfiguration = 0x01E0;
constexpr std::uint16_t kTimestamp = 0x01F0;
constexpr std::uint16_t kTimestampLatch = 0x01F8;
constexpr std::uint16_t kTimestampIncrement = 0x01FC;

} // namespace

std::uint32_t AbrmDevice::read32(std::uint16_t address)
{
    std::uint32_t value = 0;
    device_.read(address, &value);
    return value;
}

std::uint64_t AbrmDevice::read64(std::uint16_t address)
{
    std::uint64_t value = 0;
    device_.read(address, &value);
    return value;
}

const char* AbrmDevice::readText(std::uint16_t address)
{
    device_.readBlock(address, text_, kTextSize);
    return text_;
}

std::uint32_t AbrmDevice::genCpVersion()
{
    return read32(kGenCpVersion);
}

std::uint64_t AbrmDevice::deviceCapability()
{
    return read64(kDeviceCapability);
}

std::uint32_t AbrmDevice::maximumDeviceResponseTime()
{
    return read32(kMaximumDeviceResponseTime);
}

std::uint64_t AbrmDevice::sbrmAddress()
{
    return read64(kSbrmAddress);
}

std::uint64_t AbrmDevice::deviceConfiguration()
{
    return read64(kDeviceConfiguration);
}

std::uint64_t AbrmDevice::timestamp()
{
    return read64(kTimestamp);
}

std::uint64_t AbrmDevice::timestampIncrement()
{
    return read64(kTimestampIncrement);
}

const char* AbrmDevice::manufacturerName()
{
    return readText(kManufacturerName);
}

const char* AbrmDevice::modelName()
{
    return readText(kModelName);
}

const char* AbrmDevice::deviceVersion()
{
    return readText(kDeviceVersion);
}

const char* AbrmDevice::manufacturerInfo()
{
    return readText(kManufacturerInfo);
}

const char* AbrmDevice::serialNumber()
{
    return readText(kSerialNumber);
}

const char* AbrmDevice::userDefinedName()
{
    return readText(kUserDefinedName);
}

void AbrmDevice::setUserDefinedName(std::string_view name)
{
    std::array<char, kTextSize> bytes{};
    std::copy_n(name.data(), std::min(name.size(), bytes.size()), bytes.begin());
    device_.writeBlock(kUserDefinedName, bytes.data(), static_cast<long>(bytes.size()));
}

void AbrmDevice::setDeviceConfiguration(std::uint64_t configuration)
{
    device_.write(kDeviceConfiguration, configuration);
}

void AbrmDevice::setTimestampLatch(std::uint32_t latch)
{
    device_.write(kTimestampLatch, latch);
}

} // namespace mcm
