#include "bus/camera_driver.h"

#include <fcntl.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <stdexcept>
#include <system_error>
#include <utility>

namespace mcm
{

using GenTLProducer::UniqueFd;

namespace
{

constexpr unsigned short kRequiredMajor = 1;
constexpr char kRequiredVersion[] = "1.1";

UniqueFd openNode(const std::string& path)
{
    UniqueFd node(::open(path.c_str(), O_RDWR));
    const int error = errno;
    if (!node.isValid())
        throw std::system_error(error, std::generic_category(),
                                "Could not open camara device " + path);
    return node;
}

bool speaksNative(const OperationTable& native, int fd)
{
    unsigned short major = 0;
    unsigned short minor = 0;
    return native.version(fd, &major, &minor) == 0 && (major != 0 || minor != 0);
}

std::string textOf(const char (&field)[kDeviceTextSize])
{
    return std::string(field, ::strnlen(field, sizeof field));
}

} // namespace

CameraDriver::CameraDriver(const std::string& path)
    : CameraDriver(path, openNode(path), nativeOperations(), v4l2ControlOperations())
{
}

CameraDriver::CameraDriver(std::string path, UniqueFd node, const OperationTable& native,
                           const OperationTable& control)
    : path_(std::move(path)), node_(std::move(node)),
      operations_(speaksNative(native, node_.get()) ? native : control)
{
    checkVersion();
}

void CameraDriver::checkVersion() const
{
    unsigned short major = 0;
    unsigned short minor = 0;
    operations_.version(node_.get(), &major, &minor);
    if (major != kRequiredMajor || minor == 0)
        throw std::runtime_error(std::string("Tolmen Interface version mismatch: expected: ") +
                                 kRequiredVersion + ", got: " + std::to_string(major) + "." +
                                 std::to_string(minor));
}

CsiConfiguration CameraDriver::getCsiConfiguration() const
{
    tolmen_csi_information information{};
    operations_.csi(node_.get(), &information);
    const std::uint32_t lanes = information.laneCount;
    if (lanes < 1 || lanes > kMaxCsiLanes)
        throw std::system_error(EINVAL, std::generic_category(),
                                "Invalid number of data lanes (" + std::to_string(lanes) +
                                    ") configured");

    CsiConfiguration configuration{};
    configuration.laneDataRateBps = 2 * information.linkFrequencyHz;
    configuration.laneCount = lanes;
    std::copy_n(information.laneNumbers, lanes, configuration.laneAssignment.begin());
    return configuration;
}

DeviceInformation CameraDriver::getDeviceInformation() const
{
    tolmen_device_information information{};
    operations_.device(node_.get(), &information);

    DeviceInformation result{};
    result.versionFirst = static_cast<std::uint16_t>(information.version >> 16);
    result.versionSecond = static_cast<std::uint16_t>(information.version & 0xFFFF);
    result.manufacturerName = textOf(information.manufacturerName);
    result.modelName = textOf(information.modelName);
    result.familyName = textOf(information.familyName);
    result.deviceVersion = textOf(information.deviceVersion);
    result.manufacturerInformation = textOf(information.manufacturerInformation);
    result.serialNumber = textOf(information.serialNumber);
    result.userDefinedName = textOf(information.userDefinedName);
    return result;
}

void CameraDriver::read(std::uint16_t cciAddress, void* data, long size) const
{
    operations_.read(node_.get(), cciAddress, data, size);
}

void CameraDriver::write(std::uint16_t cciAddress, const void* data, long size) const
{
    operations_.write(node_.get(), cciAddress, data, size);
}

} // namespace mcm
