// Structures and request numbers of the kernel camera driver. Fields are in the processor's byte
// order; register payloads are opaque bytes.
#pragma once

#include <linux/videodev2.h>
#include <sys/ioctl.h>

#include <cstddef>
#include <cstdint>

namespace mcm
{

inline constexpr std::size_t kMaxTransferSize = 256;
inline constexpr std::size_t kDeviceTextSize = 65;

struct tolmen_csi_information {
    std::uint64_t linkFrequencyHz;
    std::uint8_t laneCount;
    std::uint8_t laneNumbers[4];
    std::uint8_t padding[3];
};
static_assert(sizeof(tolmen_csi_information) == 16);
static_assert(offsetof(tolmen_csi_information, laneCount) == 8);
static_assert(offsetof(tolmen_csi_information, laneNumbers) == 9);

/// The texts end with NUL where the driver keeps its word; readers must not rely on it.
struct tolmen_device_information {
    std::uint32_t magic;
    std::uint32_t version; ///< first number in the high half, second in the low half
    char manufacturerName[kDeviceTextSize];
    char modelName[kDeviceTextSize];
    char familyName[kDeviceTextSize];
    char deviceVersion[kDeviceTextSize];
    char manufacturerInformation[kDeviceTextSize];
    char serialNumber[kDeviceTextSize];
    char userDefinedName[kDeviceTextSize];
    std::uint8_t padding;
};
static_assert(sizeof(tolmen_device_information) == 464);
static_assert(offsetof(tolmen_device_information, manufacturerName) == 8);
static_assert(offsetof(tolmen_device_information, serialNumber) == 333);
static_assert(offsetof(tolmen_device_information, userDefinedName) == 398);

inline constexpr std::uint32_t kDeviceInformationMagic = 0x050991B0;

enum class TransferDirection : std::uint8_t { Read = 1, Write = 2 };

struct tolmen_register_transfer {
    std::uint16_t address;
    std::uint8_t payload[kMaxTransferSize];
    std::uint16_t size; ///< behind a read: what the driver has delivered
    TransferDirection direction;
    std::uint8_t padding;
};
static_assert(sizeof(tolmen_register_transfer) == 262);
static_assert(alignof(tolmen_register_transfer) == 2);
static_assert(offsetof(tolmen_register_transfer, payload) == 2);
static_assert(offsetof(tolmen_register_transfer, size) == 258);
static_assert(offsetof(tolmen_register_transfer, direction) == 260);

/// Requests of the native form.
inline constexpr unsigned long TOLMEN_IOC_VERSION = _IOR('B', 1, std::uint32_t);
inline constexpr unsigned long TOLMEN_IOC_DEVICE = _IOR('B', 2, tolmen_device_information);
inline constexpr unsigned long TOLMEN_IOC_CSI = _IOR('B', 3, tolmen_csi_information);
inline constexpr unsigned long TOLMEN_IOC_READ_REGISTER = _IOWR('B', 4, tolmen_register_transfer);
inline constexpr unsigned long TOLMEN_IOC_WRITE_REGISTER = _IOWR('B', 5, tolmen_register_transfer);
static_assert(TOLMEN_IOC_VERSION == 0x80044201);
static_assert(TOLMEN_IOC_DEVICE == 0x81D04202);
static_assert(TOLMEN_IOC_CSI == 0x80104203);
static_assert(TOLMEN_IOC_READ_REGISTER == 0xC1064204);
static_assert(TOLMEN_IOC_WRITE_REGISTER == 0xC1064205);

/// Control ids of the form that goes through V4L2 extended controls.
inline constexpr std::uint32_t kControlVersion = 0x00981001;
inline constexpr std::uint32_t kControlTransfer = 0x00981002;
inline constexpr std::uint32_t kControlDevice = 0x00981003;
inline constexpr std::uint32_t kControlCsi = 0x00981004;
static_assert(VIDIOC_G_EXT_CTRLS == 0xC0205647 && VIDIOC_S_EXT_CTRLS == 0xC0205648,
              "the control structures are those of a 64-bit system");

} // namespace mcm
