#include "trace/v4lx_trace.h"

#include <cstdarg>
#include <cstdio>
#include <ctime>
#include <sys/time.h>

#include "trace/environment.h"

namespace V4lX
{

const TraceSettings g_trace = {
    static_cast<std::uint32_t>(GenTLProducer::ReadEnvironmentInteger("V4LXAPI_TRACE_FLAGS", -1)),
    GenTLProducer::ReadEnvironmentInteger("V4LXAPI_TRACE_LEVEL", 3),
};

void V4lXTrace(const char* format, ...) noexcept
{
    char line[512];
    va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(line, sizeof line, format, arguments);
    va_end(arguments);

    timeval now{};
    ::gettimeofday(&now, nullptr);
    std::tm local{};
    ::localtime_r(&now.tv_sec, &local);
    std::fprintf(stderr, "%02d.%02d.%04d %02d:%02d:%02d.%06d %s\n", local.tm_mday, local.tm_mon + 1,
                 local.tm_year + 1900, local.tm_hour, local.tm_min, local.tm_sec,
                 static_cast<int>(now.tv_usec), line);
}

} // namespace V4lX
