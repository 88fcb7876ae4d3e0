// The two kinds of 16-bit addresses, which are never mixed.
#pragma once

#include <cstdint>
#include <ostream>

namespace mcm
{

/// What the user of a bus device passes.
struct DeviceAddress {
    std::uint16_t value;
};

/// What goes to the bridge.
struct CciAddress {
    std::uint16_t value;
};

/// For log lines: "<3> 0x1f". Leaves the stream in hexadecimal.
inline std::ostream& operator<<(std::ostream& stream, DeviceAddress address)
{
    return stream << "<3> 0x" << std::hex << address.value;
}

/// For log lines: "<2> 0x1f". Leaves the stream in hexadecimal.
inline std::ostream& operator<<(std::ostream& stream, CciAddress address)
{
    return stream << "<2> 0x" << std::hex << address.value;
}

} // namespace mcm
