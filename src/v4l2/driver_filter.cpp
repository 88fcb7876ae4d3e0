#include "v4l2/driver_filter.h"

#include <stdexcept>

#include "v4l2/video_device.h"

namespace V4L2
{

namespace
{

std::string driverNameOf(const std::string& path)
{
    try {
        return VideoDevice(path).GetDriverName();
    } catch (const std::runtime_error&) {
        return {};
    }
}

} // namespace

std::vector<std::string> FilterByDriverName(const std::vector<std::string>& paths,
                                            std::string_view driverName)
{
    std::vector<std::string> matches;
    for (const std::string& path : paths) {
        if (driverNameOf(path) == driverName)
            matches.push_back(path);
    }
    return matches;
}

} // namespace V4L2
