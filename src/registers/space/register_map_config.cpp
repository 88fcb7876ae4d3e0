#include "registers/space/register_map_config.h"

namespace GenTLProducer
{

namespace
{

struct Translation {
    RegisterStatus status;
    RegisterStatus device;
    RegisterStatus bootstrap;
};

constexpr Translation kTranslations[] = {
    // status of a register   device registers        bootstrap registers
    {kStatusNotImplemented, kStatusSuccess, kGenCpInvalidAddress},
    {kStatusWriteUnavailable, kGenCpWriteProtect, kGenCpAccessDenied},
    {kStatusReadUnavailable, kStatusSuccess, kGenCpAccessDenied},
    {kStatusWriteLocked, kGenCpWriteProtect, kGenCpWriteProtect},
    {kStatusReadLocked, kGenCpAccessDenied, kGenCpAccessDenied},
    {kStatusValueRejected, kGenCpInvalidParameter, kGenCpAccessDenied},
};

RegisterStatus Translate(RegisterStatus status, RegisterStatus Translation::*column)
{
    for (const Translation& row : kTranslations) {
        if (row.status == status)
            return row.*column;
    }
    return status;
}

} // namespace

RegisterStatus DefaultRegisterConfig::translateStatus(RegisterStatus status) const
{
    return Translate(status, &Translation::device);
}

RegisterStatus BootstrapRegisterConfig::translateStatus(RegisterStatus status) const
{
    return Translate(status, &Translation::bootstrap);
}

} // namespace GenTLProducer
