#include "registers/space/bool_register.h"

namespace GenTLProducer
{

namespace
{

constexpr std::uint32_t kPrefixSize = 8;

} // namespace

RegisterStatus BoolRORegister::read(std::uint32_t offset, void* buffer, std::uint32_t length)
{
    if (const RegisterStatus status = checkRead(); status != kStatusSuccess)
        return status;
    readWord(getValue() ? 1 : 0, offset, buffer, length);
    return kStatusSuccess;
}

RegisterStatus BoolRWRegisterValueOnly::write(std::uint32_t offset, const void* buffer,
                                              std::uint32_t length)
{
    if (const RegisterStatus status = checkWrite(); status != kStatusSuccess)
        return status;
    const bool value = mergeWord(getValue() ? 1 : 0, offset, buffer, length) != 0;
    const std::uint8_t needed = value ? kTrueAllowed : kFalseAllowed;
    if (!has(RegisterFlag::Unchecked) && (allowedValues & needed) == 0)
        return kStatusValueRejected;
    setValue(value);
    return kStatusSuccess;
}

RegisterStatus BoolRWRegister::read(std::uint32_t offset, void* buffer, std::uint32_t length)
{
    if (has(RegisterFlag::ValueOnly))
        return BoolRWRegisterValueOnly::read(offset, buffer, length);
    const std::uint32_t prefix[] = {(allowedValues & kFalseAllowed) != 0 ? 1u : 0u,
                                    (allowedValues & kTrueAllowed) != 0 ? 1u : 0u};
    const Request rest = readPrefix(prefix, offset, buffer, length);
    return BoolRWRegisterValueOnly::read(rest.offset, rest.buffer, rest.length);
}

RegisterStatus BoolRWRegister::write(std::uint32_t offset, const void* buffer, std::uint32_t length)
{
    if (has(RegisterFlag::ValueOnly))
        return BoolRWRegisterValueOnly::write(offset, buffer, length);
    if (offset < kPrefixSize)
        return kStatusWriteLocked;
    return BoolRWRegisterValueOnly::write(offset - kPrefixSize, buffer, length);
}

std::uint32_t BoolRWRegister::size() const
{
    return has(RegisterFlag::ValueOnly) ? kWordSize : kPrefixSize + kWordSize;
}

} // namespace GenTLProducer
