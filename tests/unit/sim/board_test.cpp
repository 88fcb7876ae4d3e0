#include <linux/media.h>

#include <algorithm>
#include <set>

#include "board_fixture.h"

namespace zevo_sim
{
namespace
{

TEST(Options, SurviveTheEnvironment)
{
    const std::string text =
        "board=imx8mp;cameras=2;form=controls;planes=multi;csi-id=1;fps=12.5;"
        "serial=A%3BB=%2541%0AC;lanes=2;lane-rate=800000000;driver-version=2.7;"
        "max-buffers=3;fault=VIDIOC_DQBUF:EIO:after=100:times=3;"
        "fault=read:value=0x1234:register=0x6134:camera=1:times=always;"
        "light=0.25;light-temperature=2800;kmsg=/tmp/a b";
    const BoardOptions options = BoardOptions::FromText(text);
    EXPECT_EQ(options.ToText(), text);
    EXPECT_EQ(options.serial, "A;B=%41\nC");
    TestBoard board(text);
    EXPECT_EQ(board->GetCamera(0).Options().light.level, 0.25);
    EXPECT_EQ(board->GetCamera(0).Options().light.temperature, 2800);
}

TEST(Options, RefuseWhatMakesNoSense)
{
    for (const char* text :
         {"board=raspberry", "cameras=0", "cameras=9", "cameras=1x", "fps=-1", "fps=nan", "lanes=5",
          "form=both", "planes=2", "colour=red", "csi-id=-1", "light=0", "light-temperature=2000"})
        EXPECT_THROW(BoardOptions::FromText(text), std::invalid_argument) << text;
}

TEST(Paths, RealmIsTheBoards)
{
    struct {
        const char* path;
        PathKind kind;
    } cases[] = {
        {"/dev/video0", PathKind::Node},
        {"/dev/media7", PathKind::Absent},
        {"/dev/v4l-subdev2", PathKind::Node},
        {"/dev/kmsg", PathKind::KernelLog},
        {"/dev/videos/x", PathKind::Foreign},
        {"/dev/null", PathKind::Foreign},
        {"/sys/devices/soc0/soc_id", PathKind::File},
        {"/sys/devices/soc0", PathKind::Directory},
        {"/sys/devices/soc01", PathKind::Foreign},
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

TEST(Paths, GraphsAreSharedWhereTheBoardHasOne)
{
    const auto kind = [](const char* options, const char* path) {
        return TestBoard(options)->Kind(path);
    };
    EXPECT_EQ(kind("board=imx8mp;cameras=2", "/dev/media1"), PathKind::Absent);
    EXPECT_EQ(kind("board=generic;cameras=2", "/dev/media1"), PathKind::Node);
    EXPECT_EQ(kind("board=imx8mm", "/dev/media0"), PathKind::Absent);
}

TEST(Files, TellTheReceiverOfTheCamera)
{
    TestBoard board("board=imx8mp;csi-id=5");
    const Descriptor file(board->Open("/proc/device-tree/soc@0/bus@30800000/i2c@30a30000/"
                                      "tolmen_camera@36/csi_id",
                                      O_RDONLY));
    char bytes[8] = {};
    EXPECT_EQ(read(file.Get(), bytes, sizeof(bytes)), 4);
    EXPECT_EQ(std::string(bytes, 4), std::string("\0\0\0\5", 4));
}

TEST(Cameras, HaveSerialNumbersOfTheirOwn)
{
    TestBoard board("board=imx8mm;cameras=3;serial=X:A0099");
    const char* serials[] = {"X:A0099", "X:A0100", "X:A0101"};
    for (unsigned i = 0; i < 3; ++i)
        EXPECT_EQ(board->GetCamera(i).Options().serialNumber, serials[i]);
}

TEST(Topology, NumbersAndOrderAreTheKernels)
{
    TestBoard board("board=imx8mp");
    Program media(*board, "/dev/media0", O_RDWR);
    media_v2_topology graph{};
    ASSERT_EQ(media.Ioctl(MEDIA_IOC_G_TOPOLOGY, &graph), 0);
    std::vector<media_v2_entity> entities(graph.num_entities);
    std::vector<media_v2_interface> interfaces(graph.num_interfaces);
    std::vector<media_v2_pad> pads(graph.num_pads);
    std::vector<media_v2_link> links(graph.num_links);
    graph.ptr_entities = reinterpret_cast<std::uintptr_t>(entities.data());
    graph.ptr_interfaces = reinterpret_cast<std::uintptr_t>(interfaces.data());
    graph.ptr_pads = reinterpret_cast<std::uintptr_t>(pads.data());
    graph.ptr_links = reinterpret_cast<std::uintptr_t>(links.data());
    ASSERT_EQ(media.Ioctl(MEDIA_IOC_G_TOPOLOGY, &graph), 0);

    EXPECT_EQ(entities.front().function, unsigned{MEDIA_ENT_F_IO_V4L});
    EXPECT_EQ(entities.back().function, unsigned{MEDIA_ENT_F_CAM_SENSOR});
    std::multiset<std::uint32_t> ids;
    const auto collect = [&](const auto& items) {
        for (const auto& item : items)
            ids.insert(item.id);
    };
    collect(entities), collect(interfaces), collect(pads), collect(links);
    EXPECT_EQ(std::set<std::uint32_t>(ids.begin(), ids.end()).size(), ids.size());
    const auto isData = [](const media_v2_link& link) {
        return (link.flags & MEDIA_LNK_FL_LINK_TYPE) == 0;
    };
    const auto dataLinks = std::count_if(links.begin(), links.end(), isData);
    EXPECT_TRUE(std::is_partitioned(links.rbegin(), links.rend(), isData))
        << "interface links come first";
    EXPECT_EQ(*ids.rbegin(), ids.size() + dataLinks - 1) << "each reverse takes a number";

    graph.num_links -= 1;
    EXPECT_EQ(media.Ioctl(MEDIA_IOC_G_TOPOLOGY, &graph), -ENOSPC);
}

} // namespace
} // namespace zevo_sim
