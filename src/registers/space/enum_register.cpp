#include "registers/space/enum_register.h"

#include <algorithm>

namespace GenTLProducer
{

namespace
{

constexpr std::uint32_t kMaskBits = 32;
constexpr std::uint32_t kPrefixSize = kMaskBits * 4;

} // namespace

template <typename T>
T EnumRORegister<T>::valueOf(std::uint32_t index) const noexcept
{
    if (valueTable == nullptr)
        return index;
    return index < valueCount ? valueTable[index] : 0;
}

template <typename T>
RegisterStatus EnumRORegister<T>::read(std::uint32_t offset, void* buffer, std::uint32_t length)
{
    if (const RegisterStatus status = checkRead(); status != kStatusSuccess)
        return status;
    readWord(valueOf(getValue()), offset, buffer, length);
    return kStatusSuccess;
}

template <typename T>
RegisterStatus EnumRWRegisterValueOnly<T>::write(std::uint32_t offset, const void* buffer,
                                                 std::uint32_t length)
{
    if (const RegisterStatus status = this->checkWrite(); status != kStatusSuccess)
        return status;
    const T present = this->valueOf(this->getValue());
    const std::uint32_t index = indexOf(this->mergeWord(present, offset, buffer, length));
    const bool isValid = (this->validMask >> index % kMaskBits & 1) != 0;
    if (!this->has(RegisterFlag::Unchecked) && !isValid)
        return kStatusValueRejected;
    setValue(index);
    return kStatusSuccess;
}

template <typename T>
std::uint32_t EnumRWRegisterValueOnly<T>::indexOf(T value) const noexcept
{
    if (this->valueTable == nullptr)
        return value;
    const T* const end = this->valueTable + this->valueCount;
    return static_cast<std::uint32_t>(std::find(this->valueTable, end, value) - this->valueTable);
}

template <typename T>
RegisterStatus EnumRWRegister<T>::read(std::uint32_t offset, void* buffer, std::uint32_t length)
{
    using Base = EnumRWRegisterValueOnly<T>;
    if (this->has(RegisterFlag::ValueOnly))
        return Base::read(offset, buffer, length);
    std::uint32_t prefix[kMaskBits];
    for (std::uint32_t i = 0; i < kMaskBits; ++i)
        prefix[i] = this->validMask >> i & 1;
    const auto rest = this->readPrefix(prefix, offset, buffer, length);
    return Base::read(rest.offset, rest.buffer, rest.length);
}

template <typename T>
RegisterStatus EnumRWRegister<T>::write(std::uint32_t offset, const void* buffer,
                                        std::uint32_t length)
{
    using Base = EnumRWRegisterValueOnly<T>;
    if (this->has(RegisterFlag::ValueOnly))
        return Base::write(offset, buffer, length);
    if (offset < kPrefixSize)
        return kStatusWriteLocked;
    return Base::write(offset - kPrefixSize, buffer, length);
}

template <typename T>
std::uint32_t EnumRWRegister<T>::size() const
{
    return this->has(RegisterFlag::ValueOnly) ? this->kWordSize : kPrefixSize + this->kWordSize;
}

template class EnumRORegister<std::uint32_t>;
template class EnumRWRegisterValueOnly<std::uint32_t>;
template class EnumRWRegister<std::uint32_t>;

} // namespace GenTLProducer
