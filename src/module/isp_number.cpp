#include "module/isp_number.h"

#include <cmath>
#include <locale>
#include <sstream>
#include <stdexcept>

namespace mcm
{

namespace
{

template <typename Number>
[[noreturn]] void throwText(const char* name, Number value, Number minimum, Number maximum)
{
    std::ostringstream text;
    text.imbue(std::locale::classic());
    text << name << ": Value " << value << " outside range " << minimum << "..." << maximum << ".";
    throw std::range_error(text.str());
}

} // namespace

void throwOutsideRange(const char* name, double value, double minimum, double maximum)
{
    throwText(name, value, minimum, maximum);
}

void throwOutsideRange(const char* name, std::uint32_t value, std::uint32_t minimum,
                       std::uint32_t maximum)
{
    throwText(name, value, minimum, maximum);
}

double roundHalfAway(double value) noexcept
{
    return std::trunc(value < 0 ? value - 0.5 : value + 0.5);
}

std::uint32_t lowBits(double wholeNumber) noexcept
{
    constexpr double kTwoTo32 = 4294967296.0;
    const double rest = std::fmod(wholeNumber, kTwoTo32);
    return std::isfinite(rest) ? static_cast<std::uint32_t>(static_cast<std::int64_t>(rest)) : 0;
}

} // namespace mcm
