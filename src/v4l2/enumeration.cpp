#include "v4l2/enumeration.h"

#include <stdexcept>

#include "v4l2/files.h"

namespace V4L2
{

EnumerateResult Enumerate()
{
    EnumerateResult result;
    for (const std::string& path : ExpandFileNames("/dev/media*")) {
        try {
            result.mediaDevices.emplace_back(path);
        } catch (const std::runtime_error&) {
            continue;
        }
    }
    result.videoNodes = ExpandFileNames("/dev/video*");
    return result;
}

} // namespace V4L2
