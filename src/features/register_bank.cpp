#include "features/register_bank.h"

#include <algorithm>

namespace GenTLProducer
{

RegisterBank::RegisterBank(IRegisterValues& values) : set_(values)
{
    for (const RegisterRow& row : DeviceRegisterRows())
        set_.add(row.shape);
}

void RegisterBank::appendTo(std::vector<RegisterMap::Entry>& entries)
{
    for (const RegisterRow& row : DeviceRegisterRows())
        entries.push_back({row.address, &set_.at(rowOf(row.key))});
}

void RegisterBank::adopt(Reg key, std::int64_t value)
{
    valueOf(key) = {value, value};
}

std::int64_t RegisterBank::adoptValid(Reg key)
{
    std::int64_t value = requested(key);
    const RegisterFamily family = RowOf(key).shape.family;
    if (family == RegisterFamily::EnumRW)
        value = FirstValid(value, set_.validMask(rowOf(key)));
    else if (family == RegisterFamily::NumericRW || family == RegisterFamily::IntRW)
        value = WithinLimits(value, limits(key));
    adopt(key, value);
    return value;
}

std::uint32_t FirstValid(std::int64_t index, std::uint32_t mask)
{
    constexpr std::uint32_t kBits = 32;
    if (mask == 0 || (index >= 0 && index < kBits && (mask >> index & 1) != 0))
        return static_cast<std::uint32_t>(index);
    std::uint32_t lowest = 0;
    while ((mask >> lowest & 1) == 0)
        ++lowest;
    return lowest;
}

std::int64_t WithinLimits(std::int64_t requested, const Limits& limits)
{
    if (requested < limits.min)
        return limits.min;
    const std::int64_t value = std::min(requested, limits.max);
    // A platform may leave an empty range, which has no grid, or a grid of one point.
    if (value < limits.min)
        return value;
    return limits.inc > 0 ? value - (value - limits.min) % limits.inc : limits.min;
}

} // namespace GenTLProducer
