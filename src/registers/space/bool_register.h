// Boolean registers; commands are of this family, too.
#pragma once

#include "registers/space/register_base.h"

namespace GenTLProducer
{

/// Shows a Boolean as a word of 0 or 1.
class BoolRORegister : public RegisterBase
{
public:
    using Value = bool;

    static constexpr std::uint8_t kFalseAllowed = 1;
    static constexpr std::uint8_t kTrueAllowed = 2;

    RegisterStatus read(std::uint32_t offset, void* buffer, std::uint32_t length) override;
    std::uint32_t size() const override { return kWordSize; }
    virtual bool getValue() = 0;

    /// Values that a write may have, a mask of the constants above.
    std::uint8_t allowedValues = kFalseAllowed | kTrueAllowed;
};

/// The same with writes: any word but 0 is true.
class BoolRWRegisterValueOnly : public BoolRORegister
{
public:
    RegisterStatus write(std::uint32_t offset, const void* buffer, std::uint32_t length) override;
    virtual void setValue(bool value) = 0;
};

/// The same with two words in front, unless ValueOnly: false allowed, true allowed.
class BoolRWRegister : public BoolRWRegisterValueOnly
{
public:
    RegisterStatus read(std::uint32_t offset, void* buffer, std::uint32_t length) override;
    RegisterStatus write(std::uint32_t offset, const void* buffer, std::uint32_t length) override;
    std::uint32_t size() const override;
};

} // namespace GenTLProducer
