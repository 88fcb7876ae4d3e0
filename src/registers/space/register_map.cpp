#include "registers/space/register_map.h"

#include <algorithm>
#include <cstring>

namespace GenTLProducer
{

namespace
{

/// 64 bits, since an entry may end at the top of the 32-bit space.
std::uint64_t End(const RegisterMap::Entry& entry)
{
    return std::uint64_t{entry.address} + entry.target->size();
}

const IRegisterMapConfig& DefaultConfig()
{
    static const DefaultRegisterConfig config;
    return config;
}

} // namespace

RegisterMap::RegisterMap(std::uint32_t size, Span<const Entry> entries,
                         const IRegisterMapConfig* config)
    : size_(size), entries_(entries), config_(config != nullptr ? config : &DefaultConfig())
{
}

RegisterStatus RegisterMap::read(std::uint32_t offset, void* buffer, std::uint32_t length)
{
    if (length == 0)
        return kStatusSuccess;
    std::memset(buffer, 0, length);
    auto* const bytes = static_cast<std::uint8_t*>(buffer);
    return walk(
        offset, length,
        [bytes](IRegister& target, std::uint32_t inside, std::uint32_t done, std::uint32_t count) {
            return target.read(inside, bytes + done, count);
        },
        [this] { return config_->onReadGap(); });
}

RegisterStatus RegisterMap::write(std::uint32_t offset, const void* buffer, std::uint32_t length)
{
    const auto* const bytes = static_cast<const std::uint8_t*>(buffer);
    return walk(
        offset, length,
        [bytes](IRegister& target, std::uint32_t inside, std::uint32_t done, std::uint32_t count) {
            return target.write(inside, bytes + done, count);
        },
        [this] { return config_->onWriteGap(); });
}

template <typename Access, typename Gap>
RegisterStatus RegisterMap::walk(std::uint32_t offset, std::uint32_t length, Access access,
                                 Gap gap) const
{
    std::uint64_t position = offset;
    const std::uint64_t end = position + length;
    const Entry* entry =
        std::partition_point(entries_.begin(), entries_.end(),
                             [position](const Entry& e) { return End(e) <= position; });
    for (; position < end && entry != entries_.end(); ++entry) {
        const std::uint64_t from = std::min(std::max<std::uint64_t>(entry->address, position), end);
        const std::uint64_t to = std::max(std::min(end, End(*entry)), from);
        if (from > position) {
            if (const RegisterStatus status = gap(); status != kStatusSuccess)
                return status;
        }
        if (to > from) {
            const RegisterStatus status = config_->translateStatus(access(
                *entry->target, static_cast<std::uint32_t>(from - entry->address),
                static_cast<std::uint32_t>(from - offset), static_cast<std::uint32_t>(to - from)));
            if (status != kStatusSuccess)
                return status;
        }
        position = to;
    }
    return position < end ? gap() : kStatusSuccess;
}

} // namespace GenTLProducer
