// Registers of a 64-bit number of which the low word counts.
#pragma once

#include "registers/space/register_base.h"

namespace GenTLProducer
{

/// Shows a word widened to 64 bits.
class Uint64RORegister : public RegisterBase
{
public:
    using Value = std::uint32_t;

    RegisterStatus read(std::uint32_t offset, void* buffer, std::uint32_t length) override;
    std::uint32_t size() const override { return 2 * kWordSize; }
    virtual std::uint32_t getValue() = 0;
};

} // namespace GenTLProducer
