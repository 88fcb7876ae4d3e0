// Text registers.
#pragma once

#include "registers/space/register_base.h"

namespace GenTLProducer
{

/// Shows a text. Behind its end nothing is delivered, so that a caller's zeros stay; a text as
/// long as the register has no NUL there.
class StringRORegister : public RegisterBase
{
public:
    using Value = const char*;

    RegisterStatus read(std::uint32_t offset, void* buffer, std::uint32_t length) override;
    /// The maximum length, up to the next multiple of 4.
    std::uint32_t size() const override;
    /// The text must stay good until the next call.
    virtual const char* getValue() = 0;

    void setMaxLength(std::uint32_t maxLength) noexcept { maxLength_ = maxLength; }
    std::uint32_t getMaxLength() const noexcept { return maxLength_; }

private:
    std::uint32_t maxLength_ = 0;
};

/// The same with writes, up to 512 bytes; a partial write merges with the present text.
class StringRWRegisterValueOnly : public StringRORegister
{
public:
    RegisterStatus write(std::uint32_t offset, const void* buffer, std::uint32_t length) override;
    virtual void setValue(const char* text) = 0;
};

/// The same with one word in front, unless ValueOnly: the maximum length.
class StringRWRegister : public StringRWRegisterValueOnly
{
public:
    RegisterStatus read(std::uint32_t offset, void* buffer, std::uint32_t length) override;
    RegisterStatus write(std::uint32_t offset, const void* buffer, std::uint32_t length) override;
    std::uint32_t size() const override;
};

} // namespace GenTLProducer
