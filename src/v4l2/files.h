// Reading the small text files by which a board tells what it is.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace V4L2
{

/// The paths that match a shell pattern, sorted; empty where none does. std::bad_alloc.
std::vector<std::string> ExpandFileNames(const std::string& pattern);

/// The bytes of a file, at most limit of them; nothing if it can't be opened or read.
std::optional<std::string> ReadFile(const std::string& path, std::size_t limit);

/// The text before the first line end or NUL, nothing else trimmed; at most 4096 bytes. Empty
/// for a file that can't be read.
std::string ReadFirstLine(const std::string& path);

} // namespace V4L2
