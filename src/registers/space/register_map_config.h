// How a map of the remote register space answers.
#pragma once

#include "registers/space/iregister.h"

namespace GenTLProducer
{

/// Status codes of GenCP 1.2 that the register space answers with.
constexpr RegisterStatus kGenCpInvalidParameter = 0x8002;
constexpr RegisterStatus kGenCpInvalidAddress = 0x8003;
constexpr RegisterStatus kGenCpWriteProtect = 0x8004;
constexpr RegisterStatus kGenCpAccessDenied = 0x8006;

class IRegisterMapConfig
{
public:
    virtual ~IRegisterMapConfig() = default;
    /// Status for a stretch of the map that no register covers.
    virtual RegisterStatus onReadGap() const = 0;
    virtual RegisterStatus onWriteGap() const = 0;
    /// Turns the status of a register into one of GenCP; those pass unchanged.
    virtual RegisterStatus translateStatus(RegisterStatus status) const = 0;
};

/// The device registers: gaps and unavailable registers read as zeros.
class DefaultRegisterConfig final : public IRegisterMapConfig
{
public:
    RegisterStatus onReadGap() const override { return kStatusSuccess; }
    RegisterStatus onWriteGap() const override { return kStatusSuccess; }
    RegisterStatus translateStatus(RegisterStatus status) const override;
};

/// The bootstrap registers: gaps are errors.
class BootstrapRegisterConfig final : public IRegisterMapConfig
{
public:
    RegisterStatus onReadGap() const override { return kGenCpInvalidAddress; }
    RegisterStatus onWriteGap() const override { return kGenCpInvalidAddress; }
    RegisterStatus translateStatus(RegisterStatus status) const override;
};

} // namespace GenTLProducer
