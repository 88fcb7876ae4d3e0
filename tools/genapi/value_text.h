// Values of features as text.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace zevo_tool
{

/// Decimal, or hexadecimal behind "0x", with an optional sign. Nothing for any other text.
std::optional<std::int64_t> ParseInteger(const std::string& text);
/// A finite number with a decimal point, whatever the locale. Nothing for any other text.
std::optional<double> ParseFloat(const std::string& text);
/// true, false, 1, 0, on, off, yes, no, upper and lower case being alike.
std::optional<bool> ParseBoolean(const std::string& text);

/// Nine digits at most, which is what a register of four bytes can tell.
std::string FormatFloat(double value);
/// The shortest text that gives exactly this number when read.
std::string FormatFloatExactly(double value);
std::string FormatHex(std::int64_t value);

} // namespace zevo_tool
