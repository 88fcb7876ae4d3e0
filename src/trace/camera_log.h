// The log of the camera layers: module, ISP, trigger, bus.
#pragma once

#include <cstdint>
#include <sstream>

namespace mcm
{

/// Gravity of a line: the syslog priorities in use.
enum LogLevel : std::int32_t {
    kLogError = 3,
    kLogWarning = 4,
    kLogNotice = 5,
    kLogInfo = 6,
    kLogDebug = 7,
};

/// Area of a line, a bit of MCM_TRACE_FLAGS.
enum LogFlag : std::uint32_t {
    kLogAlways = 0,    ///< not subject to the flags: errors, warnings, notices
    kLogBoot = 1,      ///< ISP boot and CSI set-up
    kLogModule = 2,    ///< camera module, sensor and trigger operations
    kLogTransfers = 4, ///< register transfers on the bus
    kLogMapping = 8,   ///< device address mapping
};

/// The MCM_TRACE_* variables, read once at load; nobody writes them later.
struct LogSettings {
    std::uint32_t flags;
    std::int32_t syslogLevel;
    std::int32_t consoleLevel;
    std::int32_t kernelLevel;
};
extern const LogSettings g_log;

/// True when some sink takes such a line: what MCM_LOG asks before it formats anything.
inline bool IsLogged(std::int32_t level, std::uint32_t flag) noexcept
{
    if (flag != kLogAlways && (g_log.flags & flag) == 0)
        return false;
    return level <= g_log.syslogLevel || level <= g_log.consoleLevel ||
           (level <= kLogNotice && level <= g_log.kernelLevel);
}

/// Tag that a line of this level begins with.
const char* LogTag(std::int32_t level) noexcept;

/// One line under construction. Made on the stack with the tag in it, filled by insertion and
/// ended with a line end; its destructor delivers the text to standard error, syslog and the
/// kernel log, as the levels tell. Use it through MCM_LOG.
class LogStream final : public std::ostringstream
{
public:
    LogStream(std::int32_t level, std::uint32_t flag);
    LogStream(const LogStream&) = delete;
    LogStream& operator=(const LogStream&) = delete;
    ~LogStream() override;

private:
    std::uint32_t flag_;
    std::int32_t level_;
};

/// The printf-like form: format begins with the tag and ends with a line end.
void McmLog(std::int32_t level, std::uint32_t flag, const char* format, ...) noexcept
    __attribute__((format(printf, 3, 4)));

/// Time since the first call, "+" and seconds padded to five places, then microseconds.
/// The text lies in a buffer of the calling thread, good until its next call.
const char* Uptime() noexcept;

} // namespace mcm

/// Stream for one line: MCM_LOG(kLogInfo, kLogBoot) << "Csi::SetPll for " << rate << "Mbps\n";
/// Nothing behind it is evaluated when no sink takes the line.
#define MCM_LOG(level, flag)                                                                       \
    if (!::mcm::IsLogged(::mcm::level, ::mcm::flag)) {                                             \
    } else                                                                                         \
        ::mcm::LogStream(::mcm::level, ::mcm::flag)
