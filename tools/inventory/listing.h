// The inventory as text.
#pragma once

#include <string>

#include "inventory/inventory.h"

namespace zevo_tool
{

/// Systems, interfaces and cameras as an indented list; cameras with the index that selects them.
std::string ListingText(const Inventory& inventory);

} // namespace zevo_tool
