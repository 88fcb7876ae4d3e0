// What went over the module's CCI link, in order.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace zevo_sim
{

enum class Direction : std::uint8_t { Read = 1, Write = 2 };

/// One register transfer of the driver that succeeded.
struct Transfer {
    Direction direction;
    std::uint16_t cciAddress;
    std::vector<std::uint8_t> bytes;
};

/// A write as the ISP sees it.
struct IspWrite {
    std::uint16_t address;
    std::vector<std::uint8_t> bytes;

    /// The bytes as one big-endian number.
    std::uint64_t Value() const;

    bool operator==(const IspWrite& other) const
    {
        return address == other.address && bytes == other.bytes;
    }
};

class TransferLog final
{
public:
    void Add(Direction direction, std::uint16_t cciAddress, const std::uint8_t* bytes,
             std::size_t size);
    void Clear() { transfers_.clear(); }

    const std::vector<Transfer>& All() const { return transfers_; }

    /// The writes to the ISP's registers, in order, one per transfer, without boot data.
    std::vector<IspWrite> IspWrites() const;
    /// Number of reads of any ISP register.
    std::size_t IspReadCount() const;

private:
    std::vector<Transfer> transfers_;
};

} // namespace zevo_sim
