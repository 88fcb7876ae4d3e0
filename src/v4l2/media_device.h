// A media controller node, read once into a graph.
#pragma once

#include <map>
#include <memory>

#include "base/exception.h"
#include "v4l2/media_graph.h"
#include "v4l2/system_calls.h"

namespace V4L2
{

/// A media device that can't be read.
class MediaDeviceError : public GenTLProducer::Exception
{
public:
    using Exception::Exception;
};

/// Description and topology of one media device, as they were at construction. No descriptor
/// stays open. Movable; the objects stay where they are.
class MediaDevice final
{
public:
    /// Reads the node. MediaDeviceError if a system call fails or the topology contradicts itself.
    explicit MediaDevice(const std::string& path);
    MediaDevice(const std::string& path, const SystemCalls& calls);
    MediaDevice(MediaDevice&& other) noexcept;
    MediaDevice& operator=(MediaDevice&& other) noexcept;
    ~MediaDevice() = default;

    const std::string& GetDriver() const noexcept { return driver_; }
    const std::string& GetPath() const noexcept { return path_; }
    const std::string& GetModel() const noexcept { return model_; }
    const std::string& GetSerial() const noexcept { return serial_; }
    const std::string& GetBusInfo() const noexcept { return busInfo_; }
    std::uint32_t GetMediaVersion() const noexcept { return mediaVersion_; }
    std::uint32_t GetHardwareRevision() const noexcept { return hardwareRevision_; }
    std::uint32_t GetDriverVersion() const noexcept { return driverVersion_; }
    /// In the kernel's order.
    const std::vector<MediaEntity*>& GetEntities() const noexcept { return entities_; }
    /// Null for an ID that no entity, pad or link has.
    MediaObject* FindObject(std::uint32_t id) const noexcept;

private:
    struct Topology;
    class Node;

    void readDescription(const Node& node);
    void addEntities(const Topology& topology);
    void addPads(const Topology& topology);
    void addLinks(const Topology& topology);
    void addInterfaceLink(const Topology& topology, std::uint32_t interfaceId,
                          std::uint32_t entityId);
    void addDataLink(std::uint32_t id, std::uint32_t sourceId, std::uint32_t sinkId);
    template <typename Object>
    Object* add(std::unique_ptr<Object> object);
    void adoptObjects() noexcept;

    std::string driver_;
    std::string path_;
    std::string model_;
    std::string serial_;
    std::string busInfo_;
    std::uint32_t mediaVersion_ = 0;
    std::uint32_t hardwareRevision_ = 0;
    std::uint32_t driverVersion_ = 0;
    std::map<std::uint32_t, std::unique_ptr<MediaObject>> objects_;
    std::vector<MediaEntity*> entities_;
};

} // namespace V4L2
