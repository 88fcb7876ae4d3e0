// The faults of a board: counts what happens and tells when it goes wrong.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <mutex>
#include <optional>
#include <vector>

#include "sim/core/fault_rule.h"

namespace zevo_sim
{

/// Any thread. Calls its listener without a lock of its own.
class FaultInjector final
{
public:
    explicit FaultInjector(const std::vector<FaultRule>& rules);
    FaultInjector(const FaultInjector&) = delete;
    FaultInjector& operator=(const FaultInjector&) = delete;

    struct Fault {
        FaultEffect effect;
        std::uint64_t value;
    };

    /// A call of the program: 0, or the negative errno that it ends with. `camera` is the one whose
    /// node it goes to.
    int OnCall(FaultPlace place, std::optional<unsigned> camera = {}, unsigned long request = 0);
    /// A register transfer, before it is made. The errno as above; `readFault` is what a read that
    /// works is to suffer.
    int OnTransfer(unsigned camera, bool isRead, std::uint16_t address, std::size_t size,
                   std::optional<Fault>& readFault);
    /// A frame that the receiver has got.
    std::optional<Fault> OnFrame(unsigned camera);
    /// The bytes that a system file has.
    std::size_t OnFile(std::size_t size);

    /// Is called for each camera that is pulled. Set before the first fault.
    void SetUnplugListener(std::function<void(unsigned)> listener);

private:
    struct Counter {
        FaultRule rule;
        std::uint64_t seen = 0;
    };

    /// Counts for all rules that match; the first that is due decides.
    template <typename Match>
    std::optional<Fault> Count(Match match);
    int Suffer(const Fault& fault, std::optional<unsigned> camera);

    std::mutex mutex_; ///< a leaf
    std::vector<Counter> counters_;
    std::function<void(unsigned)> unplug_;
};

} // namespace zevo_sim
