#include "inventory/listing.h"

#include <algorithm>
#include <cstring>

namespace zevo_tool
{

namespace
{

std::string InfoLines(const std::vector<Info>& infos, std::size_t indent)
{
    std::size_t width = 0;
    for (const Info& info : infos)
        width = std::max(width, std::strlen(info.label));
    std::string text;
    for (const Info& info : infos) {
        std::string line = std::string(indent, ' ') + info.label;
        if (!info.value.empty())
            line += std::string(width - std::strlen(info.label) + 2, ' ') + info.value;
        text += line + "\n";
    }
    return text;
}

} // namespace

std::string ListingText(const Inventory& inventory)
{
    std::string text;
    std::size_t index = 0;
    for (const SystemEntry& system : inventory.Systems()) {
        text += "system " + system.producer->Path() + "\n" + InfoLines(system.infos, 2);
        for (const InterfaceEntry& interface : system.interfaces) {
            text +=
                "  interface \"" + interface.module->Id() + "\"\n" + InfoLines(interface.infos, 4);
            for (const CameraEntry& camera : interface.cameras)
                text += "    camera " + std::to_string(index++) + " \"" + camera.id + "\"\n" +
                        InfoLines(camera.infos, 6);
        }
    }
    return text;
}

} // namespace zevo_tool
