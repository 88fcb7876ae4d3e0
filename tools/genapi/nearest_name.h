// What somebody may have meant who has mistyped a name.
#pragma once

#include <string>
#include <vector>

namespace zevo_tool
{

/// The candidate with the fewest changed letters, upper and lower case being alike; empty when
/// none is near enough to be meant.
std::string NearestName(const std::string& name, const std::vector<std::string>& candidates);

/// "; did you mean X?" for the nearest candidate, or nothing.
std::string Suggestion(const std::string& name, const std::vector<std::string>& candidates);

} // namespace zevo_tool
