#include "registers/space/uint64_register.h"

#include "base/endian.h"

namespace GenTLProducer
{

RegisterStatus Uint64RORegister::read(std::uint32_t offset, void* buffer, std::uint32_t length)
{
    if (const RegisterStatus status = checkRead(); status != kStatusSuccess)
        return status;
    std::uint8_t bytes[2 * kWordSize];
    storeLittleEndian(bytes, std::uint64_t{getValue()});
    readBytes(bytes, offset, buffer, length);
    return kStatusSuccess;
}

} // namespace GenTLProducer
