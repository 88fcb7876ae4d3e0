#include "bus/register_transfer.h"

#include <cerrno>
#include <cstring>
#include <stdexcept>

namespace mcm
{

namespace
{

tolmen_register_transfer makeRequest(std::uint16_t address, TransferDirection direction, long size)
{
    if (size < 0 || size > static_cast<long>(kMaxTransferSize))
        throw std::runtime_error("Illegal transfer size requested");
    tolmen_register_transfer request{};
    request.address = address;
    request.size = static_cast<std::uint16_t>(size);
    request.direction = direction;
    return request;
}

} // namespace

tolmen_register_transfer makeReadRequest(std::uint16_t address, long size)
{
    return makeRequest(address, TransferDirection::Read, size);
}

tolmen_register_transfer makeWriteRequest(std::uint16_t address, const void* data, long size)
{
    tolmen_register_transfer request = makeRequest(address, TransferDirection::Write, size);
    std::memcpy(request.payload, data, request.size);
    return request;
}

void takeReadBytes(const tolmen_register_transfer& answer, const char* prefix, void* data,
                   long size)
{
    if (answer.size != size)
        throw std::runtime_error(std::string(prefix) + "Read incomplete - requested bytes (" +
                                 std::to_string(size) + ") != received bytes (" +
                                 std::to_string(answer.size) + ")");
    std::memcpy(data, answer.payload, static_cast<std::size_t>(size));
}

void throwSystemError(const char* prefix, int error)
{
    // The C library's English text, whatever locale the host has set.
    const char* text = ::strerrordesc_np(error);
    throw std::runtime_error(prefix + (text ? text : "Unknown error " + std::to_string(error)));
}

int resultOf(int ioctlResult) noexcept
{
    return ioctlResult < 0 ? -errno : 0;
}

void splitVersion(std::uint32_t word, unsigned short* major, unsigned short* minor) noexcept
{
    *major = static_cast<unsigned short>(word >> 16);
    *minor = static_cast<unsigned short>(word & 0xFFFF);
}

} // namespace mcm
