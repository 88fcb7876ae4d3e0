// The bytes of the ISP's registers, and the number formats in which they are read.
#pragma once

#include <array>
#include <cstdint>

#include "base/endian.h"

namespace zevo_sim
{

/// 64 KiB, big-endian. Words lie at even addresses; an odd address means the word it lies in.
class RegisterFile final
{
public:
    std::uint8_t& operator[](std::uint16_t address) { return bytes_[address]; }
    std::uint8_t operator[](std::uint16_t address) const { return bytes_[address]; }
    void Clear() { bytes_.fill(0); }

    std::uint16_t Get16(std::uint16_t address) const
    {
        return GenTLProducer::loadBigEndian<std::uint16_t>(&bytes_[address & 0xFFFE]);
    }
    std::uint32_t Get32(std::uint16_t address) const
    {
        return std::uint32_t{Get16(address)} << 16 | Get16(static_cast<std::uint16_t>(address + 2));
    }
    void Set16(std::uint16_t address, std::uint16_t value)
    {
        GenTLProducer::storeBigEndian(&bytes_[address & 0xFFFE], value);
    }
    void Set32(std::uint16_t address, std::uint32_t value)
    {
        Set16(address, static_cast<std::uint16_t>(value >> 16));
        Set16(static_cast<std::uint16_t>(address + 2), static_cast<std::uint16_t>(value));
    }

    /// 16 bits with a sign, of which the given number are behind the point.
    double Signed(std::uint16_t address, unsigned fractionBits) const
    {
        return static_cast<std::int16_t>(Get16(address)) / static_cast<double>(1u << fractionBits);
    }
    /// The same without a sign.
    double Unsigned(std::uint16_t address, unsigned fractionBits) const
    {
        return Get16(address) / static_cast<double>(1u << fractionBits);
    }
    unsigned Field(std::uint16_t address, unsigned lowestBit, unsigned bits) const
    {
        return Get16(address) >> lowestBit & ((1u << bits) - 1);
    }

private:
    std::array<std::uint8_t, 0x10000> bytes_{};
};

} // namespace zevo_sim
