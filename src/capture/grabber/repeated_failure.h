// Thins out the trace of a failure that repeats.
#pragma once

#include <chrono>
#include <cstdint>

namespace V4lX
{

/// One thread.
class RepeatedFailure final
{
public:
    using Clock = std::chrono::steady_clock;

    /// Takes note of one failure. The number of failures that a line is now due for: 1 for the
    /// first with this code, then at most once a second all those since the last line; else 0.
    std::uint64_t Note(int code, Clock::time_point now) noexcept;
    /// What was tried went well: the next failure is a first one.
    void End() noexcept { m_code = kNone; }

private:
    static constexpr int kNone = -1;

    int m_code = kNone;
    std::uint64_t m_untold = 0;
    Clock::time_point m_lastLine;
};

} // namespace V4lX
