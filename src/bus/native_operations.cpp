// The operation table of the driver's own ioctl numbers.
#include <sys/ioctl.h>

#include <cerrno>

#include "bus/operation_table.h"
#include "bus/register_transfer.h"

namespace mcm
{

namespace
{

constexpr char kReadFailed[] = "ioctl(TOLMEN_IOC_READ_REGISTER) failed: ";
constexpr char kWriteFailed[] = "ioctl(TOLMEN_IOC_WRITE_REGISTER) failed: ";

int version(int fd, unsigned short* major, unsigned short* minor)
{
    if (!major || !minor)
        return -EINVAL;
    std::uint32_t word = 0xDEADBEEF;
    const int result = resultOf(::ioctl(fd, TOLMEN_IOC_VERSION, &word));
    if (result == 0)
        splitVersion(word, major, minor);
    return result;
}

int csi(int fd, tolmen_csi_information* information)
{
    return information ? resultOf(::ioctl(fd, TOLMEN_IOC_CSI, information)) : -EINVAL;
}

int device(int fd, tolmen_device_information* information)
{
    return information ? resultOf(::ioctl(fd, TOLMEN_IOC_DEVICE, information)) : -EINVAL;
}

void read(int fd, unsigned short address, void* data, long size)
{
    tolmen_register_transfer transfer = makeReadRequest(address, size);
    if (::ioctl(fd, TOLMEN_IOC_READ_REGISTER, &transfer) < 0)
        throwSystemError(kReadFailed, errno);
    takeReadBytes(transfer, kReadFailed, data, size);
}

void write(int fd, unsigned short address, const void* data, long size)
{
    tolmen_register_transfer transfer = makeWriteRequest(address, data, size);
    if (::ioctl(fd, TOLMEN_IOC_WRITE_REGISTER, &transfer) < 0)
        throwSystemError(kWriteFailed, errno);
}

} // namespace

OperationTable nativeOperations()
{
    return {version, csi, device, read, write};
}

} // namespace mcm
