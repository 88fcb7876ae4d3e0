// Time as the waits on the ISP see it.
#pragma once

#include <chrono>

namespace mcm
{

/// The one place that tells time and sleeps, so that a test need not wait.
class IClock
{
public:
    using TimePoint = std::chrono::steady_clock::time_point;
    using Duration = std::chrono::steady_clock::duration;

    virtual TimePoint now() const = 0;
    /// Sleeps for the whole time, signals or not.
    virtual void sleep(Duration duration) const = 0;

protected:
    ~IClock() = default;
};

/// The steady clock of the system.
const IClock& steadyClock() noexcept;

/// Asks the condition again and again, with a pause between (none if it is 0), until it is true.
/// False if the time-out passes first; the condition is asked at least once.
template <typename Condition>
bool waitUntil(const IClock& clock, IClock::Duration timeout, IClock::Duration pause,
               Condition condition)
{
    const IClock::TimePoint end = clock.now() + timeout;
    while (!condition()) {
        if (clock.now() >= end)
            return false;
        if (pause > IClock::Duration::zero())
            clock.sleep(pause);
    }
    return true;
}

} // namespace mcm
