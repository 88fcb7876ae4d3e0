// What an acquisition was like, in numbers.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace zevo_tool
{

/// Nanoseconds of a clock that starts anywhere.
using Nanoseconds = std::uint64_t;

struct Delivery {
    Nanoseconds median;
    Nanoseconds percentile99;
};

/// Collects frames in the order of their delivery. One thread.
class Statistics final
{
public:
    /// `timestamp` as the frame tells it, nothing when it doesn't; `delivered` by the clock that
    /// cameras' drivers use, the monotonic one.
    void AddFrame(std::optional<Nanoseconds> timestamp, Nanoseconds delivered);
    void AddIncomplete() { ++incomplete_; }

    std::uint64_t Frames() const { return frames_; }
    std::uint64_t Incomplete() const { return incomplete_; }
    /// From the first frame to the last, by the frames' time stamps, or by their delivery where
    /// those aren't usable.
    Nanoseconds Duration() const;
    /// Frames per second; nothing for fewer than two frames.
    std::optional<double> FrameRate() const;
    /// From time stamp to delivery. Nothing when the time stamps are of another clock.
    std::optional<Delivery> TimeToDelivery() const;

private:
    struct Span {
        Nanoseconds first = 0;
        Nanoseconds last = 0;
    };

    std::uint64_t frames_ = 0;
    std::uint64_t incomplete_ = 0;
    Span timestamps_;
    Span deliveries_;
    bool hasForeignClock_ = false;
    bool hasTimestamps_ = true;
    std::vector<Nanoseconds> delays_;
};

/// The smallest value that at least this share, from 0 to 1, of the values doesn't exceed.
Nanoseconds Percentile(std::vector<Nanoseconds> values, double share);

} // namespace zevo_tool
