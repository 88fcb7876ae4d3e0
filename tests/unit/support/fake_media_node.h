// A media controller node for tests: what it tells is given as the kernel's records.
#pragma once

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <functional>
#include <string>
#include <vector>

#include <cerrno>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <linux/media.h>

#include "v4l2/media_device.h"
#include "v4l2/system_calls.h"

namespace test
{

/// Short names for the kernel's constants.
namespace media
{

inline constexpr std::uint32_t kSensor = MEDIA_ENT_F_CAM_SENSOR;
inline constexpr std::uint32_t kSink = MEDIA_PAD_FL_SINK;
inline constexpr std::uint32_t kSource = MEDIA_PAD_FL_SOURCE;
inline constexpr std::uint32_t kVideo = MEDIA_INTF_T_V4L_VIDEO;
inline constexpr std::uint32_t kSubdevice = MEDIA_INTF_T_V4L_SUBDEV;
inline constexpr std::uint32_t kInterfaceLink = MEDIA_LNK_FL_INTERFACE_LINK;

} // namespace media

/// What a media node tells; the default is a sensor that feeds a receiver, which feeds the
/// capture node.
struct FakeMediaNode {
    std::vector<media_v2_entity> entities = {Entity(1, "capture", 0x10001),
                                             Entity(2, "csi", 0x20009),
                                             Entity(3, "sensor", media::kSensor)};
    std::vector<media_v2_interface> interfaces = {Interface(10, media::kVideo, 0),
                                                  Interface(11, media::kSubdevice, 1)};
    std::vector<media_v2_pad> pads = {{20, 1, media::kSink, 0, {}},
                                      {21, 2, media::kSink, 0, {}},
                                      {22, 2, media::kSource, 1, {}},
                                      {23, 3, media::kSource, 0, {}}};
    std::vector<media_v2_link> links = {{30, 10, 1, media::kInterfaceLink, {}},
                                        {31, 11, 3, media::kInterfaceLink, {}},
                                        {32, 22, 20, 1, {}},
                                        {33, 23, 21, 1, {}}};
    std::string driver = "sixteen-letters!";
    int infoError = 0;
    int topologyError = 0;
    int openDescriptors = 0;
    unsigned topologyCalls = 0;
    std::function<void(media_v2_topology&)> afterwards;

    static media_v2_entity Entity(std::uint32_t id, const char* name, std::uint32_t function)
    {
        media_v2_entity entity{};
        entity.id = id;
        std::strncpy(entity.name, name, sizeof entity.name);
        entity.function = function;
        return entity;
    }

    static media_v2_interface Interface(std::uint32_t id, std::uint32_t type, std::uint32_t minor)
    {
        media_v2_interface interface {
        };
        interface.id = id;
        interface.intf_type = type;
        interface.devnode = {81, minor};
        return interface;
    }

    template <typename T>
    static bool Give(const std::vector<T>& objects, std::uint64_t to, std::uint32_t room)
    {
        if (to == 0)
            return true;
        std::copy_n(objects.begin(), std::min<std::size_t>(objects.size(), room),
                    reinterpret_cast<T*>(to));
        return objects.size() <= room;
    }

    int Topology(media_v2_topology& t)
    {
        ++topologyCalls;
        if (topologyError != 0)
            return topologyError;
        bool fits = Give(entities, t.ptr_entities, t.num_entities);
        fits &= Give(interfaces, t.ptr_interfaces, t.num_interfaces);
        fits &= Give(pads, t.ptr_pads, t.num_pads);
        fits &= Give(links, t.ptr_links, t.num_links);
        t.num_entities = static_cast<std::uint32_t>(entities.size());
        t.num_interfaces = static_cast<std::uint32_t>(interfaces.size());
        t.num_pads = static_cast<std::uint32_t>(pads.size());
        t.num_links = static_cast<std::uint32_t>(links.size());
        if (afterwards)
            afterwards(t);
        return fits ? 0 : ENOSPC;
    }

    int Answer(unsigned long request, void* argument)
    {
        if (request == MEDIA_IOC_G_TOPOLOGY)
            return Topology(*static_cast<media_v2_topology*>(argument));
        if (infoError != 0)
            return infoError;
        auto& info = *static_cast<media_device_info*>(argument);
        driver.copy(info.driver, sizeof info.driver);
        std::memcpy(info.model, "a model", 7);
        info.media_version = 0x60100;
        info.hw_revision = 7;
        return 0;
    }

    V4L2::SystemCalls Calls()
    {
        V4L2::SystemCalls calls = V4L2::RealSystemCalls();
        calls.open = [this](const char*, int flags, int) {
            EXPECT_EQ(flags, O_RDWR);
            return 100 + ++openDescriptors;
        };
        calls.close = [this](int) { return --openDescriptors, 0; };
        calls.ioctl = [this](int, unsigned long request, void* argument) {
            const int error = Answer(request, argument);
            return V4L2::IoctlResult(error != 0 ? -1 : 0, error);
        };
        return calls;
    }

    V4L2::MediaDevice Read() { return V4L2::MediaDevice("/dev/media7", Calls()); }
};

} // namespace test
