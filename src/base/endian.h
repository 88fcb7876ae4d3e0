// Integers in a byte order that the wire or a description fixes, on any host and any alignment.
#pragma once

#include <cstddef>
#include <cstdint>

namespace GenTLProducer
{

/// Reads an unsigned integer of sizeof(T) bytes, most significant byte first.
template <typename T>
T loadBigEndian(const void* source) noexcept
{
    const auto* bytes = static_cast<const std::uint8_t*>(source);
    T value = 0;
    for (std::size_t i = 0; i < sizeof(T); ++i)
        value = static_cast<T>((value << 4 << 4) | bytes[i]);
    return value;
}

/// Writes an unsigned integer as sizeof(T) bytes, most significant byte first.
template <typename T>
void storeBigEndian(void* destination, T value) noexcept
{
    auto* bytes = static_cast<std::uint8_t*>(destination);
    for (std::size_t i = sizeof(T); i-- > 0; value = static_cast<T>(value >> 4 >> 4))
        bytes[i] = static_cast<std::uint8_t>(value);
}

/// Reads an unsigned integer of sizeof(T) bytes, least significant byte first.
template <typename T>
T loadLittleEndian(const void* source) noexcept
{
    const auto* bytes = static_cast<const std::uint8_t*>(source);
    T value = 0;
    for (std::size_t i = sizeof(T); i-- > 0;)
        value = static_cast<T>((value << 4 << 4) | bytes[i]);
    return value;
}

/// Writes an unsigned integer as sizeof(T) bytes, least significant byte first.
template <typename T>
void storeLittleEndian(void* destination, T value) noexcept
{
    auto* bytes = static_cast<std::uint8_t*>(destination);
    for (std::size_t i = 0; i < sizeof(T); ++i, value = static_cast<T>(value >> 4 >> 4))
        bytes[i] = static_cast<std::uint8_t>(value);
}

} // namespace GenTLProducer
