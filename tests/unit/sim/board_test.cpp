#include <linux/media.h>
#include <sys/sysmacros.h>

#include <algorithm>
#include <map>
#include <set>

#include "board_fixture.h"

namespace zevo_sim
{
namespace
{

TEST(Options, SurviveTheEnvironment)
{
    BoardOptions options;
    options.board = "imx8mp";
    options.cameras = 2;
    options.form = RequestForm::Controls;
    options.isMultiPlanar = true;
    options.csiId = 1;
    options.fps = 12.5;
    options.serial = "A;B=%41\nC";
    options.lanes = 2;
    options.laneRateBps = 800'000'000;
    options.light = 0.25;
    options.lightTemperature = 2800;
    options.kmsg = "/tmp/a b";
    const BoardOptions read = BoardOptions::FromText(options.ToText());
    EXPECT_EQ(read.ToText(), options.ToText());
    EXPECT_EQ(read.serial, options.serial);
    EXPECT_EQ(read.fps, options.fps);
    EXPECT_EQ(read.light, options.light);
    EXPECT_EQ(read.lightTemperature, options.lightTemperature);
    EXPECT_EQ(read.kmsg, options.kmsg);
    EXPECT_FALSE(read.model);
}

TEST(Options, RefuseWhatMakesNoSense)
{
    for (const char* text :
         {"board=raspberry", "cameras=0", "cameras=9", "cameras=1x", "fps=-1", "fps=nan", "lanes=5",
          "form=both", "planes=2", "colour=red", "csi-id=-1", "light=0", "light-temperature=2000"})
        EXPECT_THROW(BoardOptions::FromText(text), std::invalid_argument) << text;
}

TEST(Options, LightReachesTheCamera)
{
    TestBoard board("light=0.5;light-temperature=7500");
    EXPECT_EQ(board.GetCamera().Options().light.level, 0.5);
    EXPECT_EQ(board.GetCamera().Options().light.temperature, 7500);
}

TEST(Paths, RealmIsTheBoards)
{
    struct {
        const char* path;
        PathKind kind;
    } cases[] = {
        {"/dev/video0", PathKind::Node},
        {"/dev/video1", PathKind::Absent},
        {"/dev/media0", PathKind::Node},
        {"/dev/media7", PathKind::Absent},
        {"/dev/v4l-subdev2", PathKind::Node},
        {"/dev/kmsg", PathKind::KernelLog},
        {"/dev/videos/x", PathKind::Foreign},
        {"/dev/null", PathKind::Foreign},
        {"/sys/devices/soc0/soc_id", PathKind::File},
        {"/sys/devices/soc0", PathKind::Directory},
        {"/sys/devices/soc01", PathKind::Foreign},
        {"/sys/dev/char/81:0/uevent", PathKind::File},
        {"/sys/dev/char/81:9/uevent", PathKind::Absent},
        {"/sys/dev/char/1:3/uevent", PathKind::Foreign},
        {"/sys/module/tegra_fuse/parameters/tegra_chip_id", PathKind::Absent},
        {"/proc/device-tree/soc@0/bus@30800000", PathKind::Directory},
        {"/proc/self/maps", PathKind::Foreign},
    };
    TestBoard board("board=imx8mp");
    for (const auto& c : cases)
        EXPECT_EQ(board->Kind(c.path), c.kind) << c.path;
    EXPECT_EQ(board->Entries("/sys/devices/soc0"), std::vector<std::string>{"soc_id"});
    EXPECT_EQ(board->Entries("/tmp"), std::vector<std::string>{});
}

std::string ReadAll(Board& board, const std::string& path)
{
    const Descriptor fd(board.Open(path, O_RDONLY));
    EXPECT_TRUE(fd.IsValid()) << path;
    char text[256] = {};
    const ssize_t size = read(fd.Get(), text, sizeof(text));
    return {text, static_cast<std::size_t>(std::max<ssize_t>(size, 0))};
}

TEST(Files, TellTheReceiverOfTheCamera)
{
    TestBoard board("board=imx8mp;csi-id=5");
    EXPECT_EQ(ReadAll(*board.operator->(), "/proc/device-tree/soc@0/bus@30800000/i2c@30a30000/"
                                           "tolmen_camera@36/csi_id"),
              std::string("\0\0\0\5", 4));
}

TEST(Cameras, HaveSerialNumbersAndNodesOfTheirOwn)
{
    TestBoard board("board=imx8mm;cameras=3;serial=X:A0099");
    const char* serials[] = {"X:A0099", "X:A0100", "X:A0101"};
    for (unsigned i = 0; i < 3; ++i) {
        Program program(*board.operator->(), ("/dev/video" + std::to_string(i)).c_str());
        char device[464] = {};
        EXPECT_EQ(program.Ioctl(0x81D04202, device), 0);
        EXPECT_STREQ(device + 333, serials[i]);
    }
}

/// The graph as a program reads it.
struct Graph {
    std::vector<media_v2_entity> entities;
    std::vector<media_v2_interface> interfaces;
    std::vector<media_v2_pad> pads;
    std::vector<media_v2_link> links;

    static Graph Read(Program& media)
    {
        media_v2_topology topology{};
        EXPECT_EQ(media.Ioctl(MEDIA_IOC_G_TOPOLOGY, &topology), 0);
        Graph graph;
        graph.entities.resize(topology.num_entities);
        graph.interfaces.resize(topology.num_interfaces);
        graph.pads.resize(topology.num_pads);
        graph.links.resize(topology.num_links);
        topology.ptr_entities = reinterpret_cast<std::uintptr_t>(graph.entities.data());
        topology.ptr_interfaces = reinterpret_cast<std::uintptr_t>(graph.interfaces.data());
        topology.ptr_pads = reinterpret_cast<std::uintptr_t>(graph.pads.data());
        topology.ptr_links = reinterpret_cast<std::uintptr_t>(graph.links.data());
        EXPECT_EQ(media.Ioctl(MEDIA_IOC_G_TOPOLOGY, &topology), 0);
        topology.num_links -= 1;
        EXPECT_EQ(media.Ioctl(MEDIA_IOC_G_TOPOLOGY, &topology), -ENOSPC);
        return graph;
    }

    /// Minor number of the entity's device node.
    std::uint32_t MinorOf(std::uint32_t entity) const
    {
        for (const media_v2_link& link : links)
            if (link.sink_id == entity)
                for (const media_v2_interface& interface : interfaces)
                    if (interface.id == link.source_id)
                        return interface.devnode.minor;
        return 999;
    }

    std::uint32_t EntityOfPad(std::uint32_t pad) const
    {
        for (const media_v2_pad& candidate : pads)
            if (candidate.id == pad)
                return candidate.entity_id;
        return 0;
    }

    /// The next entity downstream, 0 at the end.
    std::uint32_t Next(std::uint32_t entity) const
    {
        for (const media_v2_link& link : links)
            if ((link.flags & MEDIA_LNK_FL_LINK_TYPE) == 0 && EntityOfPad(link.source_id) == entity)
                return EntityOfPad(link.sink_id);
        return 0;
    }
};

TEST(Topology, LeadsFromEachSensorToItsCaptureNode)
{
    struct {
        const char* options;
        const char* driver;
        unsigned graphs;
        unsigned sensors;
        unsigned steps;
    } cases[] = {{"board=imx8mp;cameras=2", "mxc-md", 1, 2, 3},
                 {"board=imx8mp", "mxc-md", 1, 1, 3},
                 {"board=generic;cameras=2", "csi-media", 2, 1, 2}};
    for (const auto& c : cases) {
        TestBoard board(c.options);
        unsigned camera = 0;
        for (unsigned i = 0; i < c.graphs; ++i) {
            Program media(*board.operator->(), ("/dev/media" + std::to_string(i)).c_str(), O_RDWR);
            media_device_info info{};
            EXPECT_EQ(media.Ioctl(MEDIA_IOC_DEVICE_INFO, &info), 0);
            EXPECT_STREQ(info.driver, c.driver);
            const Graph graph = Graph::Read(media);
            unsigned sensors = 0;
            for (const media_v2_entity& entity : graph.entities) {
                if (entity.function != MEDIA_ENT_F_CAM_SENSOR)
                    continue;
                ++sensors;
                EXPECT_EQ(std::string(entity.name).rfind("tolmen-camera ", 0), 0u);
                std::uint32_t reached = entity.id;
                for (unsigned step = 0; step < c.steps; ++step)
                    reached = graph.Next(reached);
                EXPECT_EQ(graph.MinorOf(reached), camera) << "capture nodes have the first minors";
                const std::string uevent = ReadAll(
                    *board.operator->(),
                    "/sys/dev/char/81:" + std::to_string(graph.MinorOf(entity.id)) + "/uevent");
                const std::string path = "/dev/" + uevent.substr(uevent.find("DEVNAME=") + 8);
                Program driver(*board.operator->(), path.substr(0, path.size() - 1).c_str());
                std::uint32_t version = 0;
                EXPECT_EQ(driver.Ioctl(0x80044201, &version), 0);
                ++camera;
            }
            EXPECT_EQ(sensors, c.sensors);
        }
    }
    TestBoard withoutGraph("board=imx8mm");
    EXPECT_EQ(withoutGraph->Open("/dev/media0", O_RDWR), -ENOENT);
}

TEST(Topology, NumbersAndOrderAreTheKernels)
{
    TestBoard board("board=imx8mp");
    Program media(*board.operator->(), "/dev/media0", O_RDWR);
    const Graph graph = Graph::Read(media);
    EXPECT_EQ(graph.entities.front().function, unsigned{MEDIA_ENT_F_IO_V4L});
    EXPECT_EQ(graph.entities.back().function, unsigned{MEDIA_ENT_F_CAM_SENSOR});

    std::multiset<std::uint32_t> ids;
    for (const auto& entity : graph.entities)
        ids.insert(entity.id);
    for (const auto& interface : graph.interfaces)
        ids.insert(interface.id);
    for (const auto& pad : graph.pads)
        ids.insert(pad.id);
    bool isDataSeen = false;
    unsigned dataLinks = 0;
    for (const auto& link : graph.links) {
        ids.insert(link.id);
        const bool isData = (link.flags & MEDIA_LNK_FL_LINK_TYPE) == 0;
        EXPECT_FALSE(isDataSeen && !isData) << "interface links come first";
        isDataSeen = isData;
        dataLinks += isData ? 1 : 0;
    }
    EXPECT_EQ(std::set<std::uint32_t>(ids.begin(), ids.end()).size(), ids.size());
    EXPECT_EQ(*ids.rbegin(), ids.size() + dataLinks - 1) << "each reverse takes a number";
}

} // namespace
} // namespace zevo_sim
