// Telling video nodes apart by their driver.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace V4L2
{

/// The paths, in their order, of those nodes whose driver has exactly this name. Opens each node
/// for the test; one that can't be opened or can't capture counts as a driver without a name.
std::vector<std::string> FilterByDriverName(const std::vector<std::string>& paths,
                                            std::string_view driverName);

} // namespace V4L2
