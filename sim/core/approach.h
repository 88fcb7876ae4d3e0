// How an automatic gets from one value to another.
#pragma once

#include <algorithm>
#include <cmath>

namespace zevo_sim
{

/// Half of the way, by factors, and the rest at once when it is too little to be seen.
inline double Approach(double from, double to)
{
    constexpr double least = 1.0 / 256;
    constexpr double unseen = 1.0 / 64;
    const double way = std::log2(std::max(to, least) / std::max(from, least));
    return std::abs(way) < unseen ? to : std::max(from, least) * std::exp2(way / 2);
}

} // namespace zevo_sim
