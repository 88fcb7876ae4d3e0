#include "registers/space/string_register.h"

#include <algorithm>
#include <cstring>

namespace GenTLProducer
{

namespace
{

constexpr std::uint32_t kPrefixSize = 4;
constexpr std::uint32_t kWorkspaceSize = 512;

} // namespace

RegisterStatus StringRORegister::read(std::uint32_t offset, void* buffer, std::uint32_t length)
{
    if (const RegisterStatus status = checkRead(); status != kStatusSuccess)
        return status;
    const char* const text = getValue();
    const auto* const bytes = reinterpret_cast<const std::uint8_t*>(text);
    readBytes({bytes, std::strlen(text)}, offset, buffer, length);
    return kStatusSuccess;
}

std::uint32_t StringRORegister::size() const
{
    return (maxLength_ + kWordSize - 1) / kWordSize * kWordSize;
}

RegisterStatus StringRWRegisterValueOnly::write(std::uint32_t offset, const void* buffer,
                                                std::uint32_t length)
{
    if (const RegisterStatus status = checkWrite(); status != kStatusSuccess)
        return status;
    const std::uint32_t used = std::min(size(), kWorkspaceSize);
    const char* const present = getValue();
    std::uint8_t text[kWorkspaceSize + 1] = {};
    std::memcpy(text, present, ::strnlen(present, used));
    writeBytes({text, used}, offset, buffer, length);
    setValue(reinterpret_cast<const char*>(text));
    return kStatusSuccess;
}

RegisterStatus StringRWRegister::read(std::uint32_t offset, void* buffer, std::uint32_t length)
{
    if (has(RegisterFlag::ValueOnly))
        return StringRWRegisterValueOnly::read(offset, buffer, length);
    const std::uint32_t prefix[] = {getMaxLength()};
    const Request rest = readPrefix(prefix, offset, buffer, length);
    return StringRWRegisterValueOnly::read(rest.offset, rest.buffer, rest.length);
}

RegisterStatus StringRWRegister::write(std::uint32_t offset, const void* buffer,
                                       std::uint32_t length)
{
    if (has(RegisterFlag::ValueOnly))
        return StringRWRegisterValueOnly::write(offset, buffer, length);
    if (offset < kPrefixSize)
        return kStatusWriteLocked;
    return StringRWRegisterValueOnly::write(offset - kPrefixSize, buffer, length);
}

std::uint32_t StringRWRegister::size() const
{
    const std::uint32_t value = StringRWRegisterValueOnly::size();
    return has(RegisterFlag::ValueOnly) ? value : kPrefixSize + value;
}

} // namespace GenTLProducer
