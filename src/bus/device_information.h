// The names of a camera, as its kernel driver tells them.
#pragma once

#include <cstdint>
#include <string>

namespace mcm
{

struct DeviceInformation {
    /// The two numbers of the information version.
    std::uint16_t versionFirst;
    std::uint16_t versionSecond;

    std::string manufacturerName;
    std::string modelName;
    std::string familyName;
    std::string deviceVersion;
    std::string manufacturerInformation;
    std::string serialNumber; ///< possibly with a prefix that ends at a colon
    std::string userDefinedName;
};

} // namespace mcm
