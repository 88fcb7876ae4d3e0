#include <gmock/gmock.h>

#include "fake_port.h"
#include "genapi/feature_map.h"

namespace zevo_tool
{
namespace
{

using testing::ElementsAre;
using testing::HasSubstr;

constexpr std::uint64_t kWidth = 0x0;
constexpr std::uint64_t kLocked = 0x4;
constexpr std::uint64_t kMode = 0x8;
constexpr std::uint64_t kEnable = 0xC;
constexpr std::uint64_t kRate = 0x10;
constexpr std::uint64_t kReset = 0x14;
constexpr std::uint64_t kAvailable = 0x18;
constexpr std::uint64_t kGamma = 0x1C;

std::string Description()
{
    return DescriptionOf(
        R"(
<Category Name="Root"><pFeature>Control</pFeature></Category>
<Category Name="Control"><pFeature>Width</pFeature><pFeature>Mode</pFeature>
    <pFeature>Enable</pFeature><pFeature>Rate</pFeature><pFeature>Reset</pFeature>
    <pFeature>Broken</pFeature><pFeature>Fixed</pFeature>
    <pFeature>Gamma</pFeature></Category>
<Integer Name="Width"><pIsLocked>LockedReg</pIsLocked><Streamable>Yes</Streamable>
    <pValue>WidthReg</pValue><Min>96</Min><Max>2592</Max><Inc>8</Inc><Unit>px</Unit></Integer>
<Enumeration Name="Mode"><pSelected>Width</pSelected>
    <EnumEntry Name="Off"><Value>0</Value></EnumEntry>
    <EnumEntry Name="Once"><pIsAvailable>AvailableReg</pIsAvailable><Value>1</Value></EnumEntry>
    <EnumEntry Name="Continuous"><Value>2</Value></EnumEntry>
    <pValue>ModeReg</pValue></Enumeration>
<Boolean Name="Enable"><pIsAvailable>AvailableReg</pIsAvailable><pValue>EnableReg</pValue>
    <OnValue>1</OnValue><OffValue>0</OffValue></Boolean>
<Converter Name="Rate"><FormulaTo>FROM * 10</FormulaTo><FormulaFrom>TO / 10</FormulaFrom>
    <pValue>RateNumber</pValue><Unit>Hz</Unit></Converter>
<Integer Name="RateNumber"><pValue>RateReg</pValue><Min>1</Min><Max>2559</Max></Integer>
<Float Name="Gamma"><pValue>GammaConverter</pValue></Float>
<Converter Name="GammaConverter"><Constant Name="HUNDRED">100.0</Constant>
    <FormulaTo>FROM*HUNDRED</FormulaTo><FormulaFrom>TO/HUNDRED</FormulaFrom>
    <pValue>GammaRaw</pValue></Converter>
<Float Name="GammaRaw"><pValue>GammaInteger</pValue></Float>
<Integer Name="GammaInteger"><pValue>GammaReg</pValue><Min>-300</Min><Max>300</Max></Integer>
<Command Name="Reset"><pValue>ResetReg</pValue><CommandValue>1</CommandValue></Command>
<Integer Name="Broken"><pValue>BrokenReg</pValue></Integer>
<Integer Name="Fixed"><Value>7</Value></Integer>
)" + Register("WidthReg", "0x0") +
        Register("LockedReg", "0x4", "RO") + Register("ModeReg", "0x8") +
        Register("EnableReg", "0xC") + Register("RateReg", "0x10") +
        Register("ResetReg", "0x14", "WO") + Register("AvailableReg", "0x18", "RO") +
        Register("GammaReg", "0x1C", "RW", "Signed") + Register("BrokenReg", "0x40"));
}

class FeatureTest : public testing::Test
{
protected:
    FakePort port;
    FeatureMap map{port, Description()};

    std::string WhyNot(const std::string& name, const std::string& value)
    {
        try {
            map.Find(name).Set(value);
        } catch (const Failure& failure) {
            return failure.what();
        }
        return "accepted";
    }
};

TEST_F(FeatureTest, ValuesReachTheRegisters)
{
    map.Find("Width").Set("0x68");
    map.Find("Mode").Set("Continuous");
    port.words[kAvailable] = 1;
    map.Find("Enable").Set("on");
    map.Find("Rate").Set("25.5");
    map.Find("Reset").Execute();
    EXPECT_EQ(port.words[kWidth], 0x68U);
    EXPECT_EQ(port.words[kMode], 2U);
    EXPECT_EQ(port.words[kEnable], 1U);
    EXPECT_EQ(port.words[kRate], 255U);
    EXPECT_EQ(port.words[kReset], 1U);
}

TEST_F(FeatureTest, ValuesAreReadFreshInTheirOwnUnits)
{
    port.words[kWidth] = 640;
    EXPECT_EQ(map.Find("Width").Value(), "640");
    port.words[kWidth] = 648;
    EXPECT_EQ(map.Find("Width").Value(), "648");
    EXPECT_EQ(map.Find("Width").Unit(), "px");
    port.words[kRate] = 255;
    EXPECT_EQ(map.Find("Rate").Value(), "25.5");
    EXPECT_EQ(map.Find("Rate").Unit(), "Hz");
    port.words[kMode] = 1;
    EXPECT_EQ(map.Find("Mode").Value(), "Once");
    EXPECT_EQ(map.Find("Enable").Value(), "false");
}

TEST_F(FeatureTest, NumbersBecomeTheNearestInteger)
{
    // 0.29 * 100 is a little less than 29.
    for (int number = -300; number <= 300; ++number) {
        map.Find("Gamma").Set(std::to_string(number / 100.0));
        ASSERT_EQ(static_cast<std::int32_t>(port.words[kGamma]), number);
    }
    map.Find("Gamma").Set("1.126");
    EXPECT_EQ(port.words[kGamma], 113U);
    EXPECT_EQ(map.Find("Gamma").Value(), "1.13");
}

TEST_F(FeatureTest, RefusalsSayWhy)
{
    const struct {
        const char* feature;
        const char* value;
        const char* reason;
    } kRows[] = {
        {"Width", "88", "Width: 88 is below the minimum of 96 px"},
        {"Width", "2600", "Width: 2600 is above the maximum of 2592 px"},
        {"Width", "101", "no step of 8 from 96; the nearest are 96 and 104"},
        {"Width", "wide", "\"wide\" isn't an integer"},
        {"Mode", "Offf", "Mode has no entry \"Offf\"; did you mean Off? (Off, Continuous)"},
        {"Mode", "Once", "\"Once\" isn't available; available are Off, Continuous"},
        {"Enable", "true", "Enable isn't available"},
        {"Rate", "256", "Rate: 256 is above the maximum of 255.9 Hz"},
        {"Rate", "fast", "\"fast\" isn't a number"},
        {"Reset", "1", "Reset is a command"},
        {"Broken", "1", "GC_ERR_ACCESS_DENIED (-1005): not now"},
    };
    for (const auto& row : kRows)
        EXPECT_THAT(WhyNot(row.feature, row.value), HasSubstr(row.reason));
    EXPECT_EQ(port.words[kWidth], 0U);
    EXPECT_EQ(port.words[kMode], 0U);
}

TEST_F(FeatureTest, ALockHoldsUntilItIsGone)
{
    port.words[kLocked] = 1;
    EXPECT_THAT(WhyNot("Width", "640"), HasSubstr("Width is locked"));
    port.words[kLocked] = 0;
    EXPECT_EQ(WhyNot("Width", "640"), "accepted");
    port.words[kLocked] = 1;
    map.Find("Width").Set("97", Checking::SyntaxOnly);
    EXPECT_EQ(port.words[kWidth], 97U);
}

TEST_F(FeatureTest, AnUnavailableEntryCanBeStored)
{
    map.Find("Mode").Set("Once", Checking::SyntaxOnly);
    EXPECT_EQ(port.words[kMode], 1U);
}

TEST_F(FeatureTest, DescribeThemselves)
{
    EXPECT_EQ(map.Find("Width").Choice(), "96 .. 2592 step 8");
    EXPECT_EQ(map.Find("Mode").Choice(), "Off, Continuous");
    port.words[kAvailable] = 1;
    EXPECT_EQ(map.Find("Mode").Choice(), "Off, Once, Continuous");
    EXPECT_TRUE(map.Find("Width").IsStreamable());
    EXPECT_FALSE(map.Find("Mode").IsStreamable());
    ASSERT_EQ(map.Find("Mode").Selected().size(), 1U);
    EXPECT_EQ(map.Find("Mode").Selected().front().Name(), "Width");
    EXPECT_TRUE(map.Find("Width").Selected().empty());
}

TEST_F(FeatureTest, AreFoundByNameAlone)
{
    EXPECT_THAT(map.Names(), ElementsAre("Width", "Mode", "Enable", "Rate", "Reset", "Broken",
                                         "Fixed", "Gamma"));
    try {
        map.Find("Widht");
        FAIL() << "found";
    } catch (const Failure& failure) {
        EXPECT_STREQ(failure.what(), "there is no feature Widht; did you mean Width?");
    }
}

TEST(FeatureMap, RefusesATextThatIsNoDescription)
{
    FakePort port;
    EXPECT_THROW(FeatureMap(port, "<a/>"), Failure);
}

} // namespace
} // namespace zevo_tool
