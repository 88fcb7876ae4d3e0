#include "registers/space/numeric_register.h"

namespace GenTLProducer
{

namespace
{

constexpr std::uint32_t kPrefixSize = 12;

} // namespace

template <typename T>
RegisterStatus NumericRORegister<T>::read(std::uint32_t offset, void* buffer, std::uint32_t length)
{
    if (const RegisterStatus status = checkRead(); status != kStatusSuccess)
        return status;
    readWord(static_cast<std::uint32_t>(getValue()), offset, buffer, length);
    return kStatusSuccess;
}

template <typename T>
RegisterStatus NumericRWRegisterValueOnly<T>::write(std::uint32_t offset, const void* buffer,
                                                    std::uint32_t length)
{
    if (const RegisterStatus status = this->checkWrite(); status != kStatusSuccess)
        return status;
    const auto present = static_cast<std::uint32_t>(this->getValue());
    const auto value = static_cast<T>(this->mergeWord(present, offset, buffer, length));
    if (!this->has(RegisterFlag::Unchecked) && !isAccepted(value))
        return kStatusValueRejected;
    setValue(value);
    return kStatusSuccess;
}

template <typename T>
bool NumericRWRegisterValueOnly<T>::isAccepted(T value) const noexcept
{
    if (value < this->min || value > this->max)
        return false;
    // 64 bits, since the distance of two signed words can pass theirs.
    const std::int64_t distance = std::int64_t{value} - std::int64_t{this->min};
    return this->inc == 0 ? distance == 0 : distance % std::int64_t{this->inc} == 0;
}

template <typename T>
RegisterStatus NumericRWRegister<T>::read(std::uint32_t offset, void* buffer, std::uint32_t length)
{
    using Base = NumericRWRegisterValueOnly<T>;
    if (this->has(RegisterFlag::ValueOnly))
        return Base::read(offset, buffer, length);
    const std::uint32_t prefix[] = {static_cast<std::uint32_t>(this->min),
                                    static_cast<std::uint32_t>(this->max),
                                    static_cast<std::uint32_t>(this->inc)};
    const auto rest = this->readPrefix(prefix, offset, buffer, length);
    return Base::read(rest.offset, rest.buffer, rest.length);
}

template <typename T>
RegisterStatus NumericRWRegister<T>::write(std::uint32_t offset, const void* buffer,
                                           std::uint32_t length)
{
    using Base = NumericRWRegisterValueOnly<T>;
    if (this->has(RegisterFlag::ValueOnly))
        return Base::write(offset, buffer, length);
    if (offset < kPrefixSize)
        return kStatusWriteLocked;
    return Base::write(offset - kPrefixSize, buffer, length);
}

template <typename T>
std::uint32_t NumericRWRegister<T>::size() const
{
    return this->has(RegisterFlag::ValueOnly) ? this->kWordSize : kPrefixSize + this->kWordSize;
}

template class NumericRORegister<std::uint32_t>;
template class NumericRORegister<std::int32_t>;
template class NumericRWRegisterValueOnly<std::uint32_t>;
template class NumericRWRegisterValueOnly<std::int32_t>;
template class NumericRWRegister<std::uint32_t>;
template class NumericRWRegister<std::int32_t>;

} // namespace GenTLProducer
