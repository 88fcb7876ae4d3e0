// Names of enumeration values in log lines.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

namespace mcm
{

/// The name at that place of the list, or the number itself behind the list's end.
template <std::size_t count>
std::string valueName(const char* const (&names)[count], std::uint32_t value)
{
    return value < count ? names[value] : std::to_string(value);
}

} // namespace mcm
