#include "cli/configuration.h"

#include <gmock/gmock.h>

#include "failure.h"

namespace zevo_tool
{
namespace
{

using testing::ElementsAre;
using testing::Pair;

std::vector<Setting> Parse(const std::string& commandLine)
{
    CLI::App app;
    Configuration configuration;
    configuration.AddOptions(app);
    app.parse(commandLine);
    configuration.Check();
    return configuration.Settings();
}

TEST(Configuration, KeepsTheOrderOfTheCommandLine)
{
    EXPECT_THAT(Parse("--set A=1 --size 640x480 --set B=2 --format Mono8 --set A=3"),
                ElementsAre(Pair("A", "1"), Pair("Width", "640"), Pair("Height", "480"),
                            Pair("B", "2"), Pair("PixelFormat", "Mono8"), Pair("A", "3")));
}

TEST(Configuration, SplitsASettingAtTheFirstSign)
{
    EXPECT_EQ(ParseSetting("Name=a=b"), Setting("Name", "a=b"));
    EXPECT_EQ(ParseSetting("Name="), Setting("Name", ""));
}

TEST(Configuration, RefusesMalformedTexts)
{
    for (const char* line : {"--set Name", "--set =1", "--size 640", "--size 640x", "--size x480",
                             "--size 640x-480", "--size 0x480", "--size 640x480x3"})
        EXPECT_THROW(Parse(line), UsageError) << line;
}

} // namespace
} // namespace zevo_tool
