#include "v4l2/media_device.h"

#include <cerrno>
#include <cstring>

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <linux/media.h>

#include "board_files.h"
#include "v4l2/device_node.h"
#include "v4l2/enumeration.h"

namespace V4L2
{
namespace
{

using testing::ElementsAre;

constexpr std::uint32_t kSensor = MEDIA_ENT_F_CAM_SENSOR;
constexpr std::uint32_t kSink = MEDIA_PAD_FL_SINK;
constexpr std::uint32_t kSource = MEDIA_PAD_FL_SOURCE;
constexpr std::uint32_t kVideo = MEDIA_INTF_T_V4L_VIDEO;
constexpr std::uint32_t kSubdevice = MEDIA_INTF_T_V4L_SUBDEV;
constexpr std::uint32_t kInterfaceLink = MEDIA_LNK_FL_INTERFACE_LINK;

/// What a media node tells; the default is a sensor that feeds a receiver, which feeds the
/// capture node.
struct FakeMediaNode {
    std::vector<media_v2_entity> entities = {
        Entity(1, "capture", 0x10001), Entity(2, "csi", 0x20009), Entity(3, "sensor", kSensor)};
    std::vector<media_v2_interface> interfaces = {Interface(10, kVideo, 0),
                                                  Interface(11, kSubdevice, 1)};
    std::vector<media_v2_pad> pads = {{20, 1, kSink, 0, {}},
                                      {21, 2, kSink, 0, {}},
                                      {22, 2, kSource, 1, {}},
                                      {23, 3, kSource, 0, {}}};
    std::vector<media_v2_link> links = {{30, 10, 1, kInterfaceLink, {}},
                                        {31, 11, 3, kInterfaceLink, {}},
                                        {32, 22, 20, 1, {}},
                                        {33, 23, 21, 1, {}}};
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
        std::memcpy(info.driver, "sixteen-letters!", 16);
        std::memcpy(info.model, "a model", 7);
        info.media_version = 0x60100;
        info.hw_revision = 7;
        return 0;
    }

    SystemCalls Calls()
    {
        SystemCalls calls = RealSystemCalls();
        calls.open = [this](const char*, int flags, int) {
            EXPECT_EQ(flags, O_RDWR);
            return 100 + ++openDescriptors;
        };
        calls.close = [this](int) { return --openDescriptors, 0; };
        calls.ioctl = [this](int, unsigned long request, void* argument) {
            const int error = Answer(request, argument);
            return IoctlResult(error != 0 ? -1 : 0, error);
        };
        return calls;
    }

    MediaDevice Read() { return MediaDevice("/dev/media7", Calls()); }
};

std::string ErrorOf(FakeMediaNode& node)
{
    try {
        node.Read();
    } catch (const MediaDeviceError& error) {
        EXPECT_EQ(node.openDescriptors, 0);
        return error.what();
    }
    return {};
}

template <typename Function>
std::string RuntimeErrorOf(Function call)
{
    try {
        call();
    } catch (const std::runtime_error& error) {
        return error.what();
    }
    return {};
}

TEST(MediaDevice, ReadsDescriptionAndGraph)
{
    FakeMediaNode node;
    const MediaDevice device = node.Read();
    EXPECT_EQ(node.openDescriptors, 0);
    EXPECT_EQ(device.GetDriver(), "sixteen-letters!");
    EXPECT_EQ(device.GetPath(), "/dev/media7");
    EXPECT_EQ(device.GetModel(), "a model");
    EXPECT_EQ(device.GetMediaVersion(), 0x60100u);
    EXPECT_EQ(device.GetHardwareRevision(), 7u);
    ASSERT_EQ(device.GetEntities().size(), 3u);
    const MediaEntity& sensor = *device.GetEntities()[2];
    EXPECT_EQ(sensor.name, "sensor");
    EXPECT_TRUE(sensor.IsCameraSensor());
    EXPECT_FALSE(device.GetEntities()[0]->IsCameraSensor());
    EXPECT_EQ(NextEntity(sensor).name, "csi");
    EXPECT_EQ(NextEntity(NextEntity(sensor)).name, "capture");
}

TEST(MediaDevice, InterfaceLinkGivesTheEntityItsNodeAndTheLastOneWins)
{
    FakeMediaNode node;
    node.interfaces.push_back(FakeMediaNode::Interface(12, kVideo, 5));
    node.links.push_back({34, 12, 1, kInterfaceLink, {}});
    const MediaDevice device = node.Read();
    const MediaEntity& capture = *device.GetEntities()[0];
    ASSERT_TRUE(capture.interface);
    EXPECT_EQ(capture.interface->type, kVideo);
    EXPECT_EQ(capture.interface->major, 81u);
    EXPECT_EQ(capture.interface->minor, 5u);
    EXPECT_EQ(capture.pads.size(), 1u);
    EXPECT_EQ(capture.pads[0]->links.size(), 1u);
    EXPECT_FALSE(device.GetEntities()[1]->interface);
}

TEST(MediaDevice, ObjectsFollowAMove)
{
    FakeMediaNode node;
    std::vector<MediaDevice> devices;
    for (int i = 0; i < 5; ++i)
        devices.push_back(node.Read());
    std::swap(devices[0], devices[4]);
    for (const MediaDevice& device : devices) {
        for (const std::uint32_t id : {1u, 3u, 20u, 23u, 32u}) {
            ASSERT_NE(device.FindObject(id), nullptr) << id;
            EXPECT_EQ(device.FindObject(id)->device, &device) << id;
        }
        EXPECT_EQ(device.FindObject(99), nullptr);
    }
}

TEST(MediaDevice, SystemCallFailuresNameTheCallAndCloseTheNode)
{
    using Break = void (*)(FakeMediaNode&);
    const struct {
        Break breakNode;
        int error;
        std::string words;
    } rows[] = {
        {[](FakeMediaNode& n) { n.infoError = ENOTTY; }, ENOTTY, "Failed to get media device info"},
        {[](FakeMediaNode& n) { n.topologyError = EIO; }, EIO,
         "Failed to get media device topology"},
        {[](FakeMediaNode& n) { n.topologyError = ENOSPC; }, ENOSPC,
         "Failed to get media device topology"},
        {[](FakeMediaNode& n) { n.afterwards = [](auto& t) { t.num_links = 0xFFFFFFFF; }; },
         EOVERFLOW, "Failed to get media device topology"},
    };
    for (const auto& row : rows) {
        FakeMediaNode node;
        row.breakNode(node);
        EXPECT_EQ(ErrorOf(node), row.words + ": " + std::generic_category().message(row.error));
        EXPECT_LT(node.topologyCalls, 100u);
    }
    EXPECT_EQ(RuntimeErrorOf([] { MediaDevice("/nowhere/media0"); }),
              "Failed to open media device node: " + std::generic_category().message(ENOENT));
}

TEST(MediaDevice, TopologyThatContradictsItselfIsRefused)
{
    using Break = void (*)(FakeMediaNode&);
    const struct {
        Break breakNode;
        const char* text;
    } rows[] = {
        {[](FakeMediaNode& n) { n.pads[0].entity_id = 99; },
         "Could not find parent entity for pad"},
        {[](FakeMediaNode& n) { n.pads[1].entity_id = 20; },
         "Could not find parent entity for pad"},
        {[](FakeMediaNode& n) { n.links[0].sink_id = 20; },
         "Could not find entity referenced by link"},
        {[](FakeMediaNode& n) { n.links[0].source_id = 1; },
         "Could not find interface referenced by link"},
        {[](FakeMediaNode& n) { n.links[2].source_id = 1; },
         "Could not find both pads referenced by link"},
        {[](FakeMediaNode& n) { n.links[2].sink_id = 99; },
         "Could not find both pads referenced by link"},
        {[](FakeMediaNode& n) {
             n.links[2].flags = 3u << 28;
             n.links[2].sink_id = 1;
         },
         "Could not find both pads referenced by link"},
        {[](FakeMediaNode& n) { n.entities[1].id = 1; }, "Found two media objects with one ID"},
        {[](FakeMediaNode& n) { n.links[3].id = 32; }, "Found two media objects with one ID"},
        {[](FakeMediaNode& n) {
             n.links.push_back({40, 3, 1, MEDIA_LNK_FL_ANCILLARY_LINK, {}});
         },
         ""},
    };
    for (const auto& row : rows) {
        FakeMediaNode node;
        row.breakNode(node);
        EXPECT_EQ(ErrorOf(node), row.text);
    }
}

TEST(MediaDevice, TopologyThatGrowsBetweenTheCallsIsReadAnew)
{
    FakeMediaNode node;
    node.afterwards = [&](media_v2_topology& topology) {
        if (node.topologyCalls == 1)
            node.entities.push_back(FakeMediaNode::Entity(4, "lens", 0x20002));
        else if (node.topologyCalls == 3)
            node.entities.pop_back();
        else if (node.topologyCalls == 4)
            topology.num_pads = 0xFFFFFFFF;
    };
    const MediaDevice device = node.Read();
    EXPECT_EQ(node.topologyCalls, 4u);
    EXPECT_EQ(device.GetEntities().size(), 3u);
    EXPECT_EQ(device.GetEntities()[2]->pads.size(), 1u);
}

TEST(MediaPad, SinkAndSourceCountsAsSink)
{
    const MediaPad both(nullptr, 1, nullptr, kSink | kSource);
    EXPECT_FALSE(both.IsSource());
    EXPECT_TRUE(MediaPad(nullptr, 2, nullptr, kSource).IsSource());
    EXPECT_EQ(RuntimeErrorOf([] { MediaPad(nullptr, 3, nullptr, 0).IsSource(); }),
              "Unhandled media pad type");
}

TEST(NextEntity, FollowsTheFirstLinkOfTheFirstSourcePad)
{
    FakeMediaNode node;
    node.pads.push_back({24, 3, kSource, 1, {}});
    node.links.push_back({34, 23, 20, 0, {}});
    const MediaDevice device = node.Read();
    const auto& entities = device.GetEntities();
    EXPECT_EQ(NextEntity(*entities[2]).name, "csi");
    EXPECT_EQ(RuntimeErrorOf([&] { NextEntity(*entities[0]); }), "First source pad not found");
    node.links.clear();
    const MediaDevice unlinked = node.Read();
    EXPECT_EQ(RuntimeErrorOf([&] { NextEntity(*unlinked.GetEntities()[1]); }),
              "pad has invalid link count");
}

TEST(FindCaptureAndCamera, TakesTheFirstVideoNodeAndTheFirstSensor)
{
    test::BoardFiles board;
    board.Write("/sys/dev/char/81:0/uevent", "DEVNAME=video3\n");
    board.Write("/sys/dev/char/81:1/uevent", "DEVNAME=v4l-subdev0\n");
    using Break = void (*)(FakeMediaNode&);
    const struct {
        Break breakNode;
        const char* error;
    } rows[] = {
        {[](FakeMediaNode&) {}, ""},
        {[](FakeMediaNode& n) { n.interfaces[0].intf_type = kSubdevice; },
         "Could not find capture device"},
        {[](FakeMediaNode& n) { n.entities[2].function = 0; }, "Could not find camera device"},
        {[](FakeMediaNode& n) { n.links.erase(n.links.begin() + 1); },
         "Camera entity does not have an interface"},
        {[](FakeMediaNode& n) { n.interfaces[1].devnode.minor = 9; },
         "Could not resolve major:minor (81:9) to device node"},
    };
    for (const auto& row : rows) {
        FakeMediaNode node;
        row.breakNode(node);
        const MediaDevice device = node.Read();
        std::pair<std::string, std::string> nodes;
        EXPECT_EQ(RuntimeErrorOf([&] { nodes = FindCaptureAndCamera(device); }), row.error);
        EXPECT_EQ(nodes.first, *row.error == '\0' ? "/dev/video3" : "");
        EXPECT_EQ(nodes.second, *row.error == '\0' ? "/dev/v4l-subdev0" : "");
    }
}

TEST(Enumerate, PassesOverMediaDevicesThatCantBeRead)
{
    test::BoardFiles board;
    for (const char* path : {"/dev/media0", "/dev/media1", "/dev/video0", "/dev/video1"})
        board.Write(path, "");
    FakeMediaNode node;
    board.onIoctl = [&](int fd, unsigned long request, void* argument, int& result) {
        errno = board.IsOpenAs(fd, "/dev/media1") ? node.Answer(request, argument) : ENOTTY;
        result = errno == 0 ? 0 : -1;
        return true;
    };
    const EnumerateResult result = Enumerate();
    ASSERT_EQ(result.mediaDevices.size(), 1u);
    EXPECT_EQ(result.mediaDevices[0].GetPath(), "/dev/media1");
    EXPECT_THAT(result.videoNodes, ElementsAre("/dev/video0", "/dev/video1"));
}

TEST(Enumerate, BoardWithoutMediaDevicesStillHasItsVideoNodes)
{
    test::BoardFiles board;
    board.Write("/dev/video0", "");
    const EnumerateResult result = Enumerate();
    EXPECT_TRUE(result.mediaDevices.empty());
    EXPECT_THAT(result.videoNodes, ElementsAre("/dev/video0"));
}

} // namespace
} // namespace V4L2
