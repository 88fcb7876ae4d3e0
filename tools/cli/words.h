// A line's words, as a shell splits them.
#pragma once

#include <string>
#include <vector>

namespace zevo_tool
{

/// Words between blanks; blanks count inside '...' and "...", and behind a backslash outside of
/// '...'. A # that begins a word begins a comment. UsageError for a missing quotation mark.
std::vector<std::string> SplitWords(const std::string& line);

} // namespace zevo_tool
