// What a table tells about a register of the remote device, apart from its meaning.
#pragma once

#include <cstddef>
#include <cstdint>

namespace GenTLProducer
{

enum class RegisterFamily : std::uint8_t {
    BoolRO,
    BoolRW,
    NumericRO,
    NumericRW, ///< of std::uint32_t
    IntRW,     ///< of std::int32_t
    EnumRO,
    EnumRW,
    StringRO,
    StringRW,
    Uint64RO,
};

/// Limits of a number, wide enough for signed and unsigned registers.
struct Limits {
    std::int64_t min;
    std::int64_t max;
    std::int64_t inc;
};

/// Class family of a register with what the family needs, as a new register has it.
struct RegisterShape {
    RegisterFamily family;
    bool isValueOnly = false;
    bool isReadLocked = false;
    std::uint32_t count = 0; ///< entries of an enumeration, bytes of a string
    Limits limits{};         ///< of a writable number
    std::uint32_t validMask = 0;
    const std::uint32_t* valueTable = nullptr; ///< of an enumeration, count elements
    bool isUnavailable = false;
};

// The shapes that tables are written in.

constexpr RegisterShape BoolRO()
{
    return {RegisterFamily::BoolRO};
}
constexpr RegisterShape NumericRO()
{
    return {RegisterFamily::NumericRO};
}
constexpr RegisterShape Uint64RO()
{
    return {RegisterFamily::Uint64RO};
}
constexpr RegisterShape EnumRO(std::uint32_t count)
{
    return {RegisterFamily::EnumRO, false, false, count};
}
constexpr RegisterShape StringRO(std::uint32_t bytes)
{
    return {RegisterFamily::StringRO, false, false, bytes};
}
constexpr RegisterShape StringRW(std::uint32_t bytes)
{
    return {RegisterFamily::StringRW, false, false, bytes};
}
constexpr RegisterShape BoolRW()
{
    return {RegisterFamily::BoolRW};
}
/// A Boolean that does something when it is written and can't be read.
constexpr RegisterShape CommandRW()
{
    return {RegisterFamily::BoolRW, false, true};
}
constexpr RegisterShape NumericRW(std::uint32_t min, std::uint32_t max, std::uint32_t inc)
{
    return {RegisterFamily::NumericRW, false, false, 0, {min, max, inc}};
}
constexpr RegisterShape IntRW(std::int32_t min, std::int32_t max, std::int32_t inc)
{
    return {RegisterFamily::IntRW, false, false, 0, {min, max, inc}};
}
constexpr RegisterShape EnumRW(std::uint32_t count, std::uint32_t validMask,
                               const std::uint32_t* valueTable = nullptr)
{
    return {RegisterFamily::EnumRW, false, false, count, {}, validMask, valueTable};
}

/// The same register without companion words.
constexpr RegisterShape ValueOnly(RegisterShape shape)
{
    shape.isValueOnly = true;
    return shape;
}

/// The same register, never to be accessed: of its companion words alone there is something to see.
constexpr RegisterShape Unavailable(RegisterShape shape)
{
    shape.isUnavailable = true;
    return shape;
}

/// Bytes of companion words in front of the value.
constexpr std::uint32_t PrefixSize(const RegisterShape& shape)
{
    if (shape.isValueOnly)
        return 0;
    switch (shape.family) {
    case RegisterFamily::BoolRW:
        return 8;
    case RegisterFamily::NumericRW:
    case RegisterFamily::IntRW:
        return 12;
    case RegisterFamily::EnumRW:
        return 128;
    case RegisterFamily::StringRW:
        return 4;
    case RegisterFamily::BoolRO:
    case RegisterFamily::NumericRO:
    case RegisterFamily::EnumRO:
    case RegisterFamily::StringRO:
    case RegisterFamily::Uint64RO:
        return 0;
    }
    return 0;
}

/// Bytes of the value.
constexpr std::uint32_t ValueSize(const RegisterShape& shape)
{
    switch (shape.family) {
    case RegisterFamily::StringRO:
    case RegisterFamily::StringRW:
        return (shape.count + 3) / 4 * 4;
    case RegisterFamily::Uint64RO:
        return 8;
    case RegisterFamily::BoolRO:
    case RegisterFamily::BoolRW:
    case RegisterFamily::NumericRO:
    case RegisterFamily::NumericRW:
    case RegisterFamily::IntRW:
    case RegisterFamily::EnumRO:
    case RegisterFamily::EnumRW:
        return 4;
    }
    return 0;
}

/// True when the rows, which have an address and a shape, ascend without overlap.
template <typename Row, std::size_t N>
constexpr bool IsInAddressOrder(const Row (&rows)[N])
{
    std::uint64_t free = 0;
    for (const Row& row : rows) {
        if (row.address < free)
            return false;
        free = std::uint64_t{row.address} + PrefixSize(row.shape) + ValueSize(row.shape);
    }
    return true;
}

} // namespace GenTLProducer
