// The CSI-2 link of a camera, as its kernel driver tells it.
#pragma once

#include <array>
#include <cstdint>

namespace mcm
{

inline constexpr std::uint32_t kMaxCsiLanes = 4;

/// What the rest of the producer knows of the CSI link.
struct CsiConfiguration {
    std::uint64_t laneDataRateBps; ///< of each lane, twice the driver's link frequency
    std::uint32_t laneCount;       ///< 1 to 4
    /// Physical lane numbers; those past the lane count are 0.
    std::array<std::uint32_t, kMaxCsiLanes> laneAssignment;
    std::uint32_t reserved; ///< always 0
};

} // namespace mcm
