#include "registers/space/register_base.h"

#include <algorithm>
#include <cstring>

#include "base/endian.h"

namespace GenTLProducer
{

RegisterStatus RegisterBase::read(std::uint32_t, void*, std::uint32_t)
{
    if (!has(RegisterFlag::Implemented))
        return kStatusNotImplemented;
    return has(RegisterFlag::Available) ? kStatusReadLocked : kStatusReadUnavailable;
}

RegisterStatus RegisterBase::write(std::uint32_t, const void*, std::uint32_t)
{
    if (has(RegisterFlag::Unchecked))
        return kStatusWriteLocked;
    if (!has(RegisterFlag::Implemented))
        return kStatusNotImplemented;
    return has(RegisterFlag::Available) ? kStatusWriteLocked : kStatusWriteUnavailable;
}

void RegisterBase::set(RegisterFlag flag, bool on) noexcept
{
    const auto bit = static_cast<std::uint8_t>(flag);
    flags_ = static_cast<std::uint8_t>(on ? flags_ | bit : flags_ & ~bit);
}

RegisterStatus RegisterBase::checkRead() const noexcept
{
    if (!has(RegisterFlag::Implemented))
        return kStatusNotImplemented;
    if (!has(RegisterFlag::Available))
        return kStatusReadUnavailable;
    return has(RegisterFlag::ReadLocked) ? kStatusReadLocked : kStatusSuccess;
}

RegisterStatus RegisterBase::checkWrite() const noexcept
{
    if (has(RegisterFlag::Unchecked))
        return kStatusSuccess;
    if (!has(RegisterFlag::Implemented))
        return kStatusNotImplemented;
    if (!has(RegisterFlag::Available))
        return kStatusWriteUnavailable;
    return has(RegisterFlag::WriteLocked) ? kStatusWriteLocked : kStatusSuccess;
}

RegisterBase::Request RegisterBase::readPrefix(Span<const std::uint32_t> words,
                                               std::uint32_t offset, void* buffer,
                                               std::uint32_t length) noexcept
{
    Request rest{offset, static_cast<std::uint8_t*>(buffer), length};
    const auto size = static_cast<std::uint32_t>(words.size()) * kWordSize;
    if (offset >= size) {
        rest.offset -= size;
        return rest;
    }
    const std::uint32_t served = std::min(size - offset, length);
    for (std::uint32_t i = 0; i < served; ++i) {
        const std::uint32_t at = offset + i;
        rest.buffer[i] = static_cast<std::uint8_t>(words[at / kWordSize] >> at % kWordSize * 8);
    }
    return {0, rest.buffer + served, length - served};
}

void RegisterBase::readBytes(Span<const std::uint8_t> bytes, std::uint32_t offset, void* buffer,
                             std::uint32_t length) noexcept
{
    if (offset < bytes.size() && length != 0)
        std::memcpy(buffer, bytes.data() + offset,
                    std::min<std::size_t>(length, bytes.size() - offset));
}

void RegisterBase::writeBytes(Span<std::uint8_t> bytes, std::uint32_t offset, const void* buffer,
                              std::uint32_t length) noexcept
{
    if (offset < bytes.size() && length != 0)
        std::memcpy(bytes.data() + offset, buffer,
                    std::min<std::size_t>(length, bytes.size() - offset));
}

void RegisterBase::readWord(std::uint32_t word, std::uint32_t offset, void* buffer,
                            std::uint32_t length) noexcept
{
    std::uint8_t bytes[kWordSize];
    storeLittleEndian(bytes, word);
    readBytes(bytes, offset, buffer, length);
}

std::uint32_t RegisterBase::mergeWord(std::uint32_t word, std::uint32_t offset, const void* buffer,
                                      std::uint32_t length) noexcept
{
    std::uint8_t bytes[kWordSize];
    storeLittleEndian(bytes, word);
    writeBytes(bytes, offset, buffer, length);
    return loadLittleEndian<std::uint32_t>(bytes);
}

} // namespace GenTLProducer
