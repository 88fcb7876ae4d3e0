// A media controller node and the graph that it shows.
#pragma once

#include <linux/media.h>

#include <cstdint>
#include <string>
#include <vector>

#include "sim/core/device_node.h"

namespace zevo_sim
{

/// Entities, pads, links and interfaces with the kernel's numbering: one counter for all four, in
/// the order of registration; the reverse of a data link takes a number, too.
class MediaGraph final
{
public:
    /// Pads are sinks first, then sources. The entity's number.
    std::uint32_t AddEntity(const std::string& name, std::uint32_t function, unsigned sinks,
                            unsigned sources);
    /// Gives an entity a device node.
    void AddInterface(std::uint32_t entity, std::uint32_t type, unsigned major, unsigned minor);
    /// From the first source pad to the first sink pad.
    void AddLink(std::uint32_t from, std::uint32_t to);

    int Topology(media_v2_topology& topology) const;

private:
    std::uint32_t FindPad(std::uint32_t entity, std::uint32_t flag) const;

    std::uint32_t lastId_ = 0;
    std::vector<media_v2_entity> entities_;
    std::vector<media_v2_interface> interfaces_;
    std::vector<media_v2_pad> pads_;
    std::vector<media_v2_link> links_;
};

class MediaNode final : public DeviceNode
{
public:
    MediaNode(NodeIdentity identity, std::string driver, std::string model, std::string busInfo,
              MediaGraph graph);

    void Opened(OpenFile& file) override;
    void Released(OpenFile& /*file*/) override {}
    int Ioctl(OpenFile& file, int fd, unsigned long request, void* argument) override;
    short Poll(OpenFile& file, int fd, short events) override;

private:
    const std::string driver_;
    const std::string model_;
    const std::string busInfo_;
    const MediaGraph graph_;
};

} // namespace zevo_sim
