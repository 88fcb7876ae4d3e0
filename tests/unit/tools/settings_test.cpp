#include <gmock/gmock.h>

#include <functional>

#include "failure.h"
#include "file_content.h"
#include "genapi/settings_file.h"
#include "temporary_folder.h"

namespace zevo_tool
{
namespace
{

using testing::HasSubstr;

std::string WhyNot(const std::function<void()>& action)
{
    try {
        action();
    } catch (const Failure& failure) {
        return failure.what();
    }
    return "done";
}

TEST(SettingsFile, GivesBackWhatWasWritten)
{
    const std::vector<StoredSetting> written{{"Width", "640", "px"},
                                             {"Name", " a # \"b\\ ", ""},
                                             {"Text", "one\ntwo", ""},
                                             {"Empty", "", ""},
                                             {"Formula", "a=b", ""}};
    const std::vector<StoredSetting> read = ParseSettings(FormatSettings(written, "title"), "f");
    ASSERT_EQ(read.size(), written.size());
    for (std::size_t i = 0; i < read.size(); ++i) {
        EXPECT_EQ(read[i].name, written[i].name);
        EXPECT_EQ(read[i].value, written[i].value);
        EXPECT_EQ(read[i].line, i + 2);
    }
}

TEST(SettingsFile, ReadsWhatAPersonWrites)
{
    const auto settings = ParseSettings("\r\n#comment\n  Width=640 # px\r\n\tGain = 1.5\n", "f");
    ASSERT_EQ(settings.size(), 2U);
    EXPECT_EQ(settings[0].name + "|" + settings[0].value, "Width|640");
    EXPECT_EQ(settings[1].name + "|" + settings[1].value, "Gain|1.5");
    EXPECT_EQ(settings[1].line, 4U);
}

TEST(SettingsFile, NamesTheLineThatIsWrong)
{
    const struct {
        const char* text;
        const char* reason;
    } kRows[] = {
        {"A=1\nB\n", "f:2: \"B\" isn't of the form"},
        {"=1", "f:1: "},
        {"A=\"b", "f:1: the closing quotation mark is missing"},
        {"A=\"b\" c", "f:1: there is text behind"},
    };
    for (const auto& row : kRows)
        EXPECT_THAT(WhyNot([&] { ParseSettings(row.text, "f"); }), HasSubstr(row.reason));
}

TEST(SettingsFile, NamesTheFileThatCannotBeUsed)
{
    const TemporaryFolder folder;
    EXPECT_EQ(WhyNot([] { ReadSettings("/nowhere/a"); }),
              "can't read /nowhere/a: No such file or directory");
    EXPECT_THAT(WhyNot([&] { ReadSettings(folder.Path()); }), HasSubstr("Is a directory"));
    EXPECT_EQ(WhyNot([] { WriteFile("/nowhere/a", "x"); }),
              "can't write /nowhere/a: No such file or directory");
    EXPECT_EQ(WhyNot([] { WriteFile("/dev/full", "x"); }),
              "can't write /dev/full: No space left on device");
}

} // namespace
} // namespace zevo_tool
