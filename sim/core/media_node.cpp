#include "sim/core/media_node.h"

#include <linux/version.h>

#include <cerrno>
#include <cstring>

namespace zevo_sim
{

namespace
{

constexpr std::uint32_t kVersion = KERNEL_VERSION(6, 1, 0);

template <std::size_t N>
void CopyText(char (&target)[N], const std::string& text)
{
    std::strncpy(target, text.c_str(), N - 1);
}

/// The items, if the program has asked for them and made room for all.
template <typename Item>
int Export(const std::vector<Item>& items, std::uint32_t room, std::uint64_t target)
{
    if (target == 0)
        return 0;
    if (room < items.size())
        return -ENOSPC;
    std::memcpy(sys::ToPointer(target), items.data(), items.size() * sizeof(Item));
    return 0;
}

template <typename Item>
std::uint32_t Count(const std::vector<Item>& items)
{
    return static_cast<std::uint32_t>(items.size());
}

} // namespace

std::uint32_t MediaGraph::AddEntity(const std::string& name, std::uint32_t function, unsigned sinks,
                                    unsigned sources)
{
    media_v2_entity entity{};
    entity.id = ++lastId_;
    CopyText(entity.name, name);
    entity.function = function;
    entities_.push_back(entity);
    for (unsigned i = 0; i < sinks + sources; ++i) {
        media_v2_pad pad{};
        pad.id = ++lastId_;
        pad.entity_id = entity.id;
        pad.flags = i < sinks ? MEDIA_PAD_FL_SINK : MEDIA_PAD_FL_SOURCE;
        pad.index = i;
        pads_.push_back(pad);
    }
    return entity.id;
}

void MediaGraph::AddInterface(std::uint32_t entity, std::uint32_t type, unsigned major,
                              unsigned minor)
{
    media_v2_interface interface {
    };
    interface.id = ++lastId_;
    interface.intf_type = type;
    interface.devnode.major = major;
    interface.devnode.minor = minor;
    interfaces_.push_back(interface);

    media_v2_link link{};
    link.id = ++lastId_;
    link.source_id = interface.id;
    link.sink_id = entity;
    link.flags = MEDIA_LNK_FL_INTERFACE_LINK | MEDIA_LNK_FL_ENABLED | MEDIA_LNK_FL_IMMUTABLE;
    links_.push_back(link);
}

std::uint32_t MediaGraph::FindPad(std::uint32_t entity, std::uint32_t flag) const
{
    for (const media_v2_pad& pad : pads_)
        if (pad.entity_id == entity && (pad.flags & flag) != 0)
            return pad.id;
    return 0;
}

void MediaGraph::AddLink(std::uint32_t from, std::uint32_t to)
{
    media_v2_link link{};
    link.id = ++lastId_;
    ++lastId_;
    link.source_id = FindPad(from, MEDIA_PAD_FL_SOURCE);
    link.sink_id = FindPad(to, MEDIA_PAD_FL_SINK);
    link.flags = MEDIA_LNK_FL_ENABLED | MEDIA_LNK_FL_IMMUTABLE;
    links_.push_back(link);
}

int MediaGraph::Topology(media_v2_topology& topology) const
{
    for (const int result : {Export(entities_, topology.num_entities, topology.ptr_entities),
                             Export(interfaces_, topology.num_interfaces, topology.ptr_interfaces),
                             Export(pads_, topology.num_pads, topology.ptr_pads),
                             Export(links_, topology.num_links, topology.ptr_links)})
        if (result != 0)
            return result;
    topology.topology_version = lastId_;
    topology.num_entities = Count(entities_);
    topology.num_interfaces = Count(interfaces_);
    topology.num_pads = Count(pads_);
    topology.num_links = Count(links_);
    return 0;
}

MediaNode::MediaNode(NodeIdentity identity, std::string driver, std::string model,
                     std::string busInfo, MediaGraph graph)
    : DeviceNode(std::move(identity)), driver_(std::move(driver)), model_(std::move(model)),
      busInfo_(std::move(busInfo)), graph_(std::move(graph))
{
}

void MediaNode::Opened(OpenFile& file)
{
    file.Show(true);
}

int MediaNode::Ioctl(OpenFile& /*file*/, int /*fd*/, unsigned long request, void* argument)
{
    if (request != MEDIA_IOC_DEVICE_INFO && request != MEDIA_IOC_G_TOPOLOGY)
        return -ENOTTY;
    if (!argument)
        return -EFAULT;
    if (request == MEDIA_IOC_G_TOPOLOGY)
        return graph_.Topology(*static_cast<media_v2_topology*>(argument));

    auto& info = *static_cast<media_device_info*>(argument);
    info = {};
    CopyText(info.driver, driver_);
    CopyText(info.model, model_);
    CopyText(info.bus_info, busInfo_);
    info.media_version = kVersion;
    info.driver_version = kVersion;
    return 0;
}

short MediaNode::Poll(OpenFile& /*file*/, int /*fd*/, short events)
{
    return static_cast<short>((POLLIN | POLLOUT | POLLRDNORM | POLLWRNORM) & events);
}

} // namespace zevo_sim
