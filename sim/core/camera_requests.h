// The requests of the driver `tolmen-camera` and their structures, in the processor's byte order.
#pragma once

#include <sys/ioctl.h>

#include <cstddef>
#include <cstdint>

namespace zevo_sim
{

struct CsiInformation {
    std::uint64_t linkFrequency; // half of the lane data rate
    std::uint8_t laneCount;
    std::uint8_t laneAssignment[4];
    std::uint8_t reserved[3];
};
static_assert(sizeof(CsiInformation) == 16);

constexpr std::size_t kTextField = 65;

struct DeviceInformation {
    std::uint32_t magic;
    std::uint32_t version;
    char text[7][kTextField];
    char padding;
};
static_assert(sizeof(DeviceInformation) == 464);

constexpr std::size_t kPayloadSize = 256;

struct RegisterTransfer {
    std::uint16_t address;
    std::uint8_t payload[kPayloadSize];
    std::uint16_t size;
    std::uint8_t direction;
    std::uint8_t padding;
};
static_assert(sizeof(RegisterTransfer) == 262 && alignof(RegisterTransfer) == 2);

constexpr unsigned long TOLMEN_IOC_VERSION = _IOR('B', 1, std::uint32_t);
constexpr unsigned long TOLMEN_IOC_DEVICE = _IOR('B', 2, DeviceInformation);
constexpr unsigned long TOLMEN_IOC_CSI = _IOR('B', 3, CsiInformation);
constexpr unsigned long TOLMEN_IOC_READ_REGISTER = _IOWR('B', 4, RegisterTransfer);
constexpr unsigned long TOLMEN_IOC_WRITE_REGISTER = _IOWR('B', 5, RegisterTransfer);

} // namespace zevo_sim
