#include "trace/environment.h"

#include <cstdio>
#include <cstdlib>

namespace GenTLProducer
{

std::int32_t ReadEnvironmentInteger(const char* name, std::int32_t fallback) noexcept
{
    const char* text = std::getenv(name);
    int value = 0;
    return text && std::sscanf(text, "%i", &value) == 1 ? value : fallback;
}

} // namespace GenTLProducer
