#include "bus/chunked_connection.h"

#include <algorithm>
#include <limits>
#include <mutex>

namespace mcm
{

namespace
{

/// Calls move(address, pointer, length) for one piece after the other.
template <typename Byte, typename Move>
void forEachChunk(CciAddress address, Byte* data, std::int64_t size, std::int64_t limit, Move move)
{
    const std::int64_t longest = limit == 0 ? std::numeric_limits<std::int64_t>::max() : limit;
    while (size > 0) {
        const std::int64_t chunk = std::min(size, longest);
        move(address.value, data, static_cast<long>(chunk));
        size -= chunk;
        data += chunk;
        address.value = static_cast<std::uint16_t>(address.value + chunk);
    }
}

} // namespace

void ChunkedConnection::read(CciAddress address, void* data, long size) const
{
    const std::lock_guard<IMcmBridge> lock(*bridge_);
    forEachChunk(address, static_cast<std::uint8_t*>(data), size, limits_.maximumReadLength,
                 [this](std::uint16_t at, std::uint8_t* bytes, long length) {
                     bridge_->read(at, bytes, length);
                 });
}

void ChunkedConnection::write(CciAddress address, const void* data, long size) const
{
    const std::lock_guard<IMcmBridge> lock(*bridge_);
    forEachChunk(address, static_cast<const std::uint8_t*>(data), size, limits_.maximumWriteLength,
                 [this](std::uint16_t at, const std::uint8_t* bytes, long length) {
                     bridge_->write(at, bytes, length);
                 });
}

} // namespace mcm
