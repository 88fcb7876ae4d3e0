// From a port to the description that the library carries for it.
#pragma once

#include <cstdint>
#include <vector>

#include <boost/shared_ptr.hpp>

#include "modules/generic/info_records.h"

namespace GenTLProducer
{

/// Port identifiers, PORT_INFO_ID of each port. They are the keys of the descriptions too.
constexpr char kSystemPortId[] = "Tolmen ZEVO GenTL System Module";
constexpr char kInterfacePortId[] = "Tolmen ZEVO GenTL Interface Module";
constexpr char kDevicePortId[] = "Tolmen ZEVO GenTL Device Port";
constexpr char kStreamPortId[] = "Tolmen ZEVO GenTL Stream Port";
constexpr char kRemotePortId[] = "Tolmen ZEVO Device Port";

/// Finds the description of a port: its bytes, and the URL info for a description at this
/// address. False, with nothing changed, for null and for a port without one.
bool AttachPortXml(const char* portIdentifier, std::vector<std::uint8_t>& xmlBytes,
                   boost::shared_ptr<CDefaultUrlInfo>& urlInfo, std::uint64_t address);

} // namespace GenTLProducer
