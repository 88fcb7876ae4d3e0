// Callback of a module register.
#pragma once

#include <cstddef>
#include <cstdint>

namespace GenTLProducer
{

/// What a module implements to keep registers of its CRegisterMap live. The map calls it for
/// consumer accesses alone, with the register's base address and its whole block, under the
/// module's lock. An implementation throws to refuse an access.
class IRegisterSpace
{
public:
    /// The block holds the new bytes already. True when the address was handled.
    virtual bool OnRegisterWrite(std::uint64_t address, const std::uint32_t* pUiRegisterData,
                                 std::size_t uiRegisterDataSize) = 0;
    /// May change the block before it is read. True when the address was handled.
    virtual bool OnRegisterRead(std::uint64_t address, std::uint32_t* pUiRegisterData,
                                std::size_t uiRegisterDataSize) = 0;

protected:
    ~IRegisterSpace() = default;
};

} // namespace GenTLProducer
