#include "features/register_set.h"

#include <type_traits>
#include <utility>

#include "base/exception.h"

namespace GenTLProducer
{

namespace
{

template <typename Register>
constexpr bool IsNumber = std::is_base_of_v<NumericRORegister<std::uint32_t>, Register> ||
                          std::is_base_of_v<NumericRORegister<std::int32_t>, Register>;
template <typename Register>
constexpr bool IsEnumeration = std::is_base_of_v<EnumRORegister<std::uint32_t>, Register>;
template <typename Register>
constexpr bool IsText = std::is_base_of_v<StringRORegister, Register>;

} // namespace

template <typename Family>
typename Family::Value RegisterSet::Shown<Family>::getValue()
{
    if constexpr (IsText<Family>)
        return values_.readText(row_);
    else
        return static_cast<typename Family::Value>(values_.readValue(row_));
}

template <typename Family>
void RegisterSet::Writable<Family>::setValue(typename Family::Value value)
{
    if constexpr (IsText<Family>)
        this->values_.writeText(this->row_, value);
    else
        this->values_.writeValue(this->row_, value);
}

template <typename Type>
RegisterSet::Register& RegisterSet::emplace()
{
    return registers_.emplace_back(std::in_place_type<Type>, values_, registers_.size());
}

RegisterSet::Register& RegisterSet::emplace(RegisterFamily family)
{
    switch (family) {
    case RegisterFamily::BoolRO:
        return emplace<Shown<BoolRORegister>>();
    case RegisterFamily::BoolRW:
        return emplace<Writable<BoolRWRegister>>();
    case RegisterFamily::NumericRO:
        return emplace<Shown<NumericRORegister<std::uint32_t>>>();
    case RegisterFamily::NumericRW:
        return emplace<Writable<NumericRWRegister<std::uint32_t>>>();
    case RegisterFamily::IntRW:
        return emplace<Writable<NumericRWRegister<std::int32_t>>>();
    case RegisterFamily::EnumRO:
        return emplace<Shown<EnumRORegister<std::uint32_t>>>();
    case RegisterFamily::EnumRW:
        return emplace<Writable<EnumRWRegister<std::uint32_t>>>();
    case RegisterFamily::StringRO:
        return emplace<Shown<StringRORegister>>();
    case RegisterFamily::StringRW:
        return emplace<Writable<StringRWRegister>>();
    case RegisterFamily::Uint64RO:
        return emplace<Shown<Uint64RORegister>>();
    }
    throw InternalError("register family without a class");
}

RegisterBase& RegisterSet::add(const RegisterShape& shape)
{
    const auto configure = [&shape](auto& target) -> RegisterBase& {
        using Type = std::remove_reference_t<decltype(target)>;
        if constexpr (IsText<Type>)
            target.setMaxLength(shape.count);
        if constexpr (IsEnumeration<Type>) {
            target.valueTable = shape.valueTable;
            target.valueCount = shape.count;
        }
        target.set(RegisterFlag::ValueOnly, shape.isValueOnly);
        target.set(RegisterFlag::ReadLocked, shape.isReadLocked);
        target.set(RegisterFlag::Available, !shape.isUnavailable);
        return target;
    };
    RegisterBase& added = std::visit(configure, emplace(shape.family));
    setLimits(registers_.size() - 1, shape.limits);
    setValidMask(registers_.size() - 1, shape.validMask);
    return added;
}

RegisterBase& RegisterSet::at(std::size_t row)
{
    return std::visit([](auto& target) -> RegisterBase& { return target; }, registers_[row]);
}

Limits RegisterSet::limits(std::size_t row) const
{
    return std::visit(
        [](const auto& target) -> Limits {
            if constexpr (IsNumber<std::decay_t<decltype(target)>>)
                return {target.min, target.max, target.inc};
            return {};
        },
        registers_[row]);
}

void RegisterSet::setLimits(std::size_t row, const Limits& limits)
{
    std::visit(
        [&limits](auto& target) {
            if constexpr (IsNumber<std::decay_t<decltype(target)>>) {
                using Number = decltype(target.min);
                target.min = static_cast<Number>(limits.min);
                target.max = static_cast<Number>(limits.max);
                target.inc = static_cast<Number>(limits.inc);
            }
        },
        registers_[row]);
}

std::uint32_t RegisterSet::validMask(std::size_t row) const
{
    return std::visit(
        [](const auto& target) -> std::uint32_t {
            if constexpr (IsEnumeration<std::decay_t<decltype(target)>>)
                return target.validMask;
            return 0;
        },
        registers_[row]);
}

void RegisterSet::setValidMask(std::size_t row, std::uint32_t mask)
{
    std::visit(
        [mask](auto& target) {
            if constexpr (IsEnumeration<std::decay_t<decltype(target)>>)
                target.validMask = mask;
        },
        registers_[row]);
}

} // namespace GenTLProducer
