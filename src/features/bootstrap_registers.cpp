#include "features/bootstrap_registers.h"

#include <cstring>
#include <utility>

namespace GenTLProducer
{

namespace
{

using mcm::AbrmDevice;

constexpr std::uint32_t kMapSize = 0x210;

template <auto kField>
std::uint32_t Word(AbrmDevice& device)
{
    return static_cast<std::uint32_t>((device.*kField)());
}

template <auto kField>
const char* Text(AbrmDevice& device)
{
    return (device.*kField)();
}

/// The module may put a prefix in front of the number, which ends at a colon.
const char* SerialNumber(AbrmDevice& device)
{
    const char* const text = device.serialNumber();
    const char* const colon = std::strchr(text, ':');
    return colon != nullptr ? colon + 1 : text;
}

void SetUserDefinedName(AbrmDevice& device, const char* text)
{
    device.setUserDefinedName(text);
}

void SetConfiguration(AbrmDevice& device, std::uint32_t value)
{
    device.setDeviceConfiguration(value);
}

/// The latch is a command: it has nothing to read.
std::uint32_t NoWord(AbrmDevice&)
{
    return 0;
}

void SetLatch(AbrmDevice& device, std::uint32_t value)
{
    device.setTimestampLatch(value);
}

constexpr BootstrapRow WordRow(std::uint32_t address, const RegisterShape& shape,
                               std::uint32_t (*read)(AbrmDevice&),
                               void (*write)(AbrmDevice&, std::uint32_t) = nullptr)
{
    return {address, shape, read, write};
}

constexpr BootstrapRow TextRow(std::uint32_t address, const RegisterShape& shape,
                               const char* (*read)(AbrmDevice&),
                               void (*write)(AbrmDevice&, const char*) = nullptr)
{
    return {address, shape, nullptr, nullptr, read, write};
}

constexpr RegisterShape kAnyNumber = ValueOnly(NumericRW(0, 0xFFFFFFFF, 1));

constexpr BootstrapRow kRows[] = {
    // clang-format off
    //      address  family                   read                                                write
    WordRow(0x0000, NumericRO(),             Word<&AbrmDevice::genCpVersion>),
    TextRow(0x0004, StringRO(64),            Text<&AbrmDevice::manufacturerName>),
    TextRow(0x0044, StringRO(64),            Text<&AbrmDevice::modelName>),
    TextRow(0x00C4, StringRO(64),            Text<&AbrmDevice::deviceVersion>),
    TextRow(0x0104, StringRO(64),            Text<&AbrmDevice::manufacturerInfo>),
    TextRow(0x0144, StringRO(64),            SerialNumber),
    TextRow(0x0184, ValueOnly(StringRW(64)), Text<&AbrmDevice::userDefinedName>,            SetUserDefinedName),
    WordRow(0x01C4, Uint64RO(),              Word<&AbrmDevice::deviceCapability>),
    WordRow(0x01CC, NumericRO(),             Word<&AbrmDevice::maximumDeviceResponseTime>),
    WordRow(0x01D8, Uint64RO(),              Word<&AbrmDevice::sbrmAddress>),
    WordRow(0x01E0, kAnyNumber,              Word<&AbrmDevice::deviceConfiguration>,        SetConfiguration),
    WordRow(0x01F0, Uint64RO(),              Word<&AbrmDevice::timestamp>),
    WordRow(0x01F8, kAnyNumber,              NoWord,                                        SetLatch),
    WordRow(0x01FC, Uint64RO(),              Word<&AbrmDevice::timestampIncrement>),
    // clang-format on
};

static_assert(IsInAddressOrder(kRows), "bootstrap registers overlap or are out of order");

std::vector<RegisterMap::Entry> BuildEntries(RegisterSet& set)
{
    std::vector<RegisterMap::Entry> entries;
    for (const BootstrapRow& row : kRows)
        entries.push_back({row.address, &set.add(row.shape)});
    return entries;
}

} // namespace

Span<const BootstrapRow> BootstrapRegisterRows()
{
    return kRows;
}

BootstrapRegisters::BootstrapRegisters(AbrmDevice device)
    : device_(std::move(device)), set_(*this), entries_(BuildEntries(set_)),
      map_(kMapSize, entries_, &config_)
{
}

std::int64_t BootstrapRegisters::readValue(std::size_t row)
{
    return kRows[row].read(device_);
}

void BootstrapRegisters::writeValue(std::size_t row, std::int64_t value)
{
    kRows[row].write(device_, static_cast<std::uint32_t>(value));
}

const char* BootstrapRegisters::readText(std::size_t row)
{
    return kRows[row].readText(device_);
}

void BootstrapRegisters::writeText(std::size_t row, const char* text)
{
    kRows[row].writeText(device_, text);
}

} // namespace GenTLProducer
