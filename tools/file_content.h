// Whole files.
#pragma once

#include <string>

namespace zevo_tool
{

/// Failure, with the system's reason, when the file can't be read.
std::string ReadFile(const std::string& path);
/// Failure, with the system's reason, when the file can't be written whole.
void WriteFile(const std::string& path, const std::string& content);

} // namespace zevo_tool
