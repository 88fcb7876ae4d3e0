#include "trace/camera_log.h"

#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <locale>
#include <memory>
#include <string>
#include <sys/time.h>
#include <syslog.h>

#include "trace/environment.h"

namespace mcm
{

using GenTLProducer::ReadEnvironmentInteger;

const LogSettings g_log = {
    static_cast<std::uint32_t>(ReadEnvironmentInteger("MCM_TRACE_FLAGS", -1)),
    ReadEnvironmentInteger("MCM_TRACE_LEVEL_SYSLOG", 2),
    ReadEnvironmentInteger("MCM_TRACE_LEVEL_CONSOLE", 5),
    ReadEnvironmentInteger("MCM_TRACE_LEVEL_KERNEL", 2),
};

namespace
{

struct Free {
    void operator()(char* text) const noexcept { std::free(text); }
};
using MallocedText = std::unique_ptr<char, Free>;

// Opened at first use and kept for the life of the process; null where that isn't allowed.
std::FILE* kernelLog()
{
    static std::FILE* const file = std::fopen("/dev/kmsg", "w");
    return file;
}

MallocedText decorate(const char* format, ...) noexcept __attribute__((format(printf, 1, 2)));

MallocedText decorate(const char* format, ...) noexcept
{
    char* text = nullptr;
    va_list arguments;
    va_start(arguments, format);
    const int length = ::vasprintf(&text, format, arguments);
    va_end(arguments);
    return MallocedText(length < 0 ? nullptr : text);
}

// The decorated format is the caller's, whose arguments the compiler has checked already.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
void print(std::FILE* sink, const MallocedText& format, va_list arguments) noexcept
{
    if (!format || !sink)
        return;
    std::vfprintf(sink, format.get(), arguments);
    std::fflush(sink);
}
#pragma GCC diagnostic pop

} // namespace

const char* LogTag(std::int32_t level) noexcept
{
    switch (level) {
    case kLogError:
        return "ERROR: ";
    case kLogWarning:
        return "WARNING: ";
    case kLogNotice:
        return "NOTICE: ";
    case kLogInfo:
        return "INFO: ";
    case kLogDebug:
        return "DEBUG: ";
    default:
        return "";
    }
}

LogStream::LogStream(std::int32_t level, std::uint32_t flag) : flag_(flag), level_(level)
{
    imbue(std::locale::classic());
    *this << LogTag(level);
}

LogStream::~LogStream()
{
    try {
        const std::string text = str();
        if (level_ <= g_log.consoleLevel) {
            std::fprintf(stderr, "[%s][%06x] %s", Uptime(), flag_, text.c_str());
            std::fflush(stderr);
        }
        if (level_ <= g_log.syslogLevel)
            ::syslog(level_, "%s", text.c_str());
        if (level_ <= g_log.kernelLevel && kernelLog()) {
            std::fprintf(kernelLog(), "\n] %s", text.c_str());
            std::fflush(kernelLog());
        }
    } catch (const std::exception&) {
        // A line that there is no memory for is lost; logging never fails.
    }
}

void McmLog(std::int32_t level, std::uint32_t flag, const char* format, ...) noexcept
{
    if ((g_log.flags & flag) != flag)
        return;
    va_list arguments;
    va_start(arguments, format);
    va_list copy;
    if (level <= g_log.syslogLevel) {
        va_copy(copy, arguments);
        ::vsyslog(level, format, copy);
        va_end(copy);
    }
    if (level <= g_log.consoleLevel) {
        va_copy(copy, arguments);
        print(stderr, decorate("[%s][%06x][%-12s] %s", Uptime(), flag, "", format), copy);
        va_end(copy);
    }
    if (level <= g_log.kernelLevel)
        print(kernelLog(), decorate("\n[%-12s] %s", "", format), arguments);
    va_end(arguments);
}

const char* Uptime() noexcept
{
    static const timeval start = [] {
        timeval now{};
        ::gettimeofday(&now, nullptr);
        return now;
    }();
    thread_local char text[64];

    timeval now{};
    ::gettimeofday(&now, nullptr);
    timeval elapsed{};
    timersub(&now, &start, &elapsed);
    std::snprintf(text, sizeof text, "+% 5ld.%06ld", static_cast<long>(elapsed.tv_sec),
                  static_cast<long>(elapsed.tv_usec));
    return text;
}

} // namespace mcm
