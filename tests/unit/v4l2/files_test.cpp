#include "v4l2/files.h"

#include <gtest/gtest.h>

#include "support/board_files.h"
#include "support/outcome.h"
#include "v4l2/device_node.h"

namespace V4L2
{
namespace
{

TEST(ReadFirstLine, EndsAtALineEndOrNul)
{
    test::BoardFiles board;
    const std::string path = "/sys/devices/soc0/soc_id";
    const std::pair<std::string, std::string> rows[] = {
        {"i.MX8MM\n", "i.MX8MM"},
        {"i.MX8MM", "i.MX8MM"},
        {"i.MX8MM-lite\nsecond\n", "i.MX8MM-lite"},
        {" 33 \r\n", " 33 \r"},
        {std::string("33\0x", 4), "33"},
        {"\n33\n", ""},
        {"", ""},
        {std::string(5000, 'x'), std::string(4096, 'x')},
    };
    for (const auto& [content, line] : rows) {
        board.Write(path, content);
        EXPECT_EQ(ReadFirstLine(path), line);
    }
    EXPECT_EQ(ReadFirstLine("/sys/devices/none"), "");
    EXPECT_EQ(ReadFirstLine("/sys/devices/soc0"), "") << "a folder";
}

TEST(ResolveDeviceNode, TakesTheFirstDeviceName)
{
    test::BoardFiles board;
    const std::pair<std::string, std::string> rows[] = {
        {"MAJOR=81\nMINOR=0\nDEVNAME=video0\n", "/dev/video0"},
        {"DEVNAME=v4l/by-id/a b\nDEVNAME=video1", "/dev/v4l/by-id/a b"},
        {"MAJOR=81\n", ""},
        {" DEVNAME=video0\nXDEVNAME=video0\nDEVNAM", ""},
        {"DEVNAME=\nDEVNAME=video0\n", ""},
        {"", ""},
    };
    for (const auto& [uevent, expected] : rows) {
        board.Write("/sys/dev/char/81:3/uevent", uevent);
        std::string path;
        EXPECT_EQ(errorOf([&] { path = ResolveDeviceNode(81, 3); }),
                  expected.empty() ? "Could not resolve major:minor (81:3) to device node" : "");
        EXPECT_EQ(path, expected);
    }
    EXPECT_THROW(ResolveDeviceNode(81, 4), std::runtime_error);
}

} // namespace
} // namespace V4L2
