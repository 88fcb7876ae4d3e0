// Stored settings as text that a person can read and edit.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace zevo_tool
{

/// One line "NAME = VALUE  # COMMENT".
struct StoredSetting {
    std::string name;
    std::string value;
    std::string comment;
    std::size_t line = 0; ///< in the file that it was read from, from 1
};

/// Values that would be misread stand in quotation marks.
std::string FormatSettings(const std::vector<StoredSetting>& settings, const std::string& title);

/// Empty lines and comments are passed over. Failure with the line's number, behind `source`, for
/// anything else that isn't a setting.
std::vector<StoredSetting> ParseSettings(const std::string& text, const std::string& source);

/// The file's settings; Failure when it can't be read.
std::vector<StoredSetting> ReadSettings(const std::string& path);

} // namespace zevo_tool
