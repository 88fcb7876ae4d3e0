// The node of the kernel camera driver.
#pragma once

#include <cstdint>
#include <string>

#include "base/unique_fd.h"
#include "bus/csi_configuration.h"
#include "bus/device_information.h"
#include "bus/operation_table.h"

namespace mcm
{

/// One open descriptor on a camera node, and the request form that the node speaks. Exists only
/// in the open state. Has no lock: whoever transfers registers keeps the transfers apart.
class CameraDriver final
{
public:
    /// Opens the node and finds out its request form. Throws std::system_error when it can't be
    /// opened, std::runtime_error when its interface has another version than 1.1 and up.
    explicit CameraDriver(const std::string& path);

    /// The same on a descriptor, with the operations of both request forms given.
    CameraDriver(std::string path, GenTLProducer::UniqueFd node, const OperationTable& native,
                 const OperationTable& control);

    const std::string& path() const noexcept { return path_; }

    /// Throws std::system_error when the driver tells no valid number of lanes, or nothing.
    CsiConfiguration getCsiConfiguration() const;

    /// Empty texts when the driver tells nothing.
    DeviceInformation getDeviceInformation() const;

    /// One register transfer of at most 256 bytes at a CCI address. Throws std::runtime_error.
    void read(std::uint16_t cciAddress, void* data, long size) const;
    void write(std::uint16_t cciAddress, const void* data, long size) const;

private:
    void checkVersion() const;

    std::string path_;
    GenTLProducer::UniqueFd node_;
    OperationTable operations_;
};

} // namespace mcm
