// What the preloaded library has seen of the producer's calls.
#pragma once

#include <cstdint>
#include <vector>

/// Of the capture thread, the one that dequeues from the capture node, since the start.
struct CaptureCalls {
    std::uint64_t frames;    ///< dequeued
    std::uint64_t delivered; ///< with a wake-up behind them
    std::uint64_t calls;     ///< of all kinds, those of the waits included
    double ownSeconds;       ///< outside of the simulated ioctls
    double copySeconds;      ///< from a dequeue's return to the wake-up's begin
    double lastSignal;       ///< when the last wake-up has begun, monotonic clock
};

/// One register transfer over the camera's bus.
struct BusTransfer {
    std::uint16_t address;
    std::uint16_t size;
    bool isWrite;
};

// Exported by the library, weak here: absent unless it is preloaded.
extern "C" {
void zevo_bench_capture_calls(CaptureCalls* calls) __attribute__((weak));
/// Number of transfers since the start; as many of them as fit.
std::size_t zevo_bench_transfers(BusTransfer* transfers, std::size_t size) __attribute__((weak));
}

namespace zevo_bench
{

CaptureCalls ReadCaptureCalls();
std::vector<BusTransfer> ReadTransfers();

} // namespace zevo_bench
