#include "trace/gentl_trace.h"

#include <cstdarg>
#include <cstdio>

#include "trace/environment.h"

namespace GenTLProducer
{

const GenTLTraceSettings g_genTLTrace = {
    static_cast<std::uint32_t>(ReadEnvironmentInteger("GENTL_TRACE_FLAGS", 0)),
    ReadEnvironmentInteger("GENTL_TRACE_LEVEL", 0),
};

void GenTLTrace(const char* format, ...) noexcept
{
    char line[512];
    va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(line, sizeof line, format, arguments);
    va_end(arguments);
    std::fputs(line, stderr);
    std::fputc('\n', stderr);
}

} // namespace GenTLProducer
