// Descriptions of the AP1302 firmware images that the program carries.
#pragma once

#include <cstddef>
#include <cstdint>

#include "base/span.h"

namespace mcm
{

/// One image and what is told with it.
class Ap1302Firmware
{
public:
    virtual const char* cameraModel() const noexcept = 0;
    virtual std::uint32_t firstNumber() const noexcept = 0;
    virtual const char* buildDate() const noexcept = 0;
    virtual std::uint32_t secondNumber() const noexcept = 0;
    /// What BOOTDATA_CHECKSUM shows when the image has arrived.
    virtual std::uint16_t checksum() const noexcept = 0;
    /// Bytes that the boot loader takes before the clocks are set.
    virtual std::size_t firstStageSize() const noexcept = 0;
    virtual std::uint32_t thirdNumber() const noexcept = 0;
    virtual GenTLProducer::Span<const std::uint8_t> image() const noexcept = 0;

protected:
    ~Ap1302Firmware() = default;
};

/// The image for the camera of that model.
class Ap1302Firmware_zvK1800_45tqr final : public Ap1302Firmware
{
public:
    static const Ap1302Firmware_zvK1800_45tqr& instance() noexcept;

    const char* cameraModel() const noexcept override { return "zvK1800-45tqr"; }
    std::uint32_t firstNumber() const noexcept override { return 400; }
    const char* buildDate() const noexcept override { return "3-11-2022 9:58:29"; }
    std::uint32_t secondNumber() const noexcept override { return 28832; }
    std::uint16_t checksum() const noexcept override { return 0xE3C8; }
    std::size_t firstStageSize() const noexcept override { return 996; }
    std::uint32_t thirdNumber() const noexcept override { return 0x300000; }
    GenTLProducer::Span<const std::uint8_t> image() const noexcept override;
};

} // namespace mcm
