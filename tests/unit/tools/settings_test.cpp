#include <gmock/gmock.h>

#include <functional>

#include "fake_port.h"
#include "file_content.h"
#include "genapi/feature_streaming.h"
#include "temporary_folder.h"

namespace zevo_tool
{
namespace
{

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

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

constexpr std::uint64_t kStart = 0x0;
constexpr std::uint64_t kEnd = 0x4;
constexpr std::uint64_t kLimit = 0x8;
constexpr std::uint64_t kSize = 0xC;
constexpr std::uint64_t kRatios[] = {0x10, 0x14};

/// A camera whose size may not pass its limit, but for as long as it is in feature streaming.
class StreamingPort final : public FakePort
{
public:
    void Write(std::uint64_t address, const void* data, std::size_t size) override
    {
        FakePort::Write(address, data, size);
        if (address == kStart || address == kEnd)
            isStreaming = address == kStart;
        if (address == kStart)
            ++starts;
        if (!isStreaming)
            words[kSize] = std::min(words[kSize], words[kLimit]);
    }

    bool isStreaming = false;
    int starts = 0;
};

std::string StreamingDescription()
{
    return DescriptionOf(R"(
<Category Name="Root"><pFeature>Size</pFeature><pFeature>Limit</pFeature>
    <pFeature>Channel</pFeature><pFeature>Ratio</pFeature><pFeature>Other</pFeature>
    <pFeature>DeviceFeaturePersistenceStart</pFeature>
    <pFeature>DeviceFeaturePersistenceEnd</pFeature></Category>
<Integer Name="Size"><Streamable>Yes</Streamable><pValue>SizeReg</pValue>
    <Min>0</Min><pMax>LimitReg</pMax><Unit>px</Unit></Integer>
<Integer Name="Limit"><Streamable>Yes</Streamable><pValue>LimitReg</pValue></Integer>
<Enumeration Name="Channel">
    <EnumEntry Name="Red"><Value>0</Value></EnumEntry>
    <EnumEntry Name="Blue"><Value>1</Value></EnumEntry>
    <pValue>ChannelNumber</pValue><pSelected>Ratio</pSelected></Enumeration>
<Integer Name="ChannelNumber"><Value>1</Value></Integer>
<Integer Name="Ratio"><Streamable>Yes</Streamable><pIndex>ChannelNumber</pIndex>
    <pValueIndexed Index="0">RedReg</pValueIndexed>
    <pValueIndexed Index="1">BlueReg</pValueIndexed><pValueDefault>RedReg</pValueDefault></Integer>
<Integer Name="Other"><pValue>LimitReg</pValue></Integer>
<Command Name="DeviceFeaturePersistenceStart"><pValue>StartReg</pValue>
    <CommandValue>1</CommandValue></Command>
<Command Name="DeviceFeaturePersistenceEnd"><pValue>EndReg</pValue>
    <CommandValue>1</CommandValue></Command>
)" + Register("StartReg", "0x0") +
                         Register("EndReg", "0x4") + Register("LimitReg", "0x8") +
                         Register("SizeReg", "0xC") + Register("RedReg", "0x10") +
                         Register("BlueReg", "0x14"));
}

class StreamingTest : public testing::Test
{
protected:
    StreamingTest()
    {
        port.words[kLimit] = 100;
        port.words[kSize] = 80;
        port.words[kRatios[0]] = 7;
        port.words[kRatios[1]] = 9;
    }
    std::vector<std::string> Apply(const std::string& text)
    {
        return ApplySettings(map, ParseSettings(text, "f"), "f");
    }

    StreamingPort port;
    FeatureMap map{port, StreamingDescription()};
};

TEST_F(StreamingTest, CollectsStreamableFeaturesForEachSelectorValue)
{
    std::vector<std::string> lines;
    for (const StoredSetting& setting : CollectSettings(map))
        lines.push_back(setting.name + "=" + setting.value + setting.comment);
    EXPECT_THAT(lines, ElementsAre("Size=80px", "Limit=100", "Channel=Red", "Ratio=7",
                                   "Channel=Blue", "Ratio=9"));
    EXPECT_EQ(map.Find("Channel").Value(), "Blue");
    EXPECT_EQ(port.starts, 1);
    EXPECT_FALSE(port.isStreaming);
}

TEST_F(StreamingTest, AppliesInAnyOrder)
{
    EXPECT_THAT(Apply("Size=150\nChannel=Red\nRatio=1\nChannel=Blue\nRatio=2\nLimit=200"),
                IsEmpty());
    EXPECT_EQ(port.words[kSize], 150U);
    EXPECT_EQ(port.words[kRatios[0]], 1U);
    EXPECT_EQ(port.words[kRatios[1]], 2U);
    EXPECT_EQ(map.Find("Channel").Value(), "Blue");
    EXPECT_FALSE(port.isStreaming);
}

TEST_F(StreamingTest, TellsWhatTheCameraHasChanged)
{
    EXPECT_THAT(Apply("Size=300\nLimit=200"), ElementsAre("Size: the camera has made 200 of 300"));
}

TEST_F(StreamingTest, LeavesFeatureStreamingWhenAValueIsNone)
{
    EXPECT_EQ(WhyNot([&] { Apply("Limit=200\nSize=big"); }), "f:2: Size: \"big\" isn't an integer");
    EXPECT_EQ(port.starts, 1);
    EXPECT_FALSE(port.isStreaming);
}

TEST_F(StreamingTest, LooksAtNamesBeforeAnythingIsWritten)
{
    EXPECT_EQ(WhyNot([&] { Apply("Limit=200\nSice=1"); }),
              "f:2: there is no feature Sice; did you mean Size?");
    EXPECT_EQ(port.starts, 0);
    EXPECT_EQ(port.words[kLimit], 100U);
}

} // namespace
} // namespace zevo_tool
