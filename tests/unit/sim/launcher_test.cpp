// The launcher as a user meets it: exit codes and words. The commands are those of any system.
#include <gtest/gtest.h>
#include <png.h>
#include <stdio.h>
#include <unistd.h>

#include <string>
#include <vector>

#include "../support/command.h"
#include "sim/core/scene.h"

namespace
{

CommandResult RunLauncher(const std::string& arguments)
{
    return runCommand(ZEVO_EMULATOR " " ZEVO_BOARD_PROGRAM " " + arguments + " 2>&1");
}

struct Case {
    const char* arguments;
    int exitCode;
    const char* words;
};

void Check(const Case& c)
{
    const CommandResult outcome = RunLauncher(c.arguments);
    EXPECT_EQ(outcome.exitCode, c.exitCode) << c.arguments << "\n" << outcome.output;
    EXPECT_NE(outcome.output.find(c.words), std::string::npos) << outcome.output;
}

TEST(Launcher, ExitCodesAndMessages)
{
    const Case cases[] = {
        {"--help", 0, "Usage: zevo-board --board NAME [OPTIONS] -- COMMAND"},
        {"--list", 0, "imx8mp "},
        {"--version", 0, "zevo-board "},
        {"", 2, "--board is missing"},
        {"--board imx8mm", 2, "no command"},
        {"--board nonsense -- true", 2, "--board: \"nonsense\" is not a board"},
        {"--board imx8mm --fps fast -- true", 2, "--fps: \"fast\" is not a number from 0 to"},
        {"--board imx8mm --driver-version 2 -- true", 2,
         "--driver-version: \"2\" is not a version like 1.0"},
        {"--board imx8mm --fault open:EGG -- true", 2,
         "--fault: \"open:EGG\": \"EGG\" is nothing that can go wrong there"},
        {"--board imx8mm --scene /no/such.png -- true", 2, "/no/such.png"},
        {"--board imx8mm --library /no/such.so -- true", 2, "/no/such.so"},
        {"--board imx8mm -- /no/such/command", 127, "can't start /no/such/command"},
        {"--board imx8mm -- sh -c 'exit 42'", 42, ""},
        {"--board imx8mm -- cat /dev/video3", 1, "No such file"},
        {"--board imx8mm -- printf '<%s>' -- --x '' '[a,b]' --help", 0,
         "<--><--x><><[a,b]><--help>"},
        {"--board imx8mm --emulator 'echo -L /' -- /bin/sh -E x", 0,
         "/libzevo-board.so /bin/sh -E x\n"},
        {"--board imx8mm --emulator 'echo -L /' -- /bin/sh", 0, "-L / -E LD_PRELOAD=/"},
        {"--board imx8mm --emulator 'sh -c env' -- sh", 0, "ZEVO_BOARD=board=imx8mm"},
        {"--board imx8mm --emulator echo -- /no/such/command", 127, "start /no/such/command: No"},
        {"--board imx8mm --emulator /no/such/emulator -- sh", 127, "start /no/such/emulator: No"},
        {"--board imx8mm --emulator ' ' -- sh", 2, "--emulator names no program"},
        {"--board imx8mm --emulator echo --preload /a,b.so -- sh", 2, "comma"},
    };
    for (const Case& c : cases)
        Check(c);
}

TEST(Launcher, ProgramsOfTheSystemSeeTheBoard)
{
    if (*ZEVO_EMULATOR != '\0')
        GTEST_SKIP() << "the host's programs can't load the library of another processor";
    const Case cases[] = {
        {"--board imx8mm -- cat /sys/devices/soc0/soc_id", 0, "i.MX8MM\n"},
        {"--board imx8mm --fault open:EACCES:after=1 --fault file:short=4 -- "
         "sh -c 'cat /sys/devices/soc0/soc_id; cat /dev/video0'",
         1, "i.MX"},
        {"--board imx8mm --fault stat:EIO -- stat /dev/video0", 1, "Input/output error"},
        {"--board imx8mm --fault opendir:EACCES:times=2 -- ls /dev", 2, "Permission denied"},
    };
    for (const Case& c : cases)
        Check(c);
}

/// A picture of two by one pixels is scaled to the sensor's width, with black above and below.
TEST(Launcher, PassesThePictureOn)
{
    const std::string path = testing::TempDir() + "zevo-" + std::to_string(getpid()) + ".png";
    const std::vector<std::uint8_t> pixels{255, 0, 0, 0, 0, 255};
    png_image image{};
    image.version = PNG_IMAGE_VERSION;
    image.width = 2;
    image.height = 1;
    image.format = PNG_FORMAT_RGB;
    ASSERT_NE(png_image_write_to_file(&image, path.c_str(), 0, pixels.data(), 0, nullptr), 0);

    const std::string copy = path + ".rgb";
    const CommandResult outcome =
        RunLauncher("--board imx8mm --scene " + path +
                    " -- sh -c 'cat \"${ZEVO_BOARD##*scene=}\" > " + copy + "'");
    EXPECT_EQ(outcome.exitCode, 0) << outcome.output;
    const zevo_sim::Scene scene = zevo_sim::Scene::FromRawFile(copy);
    const auto at = [&](unsigned x, unsigned y) {
        const std::uint8_t* pixel = scene.Row(y) + std::size_t{x} * 3;
        return zevo_sim::Colour{pixel[0], pixel[1], pixel[2]};
    };
    EXPECT_EQ(at(100, 976), (zevo_sim::Colour{255, 0, 0}));
    EXPECT_EQ(at(2500, 976), (zevo_sim::Colour{0, 0, 255}));
    EXPECT_EQ(at(1300, 100), zevo_sim::kBlack);
    remove(path.c_str());
    remove(copy.c_str());
}

} // namespace
