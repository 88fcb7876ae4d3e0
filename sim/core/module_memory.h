// The module's own part of the CCI space: bootstrap registers, register block, sections.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "sim/core/camera_options.h"

namespace zevo_sim
{

/// Part of the ISP's register space as the I2C section of device 60 maps it.
struct IspMapping {
    std::uint16_t cciStart;
    std::uint16_t size;
    std::uint16_t ispStart;
};

/// Not identical with the ISP's own addresses, so that an access that skips the mapping shows.
constexpr IspMapping kIspMappings[] = {
    // CCI    size    ISP
    {0x3000, 0xA000, 0x0000},
    {0xD000, 0x1000, 0xB000},
    {0xE000, 0x2000, 0xE000},
};

/// The ISP register behind a CCI address, nothing for the module's own memory.
std::optional<std::uint16_t> IspAddress(std::uint16_t cciAddress);
/// The CCI address of an ISP register; 0 where no mapping holds it.
std::uint16_t CciAddress(std::uint16_t ispAddress);

/// CCI addresses below the ISP's, big-endian. Not thread-safe.
class ModuleMemory final
{
public:
    static constexpr std::uint16_t kSize = 0x3000;
    static constexpr std::uint16_t kRegisterBlock = 0x1000;
    static constexpr std::uint16_t kGenericDevice = 0x2000;
    static constexpr std::uint16_t kGenericDeviceSize = 0x0100;

    explicit ModuleMemory(const CameraOptions& options);

    void Read(std::uint16_t address, std::uint8_t* data, std::size_t size) const;
    /// False if a byte of the range can't be written; nothing changes then.
    bool Write(std::uint16_t address, const std::uint8_t* data, std::size_t size);

    /// Takes a reset request that a write has left.
    bool TakeResetRequest();
    /// Overwrites memory behind the program's back.
    void Poke(std::uint16_t address, const void* data, std::size_t size);
    /// A string of the bootstrap registers.
    std::string Text(std::uint16_t address) const;

private:
    template <typename T>
    void Store(std::uint16_t address, T value);
    void StoreText(std::uint16_t address, const std::string& text, std::size_t capacity);
    void StoreSections();

    std::array<std::uint8_t, kSize> bytes_{};
};

namespace abrm
{
constexpr std::uint16_t kGenCpVersion = 0x0000;
constexpr std::uint16_t kManufacturerName = 0x0004;
constexpr std::uint16_t kModelName = 0x0044;
constexpr std::uint16_t kFamilyName = 0x0084;
constexpr std::uint16_t kDeviceVersion = 0x00C4;
constexpr std::uint16_t kManufacturerInfo = 0x0104;
constexpr std::uint16_t kSerialNumber = 0x0144;
constexpr std::uint16_t kUserDefinedName = 0x0184;
constexpr std::uint16_t kDeviceCapability = 0x01C4;
constexpr std::uint16_t kMaximumResponseTime = 0x01CC;
constexpr std::uint16_t kSbrmAddress = 0x01D8;
constexpr std::uint16_t kDeviceConfiguration = 0x01E0;
constexpr std::uint16_t kTimestamp = 0x01F0;
constexpr std::uint16_t kTimestampLatch = 0x01F8;
constexpr std::uint16_t kTimestampIncrement = 0x01FC;
constexpr std::size_t kTextSize = 64;
} // namespace abrm

} // namespace zevo_sim
