// From the kernel's device numbers to paths below /dev.
#pragma once

#include <cstdint>
#include <string>
#include <utility>

#include "v4l2/media_device.h"

namespace V4L2
{

/// Path of the node with these device numbers, as the kernel's uevent file tells it.
/// std::runtime_error if it doesn't.
std::string ResolveDeviceNode(std::uint32_t major, std::uint32_t minor);

/// Paths of the first video node and of the first camera sensor of a media device, capture
/// first. std::runtime_error where either is missing.
std::pair<std::string, std::string> FindCaptureAndCamera(const MediaDevice& device);

} // namespace V4L2
