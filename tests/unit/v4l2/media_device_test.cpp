#include "v4l2/media_device.h"

#include <cerrno>
#include <cstring>

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <linux/media.h>

#include "support/board_files.h"
#include "support/fake_media_node.h"
#include "support/outcome.h"
#include "v4l2/device_node.h"
#include "v4l2/enumeration.h"

namespace V4L2
{
namespace
{

using testing::ElementsAre;
using namespace test::media;
using test::FakeMediaNode;

/// Makes the node tell something else.
using Change = void (*)(FakeMediaNode&);

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
    const MediaEntity& sensor = *device.GetEntities()[2];
    EXPECT_EQ(sensor.name, "sensor");
    EXPECT_TRUE(sensor.IsCameraSensor());
    EXPECT_FALSE(device.GetEntities()[0]->IsCameraSensor());
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

TEST(MediaDevice, FailuresAreToldAndCloseTheNode)
{
    const std::string info = "Failed to get media device info: ";
    const std::string topology = "Failed to get media device topology: ";
    const auto wordsOf = [](int error) { return std::generic_category().message(error); };
    const std::pair<Change, std::string> rows[] = {
        {[](auto& n) { n.infoError = ENOTTY; }, info + wordsOf(ENOTTY)},
        {[](auto& n) { n.topologyError = EIO; }, topology + wordsOf(EIO)},
        {[](auto& n) { n.topologyError = ENOSPC; }, topology + wordsOf(ENOSPC)},
        {[](auto& n) { n.afterwards = [](auto& t) { t.num_links = 0xFFFFFFFF; }; },
         topology + wordsOf(EOVERFLOW)},
        {[](auto& n) { n.pads[0].entity_id = 99; }, "Could not find parent entity for pad"},
        {[](auto& n) { n.pads[1].entity_id = 20; }, "Could not find parent entity for pad"},
        {[](auto& n) { n.links[0].sink_id = 20; }, "Could not find entity referenced by link"},
        {[](auto& n) { n.links[0].source_id = 1; }, "Could not find interface referenced by link"},
        {[](auto& n) { n.links[2].source_id = 1; }, "Could not find both pads referenced by link"},
        {[](auto& n) { n.links[2].sink_id = 99; }, "Could not find both pads referenced by link"},
        {[](auto& n) {
             n.links[2] = {32, 22, 1, 3u << 28, {}};
         },
         "Could not find both pads referenced by link"},
        {[](auto& n) { n.entities[1].id = 1; }, "Found two media objects with one ID"},
        {[](auto& n) { n.links[3].id = 32; }, "Found two media objects with one ID"},
        {[](auto& n) {
             n.links.push_back({40, 3, 1, MEDIA_LNK_FL_ANCILLARY_LINK, {}});
         },
         ""},
    };
    for (const auto& [change, text] : rows) {
        FakeMediaNode node;
        change(node);
        EXPECT_EQ(errorOf([&] { node.Read(); }), text);
        EXPECT_EQ(node.openDescriptors, 0) << text;
        EXPECT_LT(node.topologyCalls, 100u);
    }
    EXPECT_EQ(errorOf([] { MediaDevice("/nowhere/media0"); }),
              "Failed to open media device node: " + wordsOf(ENOENT));
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
    EXPECT_EQ(errorOf([] { MediaPad(nullptr, 3, nullptr, 0).IsSource(); }),
              "Unhandled media pad type");
}

TEST(NextEntity, FollowsTheFirstLinkOfTheFirstSourcePad)
{
    FakeMediaNode node;
    node.pads.push_back({24, 3, kSource, 1, {}});
    node.links.push_back({34, 23, 20, 0, {}});
    const MediaDevice device = node.Read();
    const MediaEntity& receiver = NextEntity(*device.GetEntities()[2]);
    EXPECT_EQ(receiver.name, "csi");
    EXPECT_EQ(NextEntity(receiver).name, "capture");
}

TEST(FindCaptureAndCamera, TakesTheFirstVideoNodeAndTheFirstSensor)
{
    test::BoardFiles board;
    board.Write("/sys/dev/char/81:0/uevent", "DEVNAME=video3\n");
    board.Write("/sys/dev/char/81:1/uevent", "DEVNAME=v4l-subdev0\n");
    const std::pair<Change, const char*> rows[] = {
        {[](auto&) {}, ""},
        {[](auto& n) { n.interfaces[0].intf_type = kSubdevice; }, "Could not find capture device"},
        {[](auto& n) { n.entities[2].function = 0; }, "Could not find camera device"},
        {[](auto& n) { n.links.erase(n.links.begin() + 1); },
         "Camera entity does not have an interface"},
        {[](auto& n) { n.interfaces[1].devnode.minor = 9; },
         "Could not resolve major:minor (81:9) to device node"},
    };
    for (const auto& [change, error] : rows) {
        FakeMediaNode node;
        change(node);
        const MediaDevice device = node.Read();
        std::pair<std::string, std::string> nodes;
        EXPECT_EQ(errorOf([&] { nodes = FindCaptureAndCamera(device); }), error);
        EXPECT_EQ(nodes.first, *error == '\0' ? "/dev/video3" : "");
        EXPECT_EQ(nodes.second, *error == '\0' ? "/dev/v4l-subdev0" : "");
    }
}

TEST(Enumerate, PassesOverMediaDevicesThatCantBeRead)
{
    test::BoardFiles board;
    for (const char* path :
         {"/dev/media1", "/dev/video1", "/dev/video0", "/dev/media0", "/dev/radio0"})
        board.Write(path, "");
    FakeMediaNode node;
    std::string readable;
    board.onIoctl = [&](int fd, unsigned long request, void* argument, int& result) {
        errno = board.IsOpenAs(fd, readable) ? node.Answer(request, argument) : ENOTTY;
        result = errno == 0 ? 0 : -1;
        return true;
    };
    for (const char* path : {"", "/dev/media1"}) {
        readable = path;
        const EnumerateResult result = Enumerate();
        ASSERT_EQ(result.mediaDevices.size(), *path == '\0' ? 0u : 1u);
        for (const MediaDevice& device : result.mediaDevices)
            EXPECT_EQ(device.GetPath(), path);
        EXPECT_THAT(result.videoNodes, ElementsAre("/dev/video0", "/dev/video1"));
    }
}

} // namespace
} // namespace V4L2
