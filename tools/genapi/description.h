// The description (XML) that a port publishes, fetched from where its URL says.
#pragma once

#include <cstdint>
#include <string>

#include "producer/port.h"

namespace zevo_tool
{

/// A GenTL URL: "local:[///]NAME;ADDRESS;LENGTH[?SchemaVersion=...]", hexadecimal, or
/// "file:///PATH[?SchemaVersion=...]".
struct DescriptionUrl {
    enum class Scheme : std::uint8_t { Local, File };
    Scheme scheme;
    std::string name;      ///< file name, or path
    std::uint64_t address; ///< of a local one
    std::uint64_t size;    ///< bytes, of a local one
};

/// Failure for another scheme or a malformed URL.
DescriptionUrl ParseDescriptionUrl(const std::string& url);

/// The text of the port's first description that can be had, unpacked if it is a ZIP archive.
std::string FetchDescription(GenTLPort& port);

} // namespace zevo_tool
