// The operation table that tunnels the driver's structures through V4L2 extended controls.
#include <sys/ioctl.h>

#include <cerrno>

#include "bus/operation_table.h"
#include "bus/register_transfer.h"

namespace mcm
{

namespace
{

/// One request with one control. Size 0 stands for a value inside the control itself.
class ControlRequest final
{
public:
    ControlRequest(std::uint32_t id, void* payload, std::uint32_t size) noexcept
    {
        control_.id = id;
        control_.size = size;
        if (payload)
            control_.ptr = payload;
        controls_.count = 1;
        controls_.controls = &control_;
    }
    ControlRequest(const ControlRequest&) = delete;
    ControlRequest& operator=(const ControlRequest&) = delete;

    int get(int fd) noexcept { return ::ioctl(fd, VIDIOC_G_EXT_CTRLS, &controls_); }
    int set(int fd) noexcept { return ::ioctl(fd, VIDIOC_S_EXT_CTRLS, &controls_); }
    std::uint32_t value() const noexcept { return static_cast<std::uint32_t>(control_.value); }

private:
    v4l2_ext_control control_{};
    v4l2_ext_controls controls_{};
};

template <typename Structure>
ControlRequest requestFor(std::uint32_t id, Structure* payload) noexcept
{
    return ControlRequest(id, payload, sizeof(Structure));
}

void send(int fd, tolmen_register_transfer* transfer)
{
    if (requestFor(kControlTransfer, transfer).set(fd) != 0)
        throwSystemError("send(): ioctl() failed: ", errno);
}

void receive(int fd, tolmen_register_transfer* transfer)
{
    if (requestFor(kControlTransfer, transfer).get(fd) != 0)
        throwSystemError("receive(): ioctl() failed: ", errno);
}

int version(int fd, unsigned short* major, unsigned short* minor)
{
    if (!major || !minor)
        return -EINVAL;
    ControlRequest request(kControlVersion, nullptr, 0);
    const int result = resultOf(request.get(fd));
    if (result == 0)
        splitVersion(request.value(), major, minor);
    return result;
}

int csi(int fd, tolmen_csi_information* information)
{
    return information ? resultOf(requestFor(kControlCsi, information).get(fd)) : -EINVAL;
}

int device(int fd, tolmen_device_information* information)
{
    if (!information)
        return -EINVAL;
    const int result = resultOf(requestFor(kControlDevice, information).get(fd));
    if (result == 0 && information->magic != kDeviceInformationMagic)
        return -EPIPE;
    return result;
}

void read(int fd, unsigned short address, void* data, long size)
{
    tolmen_register_transfer transfer = makeReadRequest(address, size);
    send(fd, &transfer);
    receive(fd, &transfer);
    takeReadBytes(transfer, "read(): receive() failed: ", data, size);
}

void write(int fd, unsigned short address, const void* data, long size)
{
    tolmen_register_transfer transfer = makeWriteRequest(address, data, size);
    send(fd, &transfer);
}

} // namespace

OperationTable v4l2ControlOperations()
{
    return {version, csi, device, read, write};
}

} // namespace mcm
