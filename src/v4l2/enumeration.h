// What the board has of media devices and video nodes.
#pragma once

#include <string>
#include <vector>

#include "v4l2/media_device.h"

namespace V4L2
{

struct EnumerateResult {
    std::vector<MediaDevice> mediaDevices;
    std::vector<std::string> videoNodes; ///< paths, not opened
};

/// Reads all media devices, those that can't be read passed over, and lists the video nodes.
EnumerateResult Enumerate();

} // namespace V4L2
