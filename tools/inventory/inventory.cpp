#include "inventory/inventory.h"

#include <iterator>
#include <optional>
#include <utility>

#include "board_hints.h"
#include "producer/producer_search.h"

namespace zevo_tool
{

namespace
{

struct InfoRow {
    const char* label;
    std::int32_t command;
};

// clang-format off
constexpr InfoRow kSystemInfos[] = {
    {"vendor",     TL_INFO_VENDOR},
    {"model",      TL_INFO_MODEL},
    {"version",    TL_INFO_VERSION},
    {"identifier", TL_INFO_ID},
    {"type",       TL_INFO_TLTYPE},
    {"name",       TL_INFO_DISPLAYNAME},
};
constexpr InfoRow kInterfaceInfos[] = {
    {"name", INTERFACE_INFO_DISPLAYNAME},
    {"type", INTERFACE_INFO_TLTYPE},
};
constexpr InfoRow kDeviceInfos[] = {
    {"vendor",            DEVICE_INFO_VENDOR},
    {"model",             DEVICE_INFO_MODEL},
    {"name",              DEVICE_INFO_DISPLAYNAME},
    {"serial number",     DEVICE_INFO_SERIAL_NUMBER},
    {"user-defined name", DEVICE_INFO_USER_DEFINED_NAME},
    {"version",           DEVICE_INFO_VERSION},
    {"type",              DEVICE_INFO_TLTYPE},
    {"access",            DEVICE_INFO_ACCESS_STATUS},
};
// clang-format on

constexpr const char* kAccessWords[] = {"unknown", "read and write", "read only",      "none",
                                        "busy",    "open",           "open, read only"};

template <std::size_t N>
std::vector<Info> Collect(const InfoRow (&rows)[N], const InfoQuery& query)
{
    std::vector<Info> infos;
    for (const InfoRow& row : rows)
        if (std::optional<std::string> value = InfoText(query, row.command))
            infos.push_back({row.label, *std::move(value)});
    return infos;
}

CameraEntry Describe(const System& system, const Interface& interface, const std::string& id)
{
    const InfoQuery query = interface.DeviceInfos(id);
    CameraEntry camera{&system,
                       &interface,
                       id,
                       InfoText(query, DEVICE_INFO_SERIAL_NUMBER).value_or(std::string()),
                       InfoText(query, DEVICE_INFO_USER_DEFINED_NAME).value_or(std::string()),
                       Collect(kDeviceInfos, query)};
    const std::uint64_t access = InfoNumber(query, DEVICE_INFO_ACCESS_STATUS).value_or(0);
    for (Info& info : camera.infos)
        if (info.label == std::string("access") && access < std::size(kAccessWords))
            info.value = kAccessWords[access];
    return camera;
}

std::string WithDetails(std::string text, const std::vector<std::string>& details)
{
    for (const std::string& detail : details)
        text += "\n  " + detail;
    return text;
}

void Append(std::vector<std::string>& list, const std::vector<std::string>& more)
{
    list.insert(list.end(), more.begin(), more.end());
}

/// Why there is no camera, from what there is.
[[noreturn]] void FailWithoutCamera(const Inventory& inventory)
{
    std::vector<std::string> details = inventory.Problems();
    if (inventory.Systems().empty())
        throw Failure(WithDetails("no producer could be used", details));
    bool hasInterface = false;
    for (const SystemEntry& system : inventory.Systems()) {
        if (system.interfaces.empty())
            details.push_back(system.producer->Path() + " has no interface");
        for (const InterfaceEntry& interface : system.interfaces) {
            details.push_back(system.producer->Path() + ", interface \"" + interface.module->Id() +
                              "\": no camera");
            hasInterface = true;
        }
    }
    Append(details, BoardHints());
    throw Failure(WithDetails(hasInterface ? "no camera found" : "no interface found", details));
}

} // namespace

Inventory::Inventory(const std::vector<std::string>& producerFiles)
{
    for (const std::string& file : producerFiles) {
        try {
            Add(file);
        } catch (const Failure& failure) {
            problems_.push_back(file + ": " + failure.what());
        }
    }
}

void Inventory::Add(const std::string& file)
{
    SystemEntry system;
    system.producer = std::make_unique<Producer>(file);
    system.module = std::make_unique<System>(*system.producer);
    system.infos = Collect(kSystemInfos, system.module->Infos());
    for (const std::string& id : system.module->InterfaceIds())
        AddInterface(system, id);
    systems_.push_back(std::move(system));
}

void Inventory::AddInterface(SystemEntry& system, const std::string& id)
{
    try {
        InterfaceEntry interface;
        interface.module = std::make_unique<Interface>(*system.module, id);
        interface.infos = Collect(kInterfaceInfos, interface.module->Infos());
        for (const std::string& device : interface.module->DeviceIds())
            interface.cameras.push_back(Describe(*system.module, *interface.module, device));
        system.interfaces.push_back(std::move(interface));
    } catch (const Failure& failure) {
        problems_.push_back(system.producer->Path() + ", interface \"" + id +
                            "\": " + failure.what());
    }
}

std::vector<const CameraEntry*> Inventory::Cameras() const
{
    std::vector<const CameraEntry*> cameras;
    for (const SystemEntry& system : systems_)
        for (const InterfaceEntry& interface : system.interfaces)
            for (const CameraEntry& camera : interface.cameras)
                cameras.push_back(&camera);
    return cameras;
}

const CameraEntry& Inventory::Find(const std::string& selector) const
{
    const std::vector<const CameraEntry*> cameras = Cameras();
    const CameraEntry* found = nullptr;
    for (std::size_t index = 0; index < cameras.size(); ++index) {
        const CameraEntry& camera = *cameras[index];
        if (selector == std::to_string(index) || selector.empty())
            return camera;
        if (selector != camera.id && selector != camera.serialNumber &&
            selector != camera.userDefinedName)
            continue;
        if (found != nullptr)
            throw Failure("more than one camera is \"" + selector + "\"; name it by its index");
        found = &camera;
    }
    if (found != nullptr)
        return *found;
    std::vector<std::string> known;
    for (std::size_t index = 0; index < cameras.size(); ++index)
        known.push_back(std::to_string(index) + ": " + cameras[index]->id);
    throw Failure(WithDetails("there is no camera \"" + selector + "\"; there are", known));
}

Inventory TakeInventory(const std::vector<std::string>& producerFiles)
{
    ProducerSearch search{producerFiles, {}};
    if (producerFiles.empty())
        search = SearchProducers();
    if (search.files.empty()) {
        search.problems.push_back(std::string("set ") + ProducerPathVariable() +
                                  " to the folder of a producer (*.cti), or name it with --cti");
        throw Failure(WithDetails("no GenTL producer found", search.problems));
    }
    Inventory inventory(search.files);
    if (inventory.Cameras().empty())
        FailWithoutCamera(inventory);
    return inventory;
}

} // namespace zevo_tool
