// Which cameras the board families find, on a board made of files.
#include <cerrno>
#include <cstring>
#include <map>

#include <gtest/gtest.h>
#include <linux/videodev2.h>

#include "platform/media_graph_handlers.h"
#include "platform/platform_pipeline_handler_factory.h"
#include "support/board_files.h"
#include "support/fake_media_node.h"
#include "support/outcome.h"

namespace GenTLProducer
{

namespace
{

using namespace test::media;

constexpr char kSocFile[] = "/sys/devices/soc0/soc_id";
constexpr char kChipFile[] = "/sys/module/tegra_fuse/parameters/tegra_chip_id";

// Capture nodes whose drivers have these names.
struct VideoNodes {
    explicit VideoNodes(std::map<std::string, std::string> drivers)
    {
        for (const auto& [path, driver] : drivers) {
            board.Write(path, "");
            paths.push_back(path);
        }
        board.onIoctl = [this, drivers](int fd, unsigned long request, void* argument,
                                        int& result) {
            if (request != VIDIOC_QUERYCAP)
                return false;
            auto& capability = *static_cast<v4l2_capability*>(argument);
            capability.capabilities = V4L2_CAP_VIDEO_CAPTURE | V4L2_CAP_STREAMING;
            for (const auto& [path, driver] : drivers) {
                if (board.IsOpenAs(fd, path))
                    std::memcpy(capability.driver, driver.data(), driver.size());
            }
            result = 0;
            return true;
        };
    }

    test::BoardFiles board;
    std::vector<std::string> paths;
};

// "capture<camera" of each pair, or what the search threw.
std::string found(const PlatformPipelineHandler& handler, const V4L2::EnumerateResult& enumeration)
{
    std::string pairs;
    const std::string error = errorOf([&] {
        for (const PipelineDevice& pair : handler.FindCameraDevices(enumeration))
            pairs += pair.capturePath + "<" + pair.cameraPath + " ";
    });
    return pairs + error;
}

// The graph of a board with a receiver and a converter between sensor and capture node.
test::FakeMediaNode converterGraph()
{
    test::FakeMediaNode node;
    node.driver = "mxc-md";
    node.entities = {node.Entity(1, "mxc_isi.0.capture", 0x10001),
                     node.Entity(2, "mxc_isi.0", 0x4002), node.Entity(3, "mxc-mipi-csi2.0", 0x5000),
                     node.Entity(4, "tolmen-camera 1-0036", kSensor)};
    node.pads = {{20, 1, kSink, 0, {}}, {21, 2, kSink, 0, {}},   {22, 2, kSource, 1, {}},
                 {23, 3, kSink, 0, {}}, {24, 3, kSource, 1, {}}, {25, 4, kSource, 0, {}}};
    node.links = {{30, 10, 1, kInterfaceLink, {}},
                  {31, 11, 4, kInterfaceLink, {}},
                  {32, 22, 20, 1, {}},
                  {33, 24, 21, 1, {}},
                  {34, 25, 23, 1, {}}};
    return node;
}

} // namespace

TEST(HandlerSearch, TheIdentificationMustBeExact)
{
    constexpr char kMx6sNodes[] = "/dev/video1</dev/video1 /dev/video4</dev/video4 ";
    constexpr char kTegraNodes[] = "/dev/video2</dev/video2 ";
    const struct {
        const char* file;
        const char* content;
        std::string finder;
        const char* pairs;
    } rows[] = {
        {kSocFile, "i.MX8MM\n", "imx8mm", kMx6sNodes},
        {kSocFile, "i.MX8MM", "imx8mm", kMx6sNodes},
        {kSocFile, "i.MX8MQ\nmore\n", "imx8mq", kMx6sNodes},
        {kChipFile, "33\n", "nvidia", kTegraNodes},
        {kChipFile, "25\n", "nvidia", kTegraNodes},
        {kChipFile, "24\n", "nvidia-tx2", kTegraNodes},
        {kSocFile, "i.MX8MMx\n", "nobody", ""},
        {kSocFile, "i.MX8MM \n", "nobody", ""},
        {kSocFile, "i.MX8MP\n", "nobody", ""},
        {kSocFile, "\ni.MX8MM\n", "nobody", ""},
        {kSocFile, "33\n", "nobody", ""},
        {kChipFile, "333\n", "nobody", ""},
        {kChipFile, "0x21\n", "nobody", ""},
        {kChipFile, "", "nobody", ""},
    };
    for (const auto& row : rows) {
        VideoNodes nodes({{"/dev/video0", "mx6s-csi2"},
                          {"/dev/video1", "mx6s-csi"},
                          {"/dev/video2", "tegra-video"},
                          {"/dev/video3", "mx6s"},
                          {"/dev/video4", "mx6s-csi"}});
        nodes.board.Write(row.file, row.content);
        V4L2::EnumerateResult enumeration;
        enumeration.videoNodes = nodes.paths;
        enumeration.videoNodes.push_back("/nowhere/video0"); // can't be opened
        for (const PlatformPipelineHandlerMaker make : PlatformPipelineHandlerFactory()) {
            const auto handler = make();
            EXPECT_EQ(found(*handler, enumeration),
                      handler->GetName() == row.finder ? row.pairs : "")
                << handler->GetName() << ": " << row.content;
        }
    }
}

TEST(HandlerSearch, TheConverterBoardFollowsItsGraphAndAddsItsSingleNodes)
{
    using Graph = test::FakeMediaNode;
    const std::pair<void (*)(Graph&), const char*> rows[] = {
        {[](auto&) {}, "/dev/video3</dev/v4l-subdev0 /dev/video5</dev/video5 "},
        {[](auto& g) { g.driver = "mxc-mdx"; }, "/dev/video5</dev/video5 "},
        {[](auto& g) { g.entities[3] = g.Entity(4, "tolmen-camera ", kSensor); },
         "/dev/video3</dev/v4l-subdev0 /dev/video5</dev/video5 "},
        {[](auto& g) { g.entities[3] = g.Entity(4, "tolmen-camera", kSensor); },
         "/dev/video5</dev/video5 "},
        {[](auto& g) { g.entities[3] = g.Entity(4, "a tolmen-camera 1", kSensor); },
         "/dev/video5</dev/video5 "},
        {[](auto& g) { g.entities[3].function = 0x20002; }, "/dev/video5</dev/video5 "},
        {[](auto& g) { g.links.erase(g.links.begin() + 1); }, "/dev/video5</dev/video5 "},
        {[](auto& g) { g.links.erase(g.links.begin()); }, "capture device has no interface"},
        {[](auto& g) { g.links.erase(g.links.begin() + 3); }, "pad has invalid link count"},
        {[](auto& g) { g.pads[2].flags = kSink; }, "First source pad not found"},
        {[](auto& g) { g.interfaces[1].devnode.minor = 9; },
         "Could not resolve major:minor (81:9) to device node"},
    };
    for (const auto& [change, expected] : rows) {
        VideoNodes nodes({{"/dev/video4", "mxc-md"}, {"/dev/video5", "viv_v4l2_device"}});
        nodes.board.Write("/sys/dev/char/81:0/uevent", "MAJOR=81\nMINOR=0\nDEVNAME=video3\n");
        nodes.board.Write("/sys/dev/char/81:1/uevent", "DEVNAME=v4l-subdev0\n");
        Graph graph = converterGraph();
        change(graph);
        V4L2::EnumerateResult enumeration;
        enumeration.videoNodes = nodes.paths;
        Graph stranger;
        enumeration.mediaDevices.push_back(stranger.Read());
        enumeration.mediaDevices.push_back(graph.Read());
        EXPECT_EQ(found(PlatformPipelineHandlerImx8mp(), enumeration), expected);
    }
}

TEST(HandlerSearch, TheGenericSearchPassesOverMediaDevicesWithoutACamera)
{
    test::BoardFiles board;
    board.Write("/sys/dev/char/81:0/uevent", "DEVNAME=video0\n");
    board.Write("/sys/dev/char/81:1/uevent", "DEVNAME=v4l-subdev1\n");
    test::FakeMediaNode codec;
    codec.entities[2].function = 0x4005;
    test::FakeMediaNode camera;
    V4L2::EnumerateResult enumeration;
    enumeration.videoNodes = {"/dev/video0", "/dev/video7"};
    enumeration.mediaDevices.push_back(codec.Read());
    enumeration.mediaDevices.push_back(camera.Read());
    EXPECT_EQ(found(PlatformPipelineHandlerSimple(), enumeration), "/dev/video0</dev/v4l-subdev1 ");
}

TEST(HandlerSearch, TheReceiverDecidesTheWidthOfTheConverterBoard)
{
    constexpr char kFirst[] = "/proc/device-tree/soc@0/bus@1/i2c@2/tolmen_camera@36/csi_id";
    constexpr char kSecond[] = "/proc/device-tree/soc@0/bus@1/i2c@3/tolmen_camera@36/csi_id";
    constexpr char kElsewhere[] = "/proc/device-tree/soc@0/i2c@2/tolmen_camera@36/csi_id";
    // Files and width; 0: refused.
    const std::pair<std::map<std::string, std::string>, std::uint32_t> rows[] = {
        {{}, 2048},
        {{{kFirst, std::string("\0\0\0\0", 4)}}, 4096},
        {{{kFirst, std::string("\0\0\0\1", 4)}}, 2048},
        {{{kFirst, std::string("\1\0\0\0", 4)}}, 2048},
        {{{kFirst, std::string("\0\0\0\0\7", 5)}}, 4096},
        {{{kFirst, std::string("\0\0\0\0", 4)}, {kSecond, std::string("\0\0\0\0", 4)}}, 2048},
        {{{kElsewhere, std::string("\0\0\0\0", 4)}}, 2048},
        {{{kFirst, std::string("\0\0\0", 3)}}, 0},
    };
    for (const auto& [files, expected] : rows) {
        test::BoardFiles board;
        for (const auto& [path, content] : files)
            board.Write(path, content);
        const PlatformPipelineHandlerImx8mp handler;
        std::uint32_t width = 0;
        EXPECT_EQ(errorOf([&] { width = handler.GetMaxWidth(); }),
                  expected ? "" : "Failed to detect camera connection from devicetree");
        EXPECT_EQ(width, expected);
    }
}

} // namespace GenTLProducer
