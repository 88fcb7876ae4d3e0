// The 32-bit words of a register block, in the byte order of the register space.
#pragma once

#include <cstddef>
#include <cstdint>
#include <stdexcept>

#include "base/endian.h"

namespace GenTLProducer
{

/// First word of a block that a callback was given.
/// Throws std::invalid_argument without a block or with one shorter than a word.
inline std::uint32_t ReadRegisterValue(const std::uint32_t* pUiRegisterData,
                                       std::size_t uiRegisterDataSize)
{
    if (pUiRegisterData == nullptr)
        throw std::invalid_argument("pUiRegisterData is not valid.");
    if (uiRegisterDataSize < sizeof(std::uint32_t))
        throw std::invalid_argument("uiRegisterDataSize is to small");
    return loadLittleEndian<std::uint32_t>(pUiRegisterData);
}

/// Fills a block with one value of 32 or 64 bits.
/// Throws std::invalid_argument without a block or with one of another size.
template <typename T>
void WriteRegisterValue(std::uint32_t* pUiRegisterData, std::size_t uiRegisterDataSize, T value)
{
    static_assert(sizeof(T) == 4 || sizeof(T) == 8, "a register value has 32 or 64 bits");
    if (pUiRegisterData == nullptr)
        throw std::invalid_argument("pUiRegisterData is not valid.");
    if (uiRegisterDataSize != sizeof(T))
        throw std::invalid_argument("uiRegisterDataSize not match needed size");
    storeLittleEndian(pUiRegisterData, value);
}

} // namespace GenTLProducer
