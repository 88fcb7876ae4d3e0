// Registers of a 32-bit number.
#pragma once

#include "registers/space/register_base.h"

namespace GenTLProducer
{

/// Shows a number. T is std::uint32_t or std::int32_t.
template <typename T>
class NumericRORegister : public RegisterBase
{
public:
    using Value = T;

    RegisterStatus read(std::uint32_t offset, void* buffer, std::uint32_t length) override;
    std::uint32_t size() const override { return kWordSize; }
    virtual T getValue() = 0;

    /// Limits that a write must keep, and the grid from min on. Increment 0 leaves min alone.
    T min = 0;
    T max = 0;
    T inc = 0;
};

/// The same with writes.
template <typename T>
class NumericRWRegisterValueOnly : public NumericRORegister<T>
{
public:
    RegisterStatus write(std::uint32_t offset, const void* buffer, std::uint32_t length) override;
    virtual void setValue(T value) = 0;

private:
    bool isAccepted(T value) const noexcept;
};

/// The same with three words in front, unless ValueOnly: min, max, inc.
template <typename T>
class NumericRWRegister : public NumericRWRegisterValueOnly<T>
{
public:
    RegisterStatus read(std::uint32_t offset, void* buffer, std::uint32_t length) override;
    RegisterStatus write(std::uint32_t offset, const void* buffer, std::uint32_t length) override;
    std::uint32_t size() const override;
};

extern template class NumericRORegister<std::uint32_t>;
extern template class NumericRORegister<std::int32_t>;
extern template class NumericRWRegisterValueOnly<std::uint32_t>;
extern template class NumericRWRegisterValueOnly<std::int32_t>;
extern template class NumericRWRegister<std::uint32_t>;
extern template class NumericRWRegister<std::int32_t>;

} // namespace GenTLProducer
