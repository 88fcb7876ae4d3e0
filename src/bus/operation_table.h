// The five operations of the kernel camera driver, in the form that its node speaks.
#pragma once

#include <functional>

#include "bus/kernel_interface.h"

namespace mcm
{

/// Every operation gets the descriptor of the node. The first three give 0 or a negative error
/// number and leave their results alone on failure; given a null pointer they give -EINVAL.
/// The transfers move at most 256 bytes at a CCI address and throw std::runtime_error.
struct OperationTable {
    std::function<int(int fd, unsigned short* major, unsigned short* minor)> version;
    std::function<int(int fd, tolmen_csi_information* information)> csi;
    std::function<int(int fd, tolmen_device_information* information)> device;
    std::function<void(int fd, unsigned short address, void* data, long size)> read;
    std::function<void(int fd, unsigned short address, const void* data, long size)> write;
};

/// The driver's own ioctl numbers.
OperationTable nativeOperations();

/// The same structures as V4L2 extended controls.
OperationTable v4l2ControlOperations();

} // namespace mcm
