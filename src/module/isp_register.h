// The register table of the ISP.
#pragma once

#include <cstddef>
#include <cstdint>

#include "module/isp_number.h"

namespace mcm
{

template <typename Format>
struct IspRegister {
    std::uint16_t address;
    const char* name;
};

/// Bits high to low of a register.
template <typename Format>
struct IspField {
    IspRegister<Format> owner;
    const char* name;
    unsigned high;
    unsigned low;

    constexpr std::uint32_t maximum() const noexcept { return (1U << (high - low + 1)) - 1; }
    constexpr bool isInside() const noexcept
    {
        return high >= low && high - low < 31 && high < 8 * sizeof(typename Format::Raw);
    }
};
template <typename Format>
IspField(IspRegister<Format>, const char*, unsigned, unsigned) -> IspField<Format>;

/// Every register and field under its name, as constants.
namespace isp_registers
{
#define STATUS(address, name, format) inline constexpr IspRegister<format> name{address, #name};
#define REGISTER(address, name, format) STATUS(address, name, format)
#define FIELD(owner, name, high, low)                                                              \
    inline constexpr IspField name{owner, #name, high, low};                                       \
    static_assert(name.isInside());
#define HALVES(owner, name, high, low) FIELD(owner, name, high, low)
#define FLAG(owner, name, bit) FIELD(owner, name, bit, bit)
#include "module/isp_registers.inc"
#undef STATUS
#undef REGISTER
#undef FIELD
#undef HALVES
#undef FLAG
} // namespace isp_registers

/// The same registers as rows, for what walks over them.
struct IspRegisterRow {
    std::uint16_t address;
    std::size_t bytes;
    const char* name;
};

inline constexpr IspRegisterRow kIspRegisters[] = {
#define STATUS(address, name, format) {address, sizeof(format::Raw), #name},
#define REGISTER(address, name, format) STATUS(address, name, format)
#define FIELD(owner, name, high, low)
#define HALVES(owner, name, high, low)
#define FLAG(owner, name, bit)
#include "module/isp_registers.inc"
#undef STATUS
#undef REGISTER
#undef FIELD
#undef HALVES
#undef FLAG
};

constexpr bool areIspRegistersApart() noexcept
{
    for (std::size_t i = 1; i < sizeof kIspRegisters / sizeof *kIspRegisters; ++i) {
        if (kIspRegisters[i].address < kIspRegisters[i - 1].address + kIspRegisters[i - 1].bytes)
            return false;
    }
    return true;
}
static_assert(areIspRegistersApart(), "registers overlap or are out of order");

} // namespace mcm
