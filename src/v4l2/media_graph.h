// The objects of a media device's topology.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace V4L2
{

class MediaDevice;
struct MediaEntity;
struct MediaPad;

/// What all objects have in common. A MediaDevice owns its objects; the pointers between them
/// end with it.
struct MediaObject {
    MediaObject(MediaDevice* owner, std::uint32_t objectId) : device(owner), id(objectId) {}
    MediaObject(const MediaObject&) = delete;
    MediaObject& operator=(const MediaObject&) = delete;
    virtual ~MediaObject() = default;

    MediaDevice* device; ///< follows the device when that is moved
    std::uint32_t id;    ///< the kernel's number, unique within the device
};

/// A connection from one pad to another. Whether it is enabled is not looked at.
struct MediaLink final : MediaObject {
    MediaLink(MediaDevice* owner, std::uint32_t objectId, MediaPad* from, MediaPad* to)
        : MediaObject(owner, objectId), source(from), sink(to)
    {
    }

    MediaPad* source;
    MediaPad* sink;
};

struct MediaPad final : MediaObject {
    MediaPad(MediaDevice* owner, std::uint32_t objectId, MediaEntity* parent,
             std::uint32_t padFlags)
        : MediaObject(owner, objectId), entity(parent), flags(padFlags)
    {
    }

    /// A pad that is both counts as a sink. InternalError for one that is neither.
    bool IsSource() const;

    MediaEntity* entity;
    std::uint32_t flags; ///< MEDIA_PAD_FL_*
    std::vector<MediaLink*> links;
};

struct MediaEntity final : MediaObject {
    /// The node by which user space reaches an entity.
    struct Interface {
        std::uint32_t type; ///< MEDIA_INTF_T_*
        std::uint32_t major;
        std::uint32_t minor;
    };

    MediaEntity(MediaDevice* owner, std::uint32_t objectId, std::string entityName,
                std::uint32_t entityFunction)
        : MediaObject(owner, objectId), name(std::move(entityName)), function(entityFunction)
    {
    }

    bool IsCameraSensor() const noexcept;

    std::string name;
    std::uint32_t function; ///< MEDIA_ENT_F_*
    std::optional<Interface> interface;
    std::vector<MediaPad*> pads;
};

/// The entity downstream: at the other end of the first link of the first source pad.
/// std::runtime_error where there is none.
const MediaEntity& NextEntity(const MediaEntity& entity);

} // namespace V4L2
