#include "grab/statistics.h"

#include <algorithm>
#include <cmath>

namespace zevo_tool
{

namespace
{

/// A frame that took longer, or that came from the future, was stamped by another clock.
constexpr Nanoseconds kLongestDelivery = 3'600'000'000'000;

} // namespace

Nanoseconds Percentile(std::vector<Nanoseconds> values, double share)
{
    if (values.empty())
        return 0;
    const auto rank =
        static_cast<std::size_t>(std::ceil(share * static_cast<double>(values.size())));
    const std::size_t index = std::clamp<std::size_t>(rank, 1, values.size()) - 1;
    std::nth_element(values.begin(), values.begin() + static_cast<std::ptrdiff_t>(index),
                     values.end());
    return values[index];
}

void Statistics::AddFrame(std::optional<Nanoseconds> timestamp, Nanoseconds delivered)
{
    if (frames_ == 0) {
        timestamps_.first = timestamp.value_or(0);
        deliveries_.first = delivered;
    }
    hasTimestamps_ = hasTimestamps_ && timestamp && *timestamp >= timestamps_.last;
    timestamps_.last = timestamp.value_or(0);
    deliveries_.last = delivered;
    ++frames_;
    if (!timestamp || *timestamp > delivered || delivered - *timestamp > kLongestDelivery)
        hasForeignClock_ = true;
    else
        delays_.push_back(delivered - *timestamp);
}

Nanoseconds Statistics::Duration() const
{
    const Span& span = hasTimestamps_ ? timestamps_ : deliveries_;
    return span.last - span.first;
}

std::optional<double> Statistics::FrameRate() const
{
    const Nanoseconds duration = Duration();
    if (frames_ < 2 || duration == 0)
        return std::nullopt;
    return static_cast<double>(frames_ - 1) * 1e9 / static_cast<double>(duration);
}

std::optional<Delivery> Statistics::TimeToDelivery() const
{
    if (delays_.empty() || hasForeignClock_)
        return std::nullopt;
    return Delivery{Percentile(delays_, 0.5), Percentile(delays_, 0.99)};
}

} // namespace zevo_tool
