// Integers from the environment, for the settings of the trace channels.
#pragma once

#include <cstdint>

namespace GenTLProducer
{

/// Value of an environment variable as decimal, 0x hexadecimal or 0 octal number. The fallback
/// where the variable is unset or holds no number.
std::int32_t ReadEnvironmentInteger(const char* name, std::int32_t fallback) noexcept;

} // namespace GenTLProducer
