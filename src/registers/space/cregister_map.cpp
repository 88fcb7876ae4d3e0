#include "registers/space/cregister_map.h"

#include <algorithm>
#include <cstring>
#include <string>
#include <utility>

#include "base/endian.h"

namespace GenTLProducer
{

namespace
{

std::string Message(std::uint64_t address, const char* what)
{
    return "Register " + std::to_string(address) + what;
}

void CheckAddress(std::uint64_t address)
{
    if (address == CRegisterMap::kInvalidAddress)
        throw std::invalid_argument("Address is invalid.");
}

bool IsInside(std::size_t offset, std::size_t size, std::size_t registerSize)
{
    return size <= registerSize && offset <= registerSize - size;
}

/// memcpy whose pointers may be null when there is nothing to copy.
void CopyBytes(void* destination, const void* source, std::size_t size)
{
    if (size != 0)
        std::memcpy(destination, source, size);
}

} // namespace

CRegisterMap::access_error::~access_error() = default;

CRegisterMap::~CRegisterMap() = default;

void CRegisterMap::Clear()
{
    entries_.clear();
}

void CRegisterMap::Declare(std::uint64_t address, std::uint32_t access, const void* data,
                           std::size_t size, IRegisterSpace* callback)
{
    CheckAddress(address);
    if (entries_.count(address) != 0)
        throw std::runtime_error(Message(address, " already declared."));

    constexpr std::size_t kWord = sizeof(Block::value_type);
    Block block(size / kWord + (size % kWord != 0 ? 1 : 0));
    CopyBytes(block.data(), data, size);
    entries_.emplace(address, Entry{access, std::move(block), callback});
}

void CRegisterMap::DeclareString(std::uint64_t address, std::uint32_t access, const char* text,
                                 std::size_t size, IRegisterSpace* callback)
{
    std::vector<char> block(size);
    CopyBytes(block.data(), text, std::min(std::strlen(text) + 1, size));
    Declare(address, access, block.data(), size, callback);
}

void CRegisterMap::Declare32(std::uint64_t address, std::uint32_t access, std::uint32_t value,
                             IRegisterSpace* callback)
{
    std::uint8_t bytes[sizeof(value)];
    storeLittleEndian(bytes, value);
    Declare(address, access, bytes, sizeof(bytes), callback);
}

void CRegisterMap::Declare64(std::uint64_t address, std::uint32_t access, std::uint64_t value,
                             IRegisterSpace* callback)
{
    std::uint8_t bytes[sizeof(value)];
    storeLittleEndian(bytes, value);
    Declare(address, access, bytes, sizeof(bytes), callback);
}

void CRegisterMap::Read(std::uint64_t address, void* buffer, std::size_t size)
{
    DoRead(address, buffer, size, false);
}

void CRegisterMap::Write(std::uint64_t address, const void* buffer, std::size_t size)
{
    DoWrite(address, buffer, size, false);
}

void CRegisterMap::WriteString(std::uint64_t address, const char* text)
{
    DoWrite(address, text, std::strlen(text) + 1, false);
}

std::uint32_t CRegisterMap::Read32(std::uint64_t address)
{
    std::uint8_t bytes[sizeof(std::uint32_t)];
    DoRead(address, bytes, sizeof(bytes), false);
    return loadLittleEndian<std::uint32_t>(bytes);
}

void CRegisterMap::Write32(std::uint64_t address, std::uint32_t value)
{
    std::uint8_t bytes[sizeof(value)];
    storeLittleEndian(bytes, value);
    DoWrite(address, bytes, sizeof(bytes), false);
}

void CRegisterMap::Write64(std::uint64_t address, std::uint64_t value)
{
    std::uint8_t bytes[sizeof(value)];
    storeLittleEndian(bytes, value);
    DoWrite(address, bytes, sizeof(bytes), false);
}

void CRegisterMap::UserRead(std::uint64_t address, void* buffer, std::size_t size)
{
    DoRead(address, buffer, size, true);
}

void CRegisterMap::UserWrite(std::uint64_t address, const void* buffer, std::size_t size)
{
    DoWrite(address, buffer, size, true);
}

CRegisterMap::Refusal CRegisterMap::TryUserRead(std::uint64_t address, void* buffer,
                                                std::size_t size)
{
    const Target target = Look(address);
    if (!target.entry || address == kInvalidAddress)
        return Refusal::Address;
    if ((target.entry->access & kReadable) == 0)
        return Refusal::Access;
    if (!IsInside(target.offset, size, target.entry->size()))
        return Refusal::Address;
    Fetch(target, buffer, size, true);
    return Refusal::None;
}

CRegisterMap::Target CRegisterMap::Look(std::uint64_t address) noexcept
{
    const auto exact = entries_.find(address);
    if (exact != entries_.end())
        return {address, 0, &exact->second};

    // Blocks may overlap: the one with the lowest address wins.
    for (auto& [base, entry] : entries_) {
        if (base > address)
            break;
        if (address - base < entry.size())
            return {base, static_cast<std::size_t>(address - base), &entry};
    }
    return {address, 0, nullptr};
}

CRegisterMap::Target CRegisterMap::Find(std::uint64_t address)
{
    const Target target = Look(address);
    if (!target.entry)
        throw std::invalid_argument(Message(address, " is not available."));
    return target;
}

void CRegisterMap::DoRead(std::uint64_t address, void* buffer, std::size_t size, bool external)
{
    CheckAddress(address);
    const Target target = Find(address);
    Entry& entry = *target.entry;
    if (external && (entry.access & kReadable) == 0)
        throw access_error(Message(address, " is not readable."));
    if (!IsInside(target.offset, size, entry.size()))
        throw std::out_of_range(Message(address, " read access range error."));

    Fetch(target, buffer, size, external);
}

void CRegisterMap::Fetch(const Target& target, void* buffer, std::size_t size, bool external)
{
    Entry& entry = *target.entry;
    if (external && entry.callback != nullptr)
        entry.callback->OnRegisterRead(target.base, entry.block.data(), entry.size());
    CopyBytes(buffer, reinterpret_cast<const char*>(entry.block.data()) + target.offset, size);
}

void CRegisterMap::DoWrite(std::uint64_t address, const void* buffer, std::size_t size,
                           bool external)
{
    CheckAddress(address);
    const Target target = Find(address);
    Entry& entry = *target.entry;
    if (external && (entry.access & kWritable) == 0)
        throw access_error(Message(address, " is not writable."));
    if (!IsInside(target.offset, size, entry.size()))
        throw std::out_of_range(Message(address, " write access range error."));

    const bool isWatched = external && entry.callback != nullptr;
    if (isWatched)
        scratch_ = entry.block;
    CopyBytes(reinterpret_cast<char*>(entry.block.data()) + target.offset, buffer, size);
    if (!isWatched)
        return;
    try {
        entry.callback->OnRegisterWrite(target.base, entry.block.data(), entry.size());
    } catch (...) {
        entry.block = scratch_;
        throw;
    }
}

} // namespace GenTLProducer
