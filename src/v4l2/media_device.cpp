#include "v4l2/media_device.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <string_view>
#include <system_error>

#include <fcntl.h>
#include <linux/media.h>

namespace V4L2
{

namespace
{

constexpr const char* kTopologyFailed = "Failed to get media device topology";

// Far above what any board has; a driver's nonsense must not turn into an allocation of its size.
constexpr std::uint32_t kMaxObjects = 4096;

// Entities may come while a driver probes: how often the topology is asked for anew.
constexpr int kTopologyAttempts = 8;

template <std::size_t N>
std::string textOf(const char (&field)[N])
{
    return {field, ::strnlen(field, N)};
}

[[noreturn]] void fail(const char* words, int error)
{
    throw MediaDeviceError(std::string(words) + ": " + std::generic_category().message(error));
}

template <typename Object>
Object* lookUp(const std::map<std::uint32_t, std::unique_ptr<MediaObject>>& objects,
               std::uint32_t id)
{
    const auto found = objects.find(id);
    return found == objects.end() ? nullptr : dynamic_cast<Object*>(found->second.get());
}

} // namespace

/// The open node; closes with the scope.
class MediaDevice::Node final
{
public:
    Node(const std::string& path, const SystemCalls& calls)
        : calls_(calls), fd_(calls.open(path.c_str(), O_RDWR, 0))
    {
        if (fd_ == -1)
            fail("Failed to open media device node", errno);
    }
    Node(const Node&) = delete;
    Node& operator=(const Node&) = delete;
    ~Node() { calls_.close(fd_); }

    /// 0 or the error number.
    int call(unsigned long request, void* argument) const
    {
        const IoctlResult result = calls_.ioctl(fd_, request, argument);
        return result.hasFailed() ? result.error() : 0;
    }

private:
    const SystemCalls& calls_;
    int fd_;
};

/// The kernel's arrays, at most as long as they were allocated.
struct MediaDevice::Topology {
    explicit Topology(const Node& node);

    std::vector<media_v2_entity> entities;
    std::vector<media_v2_interface> interfaces;
    std::vector<media_v2_pad> pads;
    std::vector<media_v2_link> links;

private:
    int read(const Node& node);
};

MediaDevice::Topology::Topology(const Node& node)
{
    int error = 0;
    for (int attempt = 0; attempt < kTopologyAttempts; ++attempt) {
        error = read(node);
        if (error != ENOSPC)
            break;
    }
    if (error != 0)
        fail(kTopologyFailed, error);
}

int MediaDevice::Topology::read(const Node& node)
{
    media_v2_topology topology{};
    if (const int error = node.call(MEDIA_IOC_G_TOPOLOGY, &topology))
        return error;
    // One after the other: the fields belong to a packed record and can't be bound to references.
    const std::uint32_t counts[] = {topology.num_entities, topology.num_interfaces,
                                    topology.num_pads, topology.num_links};
    if (*std::max_element(std::begin(counts), std::end(counts)) > kMaxObjects)
        return EOVERFLOW;

    entities.assign(counts[0], {});
    interfaces.assign(counts[1], {});
    pads.assign(counts[2], {});
    links.assign(counts[3], {});
    topology = {};
    topology.num_entities = counts[0];
    topology.num_interfaces = counts[1];
    topology.num_pads = counts[2];
    topology.num_links = counts[3];
    topology.ptr_entities = reinterpret_cast<std::uintptr_t>(entities.data());
    topology.ptr_interfaces = reinterpret_cast<std::uintptr_t>(interfaces.data());
    topology.ptr_pads = reinterpret_cast<std::uintptr_t>(pads.data());
    topology.ptr_links = reinterpret_cast<std::uintptr_t>(links.data());
    if (const int error = node.call(MEDIA_IOC_G_TOPOLOGY, &topology))
        return error;

    // Objects may have gone between the calls; more than fit can't have been written.
    entities.resize(std::min<std::size_t>(entities.size(), topology.num_entities));
    interfaces.resize(std::min<std::size_t>(interfaces.size(), topology.num_interfaces));
    pads.resize(std::min<std::size_t>(pads.size(), topology.num_pads));
    links.resize(std::min<std::size_t>(links.size(), topology.num_links));
    return 0;
}

MediaDevice::MediaDevice(const std::string& path) : MediaDevice(path, RealSystemCalls()) {}

MediaDevice::MediaDevice(const std::string& path, const SystemCalls& calls) : path_(path)
{
    const Node node(path, calls);
    readDescription(node);
    const Topology topology(node);
    addEntities(topology);
    addPads(topology);
    addLinks(topology);
}

MediaDevice::MediaDevice(MediaDevice&& other) noexcept
    : driver_(std::move(other.driver_)), path_(std::move(other.path_)),
      model_(std::move(other.model_)), serial_(std::move(other.serial_)),
      busInfo_(std::move(other.busInfo_)), mediaVersion_(other.mediaVersion_),
      hardwareRevision_(other.hardwareRevision_), driverVersion_(other.driverVersion_),
      objects_(std::move(other.objects_)), entities_(std::move(other.entities_))
{
    adoptObjects();
}

MediaDevice& MediaDevice::operator=(MediaDevice&& other) noexcept
{
    driver_.swap(other.driver_);
    path_.swap(other.path_);
    model_.swap(other.model_);
    serial_.swap(other.serial_);
    busInfo_.swap(other.busInfo_);
    std::swap(mediaVersion_, other.mediaVersion_);
    std::swap(hardwareRevision_, other.hardwareRevision_);
    std::swap(driverVersion_, other.driverVersion_);
    objects_.swap(other.objects_);
    entities_.swap(other.entities_);
    adoptObjects();
    other.adoptObjects();
    return *this;
}

MediaObject* MediaDevice::FindObject(std::uint32_t id) const noexcept
{
    return lookUp<MediaObject>(objects_, id);
}

void MediaDevice::readDescription(const Node& node)
{
    media_device_info info{};
    if (const int error = node.call(MEDIA_IOC_DEVICE_INFO, &info))
        fail("Failed to get media device info", error);
    driver_ = textOf(info.driver);
    model_ = textOf(info.model);
    serial_ = textOf(info.serial);
    busInfo_ = textOf(info.bus_info);
    mediaVersion_ = info.media_version;
    hardwareRevision_ = info.hw_revision;
    driverVersion_ = info.driver_version;
}

void MediaDevice::addEntities(const Topology& topology)
{
    entities_.reserve(topology.entities.size());
    for (const media_v2_entity& entry : topology.entities)
        entities_.push_back(
            add(std::make_unique<MediaEntity>(this, entry.id, textOf(entry.name), entry.function)));
}

void MediaDevice::addPads(const Topology& topology)
{
    for (const media_v2_pad& entry : topology.pads) {
        auto* entity = lookUp<MediaEntity>(objects_, entry.entity_id);
        if (!entity)
            throw MediaDeviceError("Could not find parent entity for pad");
        entity->pads.push_back(
            add(std::make_unique<MediaPad>(this, entry.id, entity, entry.flags)));
    }
}

void MediaDevice::addLinks(const Topology& topology)
{
    for (const media_v2_link& entry : topology.links) {
        const std::uint32_t type = entry.flags & MEDIA_LNK_FL_LINK_TYPE;
        if (type == MEDIA_LNK_FL_INTERFACE_LINK)
            addInterfaceLink(topology, entry.source_id, entry.sink_id);
        else if (type != MEDIA_LNK_FL_ANCILLARY_LINK)
            addDataLink(entry.id, entry.source_id, entry.sink_id);
    }
}

void MediaDevice::addInterfaceLink(const Topology& topology, std::uint32_t interfaceId,
                                   std::uint32_t entityId)
{
    auto* entity = lookUp<MediaEntity>(objects_, entityId);
    if (!entity)
        throw MediaDeviceError("Could not find entity referenced by link");
    for (const media_v2_interface& entry : topology.interfaces) {
        if (entry.id != interfaceId)
            continue;
        entity->interface = {entry.intf_type, entry.devnode.major, entry.devnode.minor};
        return;
    }
    throw MediaDeviceError("Could not find interface referenced by link");
}

void MediaDevice::addDataLink(std::uint32_t id, std::uint32_t sourceId, std::uint32_t sinkId)
{
    auto* source = lookUp<MediaPad>(objects_, sourceId);
    auto* sink = lookUp<MediaPad>(objects_, sinkId);
    if (!source || !sink)
        throw MediaDeviceError("Could not find both pads referenced by link");
    MediaLink* link = add(std::make_unique<MediaLink>(this, id, source, sink));
    source->links.push_back(link);
    sink->links.push_back(link);
}

template <typename Object>
Object* MediaDevice::add(std::unique_ptr<Object> object)
{
    Object* added = object.get();
    if (!objects_.emplace(added->id, std::move(object)).second)
        throw MediaDeviceError("Found two media objects with one ID");
    return added;
}

void MediaDevice::adoptObjects() noexcept
{
    for (auto& entry : objects_)
        entry.second->device = this;
}

} // namespace V4L2
