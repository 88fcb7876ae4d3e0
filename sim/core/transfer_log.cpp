#include "sim/core/transfer_log.h"

#include <algorithm>

#include "sim/core/ap1302_registers.h"
#include "sim/core/module_memory.h"

namespace zevo_sim
{

std::uint64_t IspWrite::Value() const
{
    std::uint64_t value = 0;
    for (const std::uint8_t byte : bytes)
        value = value << 8 | byte;
    return value;
}

void TransferLog::Add(Direction direction, std::uint16_t cciAddress, const std::uint8_t* bytes,
                      std::size_t size)
{
    transfers_.push_back({direction, cciAddress, {bytes, bytes + size}});
}

std::vector<IspWrite> TransferLog::IspWrites() const
{
    std::vector<IspWrite> writes;
    for (const Transfer& transfer : transfers_) {
        const auto address = IspAddress(transfer.cciAddress);
        if (transfer.direction != Direction::Write || !address)
            continue;
        if (*address < isp::kBootWindow || *address - isp::kBootWindow >= isp::kBootWindowSize)
            writes.push_back({*address, transfer.bytes});
    }
    return writes;
}

std::size_t TransferLog::IspReadCount() const
{
    return static_cast<std::size_t>(
        std::count_if(transfers_.begin(), transfers_.end(), [](const Transfer& transfer) {
            return transfer.direction == Direction::Read && IspAddress(transfer.cciAddress);
        }));
}

} // namespace zevo_sim
