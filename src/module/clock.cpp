#include "module/clock.h"

#include <thread>

namespace mcm
{

namespace
{

class SteadyClock final : public IClock
{
public:
    TimePoint now() const override { return std::chrono::steady_clock::now(); }
    void sleep(Duration duration) const override { std::this_thread::sleep_for(duration); }
};

constexpr SteadyClock kSteadyClock{};

} // namespace

const IClock& steadyClock() noexcept
{
    return kSteadyClock;
}

} // namespace mcm
