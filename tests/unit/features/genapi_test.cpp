// The descriptions in the hands of an independent GenApi implementation, over a whole camera.
#include <algorithm>
#include <iterator>
#include <regex>
#include <sstream>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "description_file.h"
#include "recording_camera.h"
#include "support/genapi_device.h"

namespace GenTLProducer
{
namespace
{

TEST(Descriptions, LoadWithoutAWarning)
{
    for (const char* name :
         {"genicam.xml", "System.xml", "Interface.xml", "DeviceMCM.xml", "DataStreamMCM.xml"}) {
        SCOPED_TRACE(name);
        const DescriptionFile file(name);
        arv_debug_enable("all:2");
        testing::internal::CaptureStderr();
        const test::GenApiDevice device(file.text, {});
        for (const DescriptionNode& node : file.nodes)
            EXPECT_TRUE(device.has(node.name)) << node.name;
        arv_debug_enable("all:0");
        // That implementation tells of elements that it doesn't use, too.
        const std::regex kUnused("[^\n]*Unknown tag \\(pAlias\\)[^\n]*\n");
        EXPECT_EQ(std::regex_replace(testing::internal::GetCapturedStderr(), kUnused, ""), "");
    }
}

/// The words of a text.
std::vector<std::string> Names(const std::string& text)
{
    std::istringstream words(text);
    return {std::istream_iterator<std::string>(words), {}};
}

class GenApi : public testing::Test
{
protected:
    OpenRegisters camera;
    const DescriptionFile file{"genicam.xml"};
    const test::GenApiDevice device{
        file.text,
        {[this](auto address, void* buffer, auto size) {
             return camera.root->read(static_cast<std::uint32_t>(address), buffer,
                                      static_cast<std::uint32_t>(size)) == 0;
         },
         [this](auto address, const void* buffer, auto size) {
             return camera.root->write(static_cast<std::uint32_t>(address), buffer,
                                       static_cast<std::uint32_t>(size)) == 0;
         }}};
};

TEST_F(GenApi, ShowsDefaultsAndWhatElseCanBeChosen)
{
    const struct {
        const char* feature;
        const char* text;
        const char* entries;
    } kCases[] = {
        {"PixelFormat", "YUV422_8_UYVY", "YUV422_8 YUV422_8_UYVY YCbCr420_8_YY_CbCr_Semiplanar"},
        {"PixelSize", "Bpp16", "Bpp8 Bpp10 Bpp12 Bpp16 Bpp24"},
        {"ExposureAuto", "Continuous", "Off Continuous"},
        {"GainAuto", "Continuous", "Off Continuous"},
        {"BalanceWhiteAuto", "Continuous", "Off Continuous"},
        {"TestPattern", "Off", "Off Testimage1 Testimage2 Testimage3"},
        {"TlmContrastMode", "SCurve", "SCurve"},
        {"TlmColorSpace", "sRgb", "Off sRgb"},
        {"TlmAdaptiveToneMappingMode", "Auto", "Off Auto"},
        {"TlmLightSourcePreset", "Auto", "Auto"},
        {"AutoFunctionProfile", "AntiFlickerAuto",
         "AntiFlickerOff AntiFlickerAuto AntiFlicker50Hz AntiFlicker60Hz"},
        {"ExposureMode", "Timed", "Timed"},
        {"TriggerSelector", "FrameStart", "FrameStart"},
        {"TriggerMode", "Off", "Off On"},
        {"TriggerSource", "Line1", "Software Line1 PeriodicSignal1"},
        {"TriggerActivation", "LevelHigh", "LevelHigh LevelLow"},
        {"TlmPeriodicSignalSource", "Line1", "Line1"},
        {"TlmPeriodicSignalActivation", "RisingEdge", "RisingEdge FallingEdge"},
        {"DeviceTLType", "Custom", "GigEVision CoaXPress USB3Vision Custom"},
        {"AcquisitionMode", "Continuous", "Continuous"},
    };
    for (const auto& [feature, text, entries] : kCases) {
        EXPECT_EQ(device.text(feature), text) << feature;
        EXPECT_EQ(device.availableEntries(feature), Names(entries)) << feature;
    }
    EXPECT_EQ(device.text("DeviceFirmwareVersion"), "p=isp/s=r/v=1.2/h=abc");
    EXPECT_EQ(device.text("TlmV4lDevicePath"), "/dev/video7");
    device.select("BalanceWhiteAuto", "Off");
    EXPECT_EQ(device.availableEntries("TlmLightSourcePreset"),
              Names("Off Horizon2500K Tungsten2800K CoolWhiteFluorescent4250K Daylight5000K "
                    "Daylight6500K Daylight7500K"));
    device.select("TriggerSource", "Software");
    EXPECT_EQ(device.availableEntries("TriggerActivation"), Names(""));
}

// The converters, from the feature's unit to the register's and back.
TEST_F(GenApi, ConvertsToTheUnitOfTheRegister)
{
    EXPECT_DOUBLE_EQ(device.number("BalanceRatio"), 1.6767578125);
    EXPECT_DOUBLE_EQ(device.number("TlmScalingFactor"), 1);
    device.select("TlmColorSpace", "Off");
    const struct {
        const char* feature;
        double value;
        Reg key;
        int raw;
    } kCases[] = {
        {"Gain", 20, Reg::Gain, 2560},
        {"Gain", 0, Reg::Gain, 256},
        {"ExposureTime", 6000, Reg::ExposureTime, 6000},
        {"AcquisitionFrameRate", 2.5, Reg::AcquisitionFrameRate, 25},
        {"TlmSharpnessEnhancement", 0.25, Reg::TlmSharpnessEnhancement, 25},
        {"TlmBrightness", -0.5, Reg::TlmBrightness, -50},
        {"TlmContrast", -0.75, Reg::TlmContrast, -75},
        {"Gamma", 2.25, Reg::Gamma, 225},
        {"TlmSaturation", 1.5, Reg::TlmSaturation, 150},
        {"BalanceRatio", 2.5, Reg::BalanceRatioRed, 10240},
        {"TlmPeriodicSignalDelay", -2, Reg::TlmPeriodicSignalDelay, -2000},
    };
    for (const auto& c : kCases) {
        device.setNumber(c.feature, c.value);
        EXPECT_EQ(camera.read(c.key), static_cast<std::uint32_t>(c.raw)) << c.feature;
        EXPECT_NEAR(device.number(c.feature), c.value, 1e-9) << c.feature;
    }
}

TEST_F(GenApi, LimitsAreThoseOfTheRegisters)
{
    const auto word = [](std::int64_t value) { return static_cast<std::uint32_t>(value); };
    for (const std::int64_t width : {2592, 1008}) {
        device.set("Width", width);
        int checked = 0;
        for (const DescriptionNode& node : file.nodes) {
            if (node.kind != "Integer" || !(node.has("Min") || node.has("pMin")))
                continue;
            for (const std::uint32_t address : file.registersOf(&node)) {
                EXPECT_THAT(camera.words(address - 12, 3),
                            testing::ElementsAre(word(device.minimum(node.name)),
                                                 word(device.maximum(node.name)),
                                                 word(device.increment(node.name))))
                    << node.name;
                ++checked;
            }
        }
        EXPECT_EQ(checked, 28);
    }
}

// What can be chosen is what the register takes.
TEST_F(GenApi, EnumerationsTakeTheirAvailableEntriesAlone)
{
    std::size_t checked = 0;
    for (const char* off : {"BalanceWhiteAuto", "TlmAdaptiveToneMappingMode"}) {
        for (const DescriptionNode& node : file.nodes) {
            if (node.kind != "Enumeration" || node["Streamable"] != "Yes" ||
                !device.isAvailable(node.name))
                continue;
            const std::vector<std::string> available = device.availableEntries(node.name);
            const std::string before = device.text(node.name);
            for (const DescriptionNode& entry : node.entries) {
                const bool isTaken =
                    std::count(available.begin(), available.end(), entry.name) != 0;
                const auto choose = [&] { device.choose(node.name, entry.number("Value")); };
                EXPECT_EQ(errorOf(choose).empty(), isTaken) << entry.name;
                ++checked;
            }
            device.select(node.name, before);
        }
        device.select(off, "Off");
    }
    EXPECT_GT(checked, 100u);
}

TEST_F(GenApi, LocksAndAvailabilityFollowTheState)
{
    const auto act = [this](const std::string& feature, const std::string& value) {
        if (value.empty())
            device.execute(feature);
        else if (std::isdigit(value[0]) != 0)
            device.set(feature, std::stoi(value));
        else
            device.select(feature, value);
    };
    const std::string kSizes = "Width Height PixelFormat ";
    const std::string kTrigger = "TriggerMode TriggerSource ";
    const std::string kStarts = "DeviceRegistersStreamingStart DeviceFeaturePersistenceStart ";
    const std::string kEnds = "DeviceRegistersStreamingEnd DeviceFeaturePersistenceEnd ";
    const struct {
        std::vector<std::pair<const char*, const char*>> settings; ///< features and what they get
        std::string locked, unavailable;
    } kSteps[] = {
        // clang-format off
        {{}, "Gamma ", kEnds},
        {{{"AcquisitionStart", ""}},
         kSizes + "Gamma ExposureTime Gain BalanceRatio " + kTrigger, kStarts + kEnds},
        {{{"ExposureAuto", "Off"}, {"GainAuto", "Off"}, {"BalanceWhiteAuto", "Off"}},
         kSizes + "Gamma " + kTrigger, kStarts + kEnds},
        {{{"TlmLightSourcePreset", "Daylight5000K"}},
         kSizes + "Gamma BalanceRatio " + kTrigger, kStarts + kEnds},
        {{{"AcquisitionStop", ""}, {"TlmColorSpace", "Off"}, {"TlmAdaptiveToneMappingMode", "Off"}},
         "TlmContrast ", kEnds},
        {{{"TLParamsLocked", "1"}}, kSizes + "TlmContrast ", kStarts + kEnds},
        {{{"TLParamsLocked", "0"}, {"TriggerSource", "Software"}},
         "TlmContrast ", kEnds + "TriggerActivation "},
        {{{"TriggerSource", "PeriodicSignal1"}}, "TlmContrast ", kEnds + "TriggerActivation "},
        {{{"TriggerSource", "Line1"}, {"DeviceFeaturePersistenceStart", ""}},
         "TlmContrast TLParamsLocked ", kStarts + "AcquisitionStart AcquisitionStop "},
        {{{"DeviceFeaturePersistenceEnd", ""}}, "TlmContrast ", kEnds},
        // clang-format on
    };
    for (const auto& step : kSteps) {
        for (const auto& [feature, entry] : step.settings)
            act(feature, entry);
        std::vector<std::string> locked, unavailable;
        for (const DescriptionNode& node : file.nodes) {
            if (node.has("Visibility") && node.has("pIsLocked") && device.isLocked(node.name))
                locked.push_back(node.name);
            if (node.has("Visibility") && node.has("pIsAvailable") &&
                !device.isAvailable(node.name))
                unavailable.push_back(node.name);
        }
        SCOPED_TRACE(&step - kSteps);
        EXPECT_THAT(locked, testing::UnorderedElementsAreArray(Names(step.locked)));
        EXPECT_THAT(unavailable, testing::UnorderedElementsAreArray(Names(step.unavailable)));
    }
}

TEST_F(GenApi, SelectorsChooseRegistersWithoutAnAccess)
{
    const std::size_t before = device.accesses();
    EXPECT_EQ(device.text("TriggerSelector"), "FrameStart");
    device.select("BalanceRatioSelector", "Blue");
    EXPECT_EQ(device.accesses(), before);
    EXPECT_DOUBLE_EQ(device.number("BalanceRatio"), 6472 / 4096.0);
    device.setNumber("BalanceRatio", 3);
    EXPECT_EQ(camera.read(Reg::BalanceRatioRed), 6868u);
    EXPECT_EQ(camera.read(Reg::BalanceRatioBlue), 12288u);
    device.select("BalanceRatioSelector", "Green");
    EXPECT_DOUBLE_EQ(device.number("BalanceRatio"), 1);
}

TEST_F(GenApi, CommandsAct)
{
    device.set("Width", 1008);
    camera.journal.take();
    const std::pair<const char*, const char*> kCases[] = {
        {"TriggerSoftware", "ExecuteSoftwareTrigger 3"},
        {"TlmCenterX", "SetOffsetX 792"},
        {"AcquisitionStart", "AcquisitionStart"},
        {"AcquisitionStop", "AcquisitionStop"},
        {"DeviceReset", "DeviceReset"},
    };
    for (const auto& [command, call] : kCases) {
        device.execute(command);
        EXPECT_EQ(camera.journal.take().at(0), call);
    }
}

} // namespace
} // namespace GenTLProducer
