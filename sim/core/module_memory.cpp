#include "sim/core/module_memory.h"

#include <algorithm>
#include <cstring>
#include <ctime>

#include "base/endian.h"

namespace zevo_sim
{

namespace
{

// Offsets in the register block.
constexpr std::uint16_t kInterfaceVersion = ModuleMemory::kRegisterBlock + 0x0000;
constexpr std::uint16_t kMaxWriteLength = ModuleMemory::kRegisterBlock + 0x0014;
constexpr std::uint16_t kMaxReadLength = ModuleMemory::kRegisterBlock + 0x0018;
constexpr std::uint16_t kDeviceReset = ModuleMemory::kRegisterBlock + 0x0034;
constexpr std::uint16_t kFirmwareVersion = ModuleMemory::kRegisterBlock + 0x0050;
constexpr std::size_t kFirmwareVersionSize = 236;
constexpr std::uint16_t kSectionListSize = ModuleMemory::kRegisterBlock + 0x013C;
constexpr std::uint16_t kFirstSection = ModuleMemory::kRegisterBlock + 0x0140;

constexpr std::uint16_t kGenericSection = 0;
constexpr std::uint16_t kI2cSection = 6;
constexpr std::uint16_t kTriggerSection = 7;
constexpr std::uint16_t kSectionVersion = 0x0100;

struct WritableRange {
    std::uint16_t first;
    std::uint16_t size;
};

constexpr WritableRange kWritable[] = {
    {abrm::kUserDefinedName, abrm::kTextSize},
    {abrm::kDeviceConfiguration, 8},
    {abrm::kTimestampLatch, 4},
    {kDeviceReset, 4},
    {ModuleMemory::kGenericDevice, ModuleMemory::kSize - ModuleMemory::kGenericDevice},
};

/// Sections as a list of big-endian half-words, whose sizes are filled in at the end.
class SectionWriter
{
public:
    void Begin(std::uint16_t type)
    {
        Close();
        start_ = bytes_.size();
        Put(0);
        Put(type);
        Put(kSectionVersion);
    }

    void Put(std::uint16_t value)
    {
        bytes_.push_back(static_cast<std::uint8_t>(value >> 8));
        bytes_.push_back(static_cast<std::uint8_t>(value));
    }

    const std::vector<std::uint8_t>& Finish()
    {
        Close();
        return bytes_;
    }

private:
    void Close()
    {
        if (start_ < bytes_.size())
            GenTLProducer::storeBigEndian(&bytes_[start_],
                                          static_cast<std::uint16_t>(bytes_.size() - start_));
    }

    std::vector<std::uint8_t> bytes_;
    std::size_t start_ = 0;
};

} // namespace

std::optional<std::uint16_t> IspAddress(std::uint16_t cciAddress)
{
    for (const IspMapping& mapping : kIspMappings)
        if (cciAddress >= mapping.cciStart && cciAddress - mapping.cciStart < mapping.size)
            return static_cast<std::uint16_t>(cciAddress - mapping.cciStart + mapping.ispStart);
    return std::nullopt;
}

std::uint16_t CciAddress(std::uint16_t ispAddress)
{
    for (const IspMapping& mapping : kIspMappings)
        if (ispAddress >= mapping.ispStart && ispAddress - mapping.ispStart < mapping.size)
            return static_cast<std::uint16_t>(ispAddress - mapping.ispStart + mapping.cciStart);
    return 0;
}

ModuleMemory::ModuleMemory(const CameraOptions& options)
{
    Store<std::uint32_t>(abrm::kGenCpVersion, InterfaceVersion{1, 3}.AsWord());
    StoreText(abrm::kManufacturerName, options.manufacturerName, abrm::kTextSize);
    StoreText(abrm::kModelName, options.modelName, abrm::kTextSize);
    StoreText(abrm::kFamilyName, options.familyName, abrm::kTextSize);
    StoreText(abrm::kDeviceVersion, options.deviceVersion, abrm::kTextSize);
    StoreText(abrm::kManufacturerInfo, options.manufacturerInfo, abrm::kTextSize);
    StoreText(abrm::kSerialNumber, options.serialNumber, abrm::kTextSize);
    StoreText(abrm::kUserDefinedName, options.userDefinedName, abrm::kTextSize);
    // User-defined name, family name and timestamp are there.
    Store<std::uint64_t>(abrm::kDeviceCapability, 0x0000'0000'0000'0B01);
    Store<std::uint32_t>(abrm::kMaximumResponseTime, 100);
    Store<std::uint64_t>(abrm::kSbrmAddress, kRegisterBlock);
    Store<std::uint64_t>(abrm::kTimestampIncrement, 1);

    Store(kInterfaceVersion, options.moduleVersion.AsWord());
    Store(kMaxWriteLength, options.maxWriteLength);
    Store(kMaxReadLength, options.maxReadLength);
    StoreText(kFirmwareVersion, options.moduleFirmware, kFirmwareVersionSize);
    StoreSections();
}

template <typename T>
void ModuleMemory::Store(std::uint16_t address, T value)
{
    GenTLProducer::storeBigEndian(&bytes_[address], value);
}

void ModuleMemory::StoreText(std::uint16_t address, const std::string& text, std::size_t capacity)
{
    std::memcpy(&bytes_[address], text.data(), std::min(text.size(), capacity));
}

/// The ISP's section stands last, behind one of each other kind that a walk has to pass.
void ModuleMemory::StoreSections()
{
    SectionWriter sections;
    sections.Begin(kGenericSection);
    sections.Put(kGenericDevice);
    sections.Put(kGenericDeviceSize);

    sections.Begin(kI2cSection); // a configuration memory
    sections.Put(1);
    sections.Put(0x50);
    sections.Put(kGenericDevice + kGenericDeviceSize);
    sections.Put(0x0100);
    sections.Put(0x0000);

    sections.Begin(kTriggerSection);
    for (int i = 0; i < 12; ++i)
        sections.Put(0);

    sections.Begin(kI2cSection);
    sections.Put(std::size(kIspMappings));
    sections.Put(60);
    for (const IspMapping& mapping : kIspMappings) {
        sections.Put(mapping.cciStart);
        sections.Put(mapping.size);
        sections.Put(mapping.ispStart);
    }

    const std::vector<std::uint8_t>& bytes = sections.Finish();
    Store(kSectionListSize, static_cast<std::uint32_t>(bytes.size()));
    std::copy(bytes.begin(), bytes.end(), bytes_.begin() + kFirstSection);
}

void ModuleMemory::Read(std::uint16_t address, std::uint8_t* data, std::size_t size) const
{
    for (std::size_t i = 0; i < size; ++i)
        data[i] = address + i < kSize ? bytes_[address + i] : std::uint8_t{0};
}

bool ModuleMemory::Write(std::uint16_t address, const std::uint8_t* data, std::size_t size)
{
    const auto holds = [&](const WritableRange& range) {
        return address >= range.first && address + size <= std::size_t{range.first} + range.size;
    };
    if (std::none_of(std::begin(kWritable), std::end(kWritable), holds))
        return false;
    std::memcpy(&bytes_[address], data, size);

    if (address >= abrm::kTimestampLatch && address < abrm::kTimestampLatch + 4) {
        timespec now{};
        clock_gettime(CLOCK_MONOTONIC, &now);
        Store(abrm::kTimestamp, static_cast<std::uint64_t>(now.tv_sec) * 1'000'000'000 +
                                    static_cast<std::uint64_t>(now.tv_nsec));
    }
    return true;
}

bool ModuleMemory::TakeResetRequest()
{
    if (GenTLProducer::loadBigEndian<std::uint32_t>(&bytes_[kDeviceReset]) != 1)
        return false;
    Store<std::uint32_t>(kDeviceReset, 0);
    return true;
}

void ModuleMemory::Poke(std::uint16_t address, const void* data, std::size_t size)
{
    std::memcpy(&bytes_[address], data, std::min<std::size_t>(size, kSize - address));
}

std::string ModuleMemory::Text(std::uint16_t address) const
{
    const auto* text = reinterpret_cast<const char*>(&bytes_[address]);
    return {text, strnlen(text, abrm::kTextSize)};
}

} // namespace zevo_sim
