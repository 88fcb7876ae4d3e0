// Number formats of the ISP's registers.
#pragma once

#include <cstdint>
#include <limits>
#include <type_traits>

namespace mcm
{

/// Throws std::range_error: "NAME: Value 9 outside range -8...7.99976."
[[noreturn]] void throwOutsideRange(const char* name, double value, double minimum, double maximum);
[[noreturn]] void throwOutsideRange(const char* name, std::uint32_t value, std::uint32_t minimum,
                                    std::uint32_t maximum);

/// To the nearest whole number, halves away from zero.
double roundHalfAway(double value) noexcept;

/// The low 32 bits of a whole number, of any size.
std::uint32_t lowBits(double wholeNumber) noexcept;

/// Register of 16 or 32 bits that holds an unsigned integer. One of 32 bits takes any value.
template <typename RawType>
struct PlainNumber {
    using Raw = RawType;
    using Value = std::uint32_t;

    static Value toValue(Raw raw) noexcept { return raw; }
    static Raw toRaw(const char* name, Value value)
    {
        constexpr Value maximum = std::numeric_limits<Raw>::max();
        if (value > maximum)
            throwOutsideRange(name, value, 0, maximum);
        return static_cast<Raw>(value);
    }
};

/// Whether a setter refuses what its register can't hold, or sends the low bits.
enum class RangeCheck : bool { Off, On };

/// Fixed point: a whole number of 1/2^fractionBits steps, signed where Integer is.
template <typename Integer, unsigned fractionBits, RangeCheck check = RangeCheck::On>
struct FixedPoint {
    using Raw = std::make_unsigned_t<Integer>;
    using Value = double;
    static constexpr double kScale = 1.0 / static_cast<double>(std::uint64_t{1} << fractionBits);

    static Value toValue(Raw raw) noexcept { return static_cast<Integer>(raw) * kScale; }
    static Raw toRaw(const char* name, Value value)
    {
        constexpr double minimum = std::numeric_limits<Integer>::min();
        constexpr double maximum = std::numeric_limits<Integer>::max();
        const double steps = roundHalfAway(value / kScale);
        if (check == RangeCheck::On && !(steps >= minimum && steps <= maximum))
            throwOutsideRange(name, steps * kScale, minimum * kScale, maximum * kScale);
        return static_cast<Raw>(lowBits(steps));
    }
};

// The formats in use: signedness and width, behind F the fractional bits.
using U16 = PlainNumber<std::uint16_t>;
using U32 = PlainNumber<std::uint32_t>;
using U16F8 = FixedPoint<std::uint16_t, 8>;
using U32F16 = FixedPoint<std::uint32_t, 16>;
using U32F16Unchecked = FixedPoint<std::uint32_t, 16, RangeCheck::Off>;
using S16F8 = FixedPoint<std::int16_t, 8>;
using S16F12 = FixedPoint<std::int16_t, 12>;
using S16F14 = FixedPoint<std::int16_t, 14>;
using S32F8Unchecked = FixedPoint<std::int32_t, 8, RangeCheck::Off>;

} // namespace mcm
