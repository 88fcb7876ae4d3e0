// Enumeration registers.
#pragma once

#include "registers/space/register_base.h"

namespace GenTLProducer
{

/// Shows an enumeration. Its owner works with the index of the entry, a consumer with the value
/// that the table gives for the index; without a table the two are the same number.
template <typename T>
class EnumRORegister : public RegisterBase
{
public:
    using Value = std::uint32_t;

    RegisterStatus read(std::uint32_t offset, void* buffer, std::uint32_t length) override;
    std::uint32_t size() const override { return kWordSize; }
    /// Gives the index.
    virtual std::uint32_t getValue() = 0;

    /// Borrowed, may be null.
    const T* valueTable = nullptr;
    std::uint32_t valueCount = 0;
    /// Bit i set: index i may be selected.
    std::uint32_t validMask = 0;

protected:
    T valueOf(std::uint32_t index) const noexcept;
};

/// The same with writes.
template <typename T>
class EnumRWRegisterValueOnly : public EnumRORegister<T>
{
public:
    RegisterStatus write(std::uint32_t offset, const void* buffer, std::uint32_t length) override;
    /// Takes the index; valueCount for a value that the table lacks, while Unchecked.
    virtual void setValue(std::uint32_t index) = 0;

private:
    std::uint32_t indexOf(T value) const noexcept;
};

/// The same with 32 words in front, unless ValueOnly: word i is 1 where index i is valid.
template <typename T>
class EnumRWRegister : public EnumRWRegisterValueOnly<T>
{
public:
    RegisterStatus read(std::uint32_t offset, void* buffer, std::uint32_t length) override;
    RegisterStatus write(std::uint32_t offset, const void* buffer, std::uint32_t length) override;
    std::uint32_t size() const override;
};

extern template class EnumRORegister<std::uint32_t>;
extern template class EnumRWRegisterValueOnly<std::uint32_t>;
extern template class EnumRWRegister<std::uint32_t>;

} // namespace GenTLProducer
