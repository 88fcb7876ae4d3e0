// Why a board may have no cameras: the one place of this program that looks at the system itself.
#pragma once

#include <string>
#include <vector>

namespace zevo_tool
{

/// What the video nodes in a folder tell, a sentence each; empty when they tell nothing.
std::vector<std::string> BoardHints(const std::string& folder = "/dev");

} // namespace zevo_tool
