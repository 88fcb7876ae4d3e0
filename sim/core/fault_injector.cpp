#include "sim/core/fault_injector.h"

#include <pthread.h>
#include <signal.h>

#include <algorithm>
#include <cerrno>

#include "sim/core/module_memory.h"
#include "sim/core/system.h"

namespace zevo_sim
{

FaultInjector::FaultInjector(const std::vector<FaultRule>& rules)
{
    for (const FaultRule& rule : rules)
        counters_.push_back({rule, 0});
}

void FaultInjector::SetUnplugListener(std::function<void(unsigned)> listener)
{
    unplug_ = std::move(listener);
}

template <typename Match>
std::optional<FaultInjector::Fault> FaultInjector::Count(Match match)
{
    if (counters_.empty())
        return std::nullopt;
    const std::lock_guard lock(mutex_);
    std::optional<Fault> due;
    for (Counter& counter : counters_) {
        const FaultRule& rule = counter.rule;
        if (!match(rule))
            continue;
        const std::uint64_t before = counter.seen++;
        if (!due && before >= rule.after && before - rule.after < rule.times)
            due = Fault{rule.effect, rule.value};
    }
    return due;
}

namespace
{

/// A signal as it comes in the middle of a call: -EINTR if it ends this thread's call, 0 if it
/// goes to another thread.
int SendSignal(int number)
{
    sigset_t blocked;
    pthread_sigmask(SIG_SETMASK, nullptr, &blocked);
    if (sigismember(&blocked, number) == 1) {
        kill(sys::ProcessId(), number);
        return 0;
    }
    raise(number);
    return -EINTR;
}

bool IsCamera(const FaultRule& rule, std::optional<unsigned> camera)
{
    return !rule.camera || rule.camera == camera;
}

} // namespace

int FaultInjector::Suffer(const Fault& fault, std::optional<unsigned> camera)
{
    switch (fault.effect) {
    case FaultEffect::Error:
        return -static_cast<int>(fault.value);
    case FaultEffect::Signal:
        return SendSignal(static_cast<int>(fault.value));
    case FaultEffect::Unplug:
        if (unplug_)
            unplug_(camera.value_or(0));
        return camera ? -ENODEV : 0;
    default:
        return 0;
    }
}

int FaultInjector::OnCall(FaultPlace place, std::optional<unsigned> camera, unsigned long request)
{
    const auto fault = Count([&](const FaultRule& rule) {
        return rule.place == place && IsCamera(rule, camera) &&
               (!rule.request || *rule.request == request);
    });
    if (!fault)
        return 0;
    const int result = Suffer(*fault, camera);
    // These two work on a device that has gone, and show it in their way.
    const bool worksOn = place == FaultPlace::Poll || place == FaultPlace::Close;
    return fault->effect == FaultEffect::Unplug && worksOn ? 0 : result;
}

int FaultInjector::OnTransfer(unsigned camera, bool isRead, std::uint16_t address, std::size_t size,
                              std::optional<Fault>& readFault)
{
    const FaultPlace place = isRead ? FaultPlace::Read : FaultPlace::Write;
    const auto touches = [&](std::uint16_t linkAddress) {
        return linkAddress >= address && linkAddress < address + size;
    };
    const auto fault = Count([&](const FaultRule& rule) {
        return (rule.place == place || rule.place == FaultPlace::Transfer) &&
               IsCamera(rule, camera) && (!rule.address || touches(*rule.address)) &&
               (!rule.ispRegister || touches(CciAddress(*rule.ispRegister)));
    });
    if (!fault)
        return 0;
    if (fault->effect == FaultEffect::Short || fault->effect == FaultEffect::Value)
        readFault = fault;
    return Suffer(*fault, camera);
}

std::optional<FaultInjector::Fault> FaultInjector::OnFrame(unsigned camera)
{
    auto fault = Count([&](const FaultRule& rule) {
        return rule.place == FaultPlace::Frame && IsCamera(rule, camera);
    });
    if (fault)
        Suffer(*fault, camera);
    return fault;
}

std::size_t FaultInjector::OnFile(std::size_t size)
{
    const auto fault = Count([](const FaultRule& rule) { return rule.place == FaultPlace::File; });
    if (!fault)
        return size;
    return fault->effect == FaultEffect::Short ? std::min<std::size_t>(size, fault->value) : size;
}

} // namespace zevo_sim
