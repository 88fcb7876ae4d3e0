#include "cli/configuration.h"

#include <gmock/gmock.h>

#include "cli/words.h"
#include "failure.h"
#include "temporary_folder.h"

namespace zevo_tool
{
namespace
{

using testing::ElementsAre;

/// The steps as text: "NAME=VALUE", or "FILE:" and the names in it.
std::vector<std::string> Parse(const std::string& commandLine)
{
    CLI::App app;
    Configuration configuration;
    configuration.AddOptions(app);
    app.parse(commandLine);
    configuration.Check();
    std::vector<std::string> steps;
    for (const Configuration::Step& step : configuration.Steps()) {
        std::string text =
            step.file.empty() ? step.setting.first + "=" + step.setting.second : step.file + ":";
        for (const StoredSetting& setting : step.stored)
            text += " " + setting.name;
        steps.push_back(text);
    }
    return steps;
}

TEST(Configuration, KeepsTheOrderOfTheCommandLine)
{
    const TemporaryFolder folder;
    folder.Write("a.txt", "Gain = 1\nGamma = 2\n");
    const std::string file = folder.Path("a.txt");
    EXPECT_THAT(
        Parse("--set A=1 --size 640x480 --load " + file + " --set B=2 --format Mono8 --set A=3"),
        ElementsAre("A=1", "Width=640", "Height=480", file + ": Gain Gamma", "B=2",
                    "PixelFormat=Mono8", "A=3"));
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
    EXPECT_THROW(Parse("--load /nowhere/a.txt"), Failure);
}

TEST(Words, AreSplitAsAShellDoes)
{
    EXPECT_THAT(SplitWords("  set A=1\tB=2 \n"), ElementsAre("set", "A=1", "B=2"));
    EXPECT_THAT(SplitWords("set 'A=a b' B=\"c 'd' \\\"e\" f\\ g"),
                ElementsAre("set", "A=a b", "B=c 'd' \"e", "f g"));
    EXPECT_THAT(SplitWords("get a#b # rest"), ElementsAre("get", "a#b"));
    EXPECT_THAT(SplitWords("set A=''"), ElementsAre("set", "A="));
    EXPECT_THAT(SplitWords("# nothing"), ElementsAre());
    EXPECT_THROW(SplitWords("set 'A"), UsageError);
}

} // namespace
} // namespace zevo_tool
