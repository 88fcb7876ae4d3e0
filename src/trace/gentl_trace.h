// The trace of the GenTL layers: entry points, modules, streams, events.
#pragma once

#include <cstdint>

namespace GenTLProducer
{

/// Channel bits of GENTL_TRACE_FLAGS.
enum GenTLTraceFlag : std::uint32_t {
    kTraceResults = 0x2,    ///< results, error texts, info values
    kTraceLoader = 0x4,     ///< failures of the dynamic loader
    kTraceCameraList = 0x8, ///< camera list of the interface, camera scan
    kTraceDevice = 0x10,    ///< device, camera, remote port
    kTraceStream = 0x20,    ///< data stream, low level
    kTraceQueues = 0x40,    ///< buffer queues
    kTraceEvents = 0x200,   ///< event objects
    kTraceCalls = 0x400,    ///< entry and exit of exported functions
};

/// GENTL_TRACE_FLAGS and GENTL_TRACE_LEVEL, read once at load; nobody writes them later.
struct GenTLTraceSettings {
    std::uint32_t flags;
    std::int32_t level;
};
extern const GenTLTraceSettings g_genTLTrace;

inline bool IsGenTLTraced(std::uint32_t flags, std::int32_t threshold) noexcept
{
    return (g_genTLTrace.flags & flags) != 0 && g_genTLTrace.level > threshold;
}

/// Writes one line to standard error, cut at 511 characters. Any thread; never fails.
/// Call it through GENTL_TRACE, which builds no argument of a line that nobody will see.
void GenTLTrace(const char* format, ...) noexcept __attribute__((format(printf, 1, 2)));

} // namespace GenTLProducer

/// One line of a channel, printed when GENTL_TRACE_LEVEL is above the threshold.
#define GENTL_TRACE(flag, threshold, ...)                                                          \
    do {                                                                                           \
        if (::GenTLProducer::IsGenTLTraced(flag, threshold))                                       \
            ::GenTLProducer::GenTLTrace(__VA_ARGS__);                                              \
    } while (false)
