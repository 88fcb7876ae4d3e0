#include "v4l2/device_node.h"

#include <algorithm>
#include <stdexcept>
#include <string_view>

#include <linux/media.h>

#include "v4l2/files.h"

namespace V4L2
{

namespace
{

constexpr std::size_t kLongestUevent = 1u << 16;

// What follows the prefix in the first line that begins with it.
std::string valueOf(const std::string& text, std::string_view prefix)
{
    std::string_view rest = text;
    while (!rest.empty()) {
        const std::string_view line = rest.substr(0, rest.find('\n'));
        if (line.substr(0, prefix.size()) == prefix)
            return std::string(line.substr(prefix.size()));
        rest.remove_prefix(std::min(rest.size(), line.size() + 1));
    }
    return {};
}

std::string resolve(const MediaEntity::Interface& node)
{
    return ResolveDeviceNode(node.major, node.minor);
}

} // namespace

std::string ResolveDeviceNode(std::uint32_t major, std::uint32_t minor)
{
    const std::string numbers = std::to_string(major) + ":" + std::to_string(minor);
    const auto uevent = ReadFile("/sys/dev/char/" + numbers + "/uevent", kLongestUevent);
    const std::string name = valueOf(uevent.value_or(std::string()), "DEVNAME=");
    if (name.empty())
        throw std::runtime_error("Could not resolve major:minor (" + numbers + ") to device node");
    return "/dev/" + name;
}

std::pair<std::string, std::string> FindCaptureAndCamera(const MediaDevice& device)
{
    const auto& entities = device.GetEntities();
    const auto capture =
        std::find_if(entities.begin(), entities.end(), [](const MediaEntity* entity) {
            return entity->interface && entity->interface->type == MEDIA_INTF_T_V4L_VIDEO;
        });
    if (capture == entities.end())
        throw std::runtime_error("Could not find capture device");
    std::string capturePath = resolve(*(*capture)->interface);

    const auto camera =
        std::find_if(entities.begin(), entities.end(),
                     [](const MediaEntity* entity) { return entity->IsCameraSensor(); });
    if (camera == entities.end())
        throw std::runtime_error("Could not find camera device");
    if (!(*camera)->interface)
        throw std::runtime_error("Camera entity does not have an interface");
    return {std::move(capturePath), resolve(*(*camera)->interface)};
}

} // namespace V4L2
