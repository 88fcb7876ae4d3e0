#include "genapi/value_text.h"

#include <array>
#include <cctype>
#include <charconv>
#include <cmath>
#include <limits>

namespace zevo_tool
{

namespace
{

struct Word {
    const char* text;
    bool value;
};

constexpr Word kBooleanWords[] = {
    {"true", true},   {"1", true},  {"on", true},   {"yes", true},
    {"false", false}, {"0", false}, {"off", false}, {"no", false},
};

template <typename Number, typename... Format>
std::string ToText(Number value, Format... format)
{
    std::array<char, 64> text;
    const auto [end, error] =
        std::to_chars(text.data(), text.data() + text.size(), value, format...);
    return error == std::errc() ? std::string(text.data(), end) : std::string("?");
}

} // namespace

std::optional<std::int64_t> ParseInteger(const std::string& text)
{
    std::size_t start = 0;
    const bool isNegative = text.rfind('-', 0) == 0;
    if (isNegative || text.rfind('+', 0) == 0)
        start = 1;
    const bool isHex = text.compare(start, 2, "0x") == 0 || text.compare(start, 2, "0X") == 0;
    if (isHex)
        start += 2;
    std::uint64_t value = 0;
    const char* last = text.data() + text.size();
    const auto [end, error] = std::from_chars(text.data() + start, last, value, isHex ? 16 : 10);
    constexpr auto kMax = static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max());
    if (error != std::errc() || end != last || value > kMax + (isNegative ? 1 : 0))
        return std::nullopt;
    return static_cast<std::int64_t>(isNegative ? 0 - value : value);
}

std::optional<double> ParseFloat(const std::string& text)
{
    const bool hasPlus = text.rfind('+', 0) == 0;
    if (hasPlus && text.rfind("+-", 0) == 0)
        return std::nullopt;
    const char* start = text.data() + (hasPlus ? 1 : 0);
    const char* last = text.data() + text.size();
    double value = 0;
    const auto [end, error] = std::from_chars(start, last, value);
    if (error != std::errc() || end != last || !std::isfinite(value))
        return std::nullopt;
    return value;
}

std::optional<bool> ParseBoolean(const std::string& text)
{
    std::string word;
    for (const char letter : text)
        word += static_cast<char>(std::tolower(static_cast<unsigned char>(letter)));
    for (const Word& known : kBooleanWords)
        if (word == known.text)
            return known.value;
    return std::nullopt;
}

std::string FormatFloat(double value)
{
    constexpr int kDigits = 9;
    return ToText(value, std::chars_format::general, kDigits);
}

std::string FormatFloatExactly(double value)
{
    return ToText(value);
}

std::string FormatHex(std::int64_t value)
{
    return "0x" + ToText(static_cast<std::uint64_t>(value), 16);
}

} // namespace zevo_tool
