// The trace of the capture layer.
#pragma once

#include <cstdint>

namespace V4lX
{

/// V4LXAPI_TRACE_FLAGS and V4LXAPI_TRACE_LEVEL, read once at load; nobody writes them later.
struct TraceSettings {
    std::uint32_t flags;
    std::int32_t level;
};
extern const TraceSettings g_trace;

/// Levels of the capture layer's messages.
enum TraceLevel : std::int32_t {
    kTraceError = 2,
    kTraceWarning = 3,
    kTraceNotice = 4,
    kTraceDetail = 5,
};

inline bool IsTraced(std::int32_t level) noexcept
{
    constexpr std::uint32_t kCaptureChannel = 4;
    return (g_trace.flags & kCaptureChannel) != 0 && g_trace.level >= level;
}

/// Writes one line with local date and time to standard error, the message cut at 511
/// characters. Any thread; never fails. Call it through V4LX_TRACE.
void V4lXTrace(const char* format, ...) noexcept __attribute__((format(printf, 1, 2)));

} // namespace V4lX

/// One line of the capture layer, printed when V4LXAPI_TRACE_LEVEL is at least the level.
#define V4LX_TRACE(level, ...)                                                                     \
    do {                                                                                           \
        if (::V4lX::IsTraced(level))                                                               \
            ::V4lX::V4lXTrace(__VA_ARGS__);                                                        \
    } while (false)
