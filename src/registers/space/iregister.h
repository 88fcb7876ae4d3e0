// A stretch of the emulated register space of the remote device.
#pragma once

#include <cstdint>

namespace GenTLProducer
{

/// Status of one register access: 0, an internal RegisterStatus, or, behind a RegisterMap, a
/// status code of GenCP 1.2.
using RegisterStatus = std::uint16_t;

constexpr RegisterStatus kStatusSuccess = 0;
constexpr RegisterStatus kStatusNotImplemented = 0xE001;
constexpr RegisterStatus kStatusWriteUnavailable = 0xE002;
constexpr RegisterStatus kStatusReadUnavailable = 0xE003;
constexpr RegisterStatus kStatusWriteLocked = 0xE004;
constexpr RegisterStatus kStatusReadLocked = 0xE005;
constexpr RegisterStatus kStatusValueRejected = 0xE006;

class IRegister
{
public:
    virtual ~IRegister() = default;
    /// Gives length bytes from the offset. What isn't delivered leaves the buffer as it was.
    virtual RegisterStatus read(std::uint32_t offset, void* buffer, std::uint32_t length) = 0;
    virtual RegisterStatus write(std::uint32_t offset, const void* buffer,
                                 std::uint32_t length) = 0;
    /// Bytes that the register takes up in the address space.
    virtual std::uint32_t size() const = 0;
};

} // namespace GenTLProducer
