// The descriptions in the hands of an independent GenApi implementation, over a whole camera.
#include <algorithm>
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

using testing::ElementsAre;
using testing::IsEmpty;

std::string TextOf(const char* resourceName)
{
    const EmbeddedFile* file = FindEmbeddedFile(resourceName);
    return {file->data, file->size};
}

/// Lines that tell of trouble. That implementation says so of elements that it doesn't use, too.
std::string Complaints(const std::string& log)
{
    std::istringstream lines(log);
    std::string complaints;
    for (std::string line; std::getline(lines, line);) {
        if (line.find("Unknown tag (pAlias)") == std::string::npos)
            complaints += line + "\n";
    }
    return complaints;
}

TEST(Descriptions, LoadWithoutAWarning)
{
    for (const char* name :
         {"genicam.xml", "System.xml", "Interface.xml", "DeviceMCM.xml", "DataStreamMCM.xml"}) {
        SCOPED_TRACE(name);
        arv_debug_enable("all:2");
        testing::internal::CaptureStderr();
        const test::GenApiDevice device(TextOf(name), {});
        for (const DescriptionNode& node : DescriptionFile(name).nodes)
            EXPECT_TRUE(device.has(node.name)) << node.name;
        arv_debug_enable("all:0");
        EXPECT_EQ(Complaints(testing::internal::GetCapturedStderr()), "");
    }
}

class GenApi : public testing::Test
{
protected:
    GenApi() { camera.open(); }
    void stream(bool on) const
    {
        device.execute(on ? "DeviceFeaturePersistenceStart" : "DeviceFeaturePersistenceEnd");
    }

    Registers camera;
    const test::GenApiDevice device{
        TextOf("genicam.xml"),
        {[this](auto address, void* buffer, auto size) {
             return camera.read(static_cast<std::uint32_t>(address), buffer,
                                static_cast<std::uint32_t>(size)) == 0;
         },
         [this](auto address, const void* buffer, auto size) {
             return camera.root->write(static_cast<std::uint32_t>(address), buffer,
                                       static_cast<std::uint32_t>(size)) == 0;
         }}};
};

TEST_F(GenApi, ShowsTheTextsOfTheRuntime)
{
    EXPECT_EQ(device.text("DeviceFirmwareVersion"), "p=isp/s=r/v=1.2/h=abc");
    EXPECT_EQ(device.text("TlmV4lDevicePath"), "/dev/video7");
}

TEST_F(GenApi, ShowsTheDefaultsInTheirUnits)
{
    const struct {
        const char* feature;
        double value;
    } kNumbers[] = {
        {"ExposureTime", 10000},
        {"Gain", 0},
        {"AcquisitionFrameRate", 255.9},
        {"TlmSharpnessEnhancement", 0},
        {"TlmBrightness", 0},
        {"TlmContrast", 0},
        {"Gamma", 1},
        {"TlmSaturation", 1},
        {"BalanceRatio", 1.6767578125},
        {"TlmScalingFactor", 1},
        {"TlmPeriodicSignalDelay", 0},
    };
    for (const auto& c : kNumbers)
        EXPECT_DOUBLE_EQ(device.number(c.feature), c.value) << c.feature;
    const struct {
        const char* feature;
        const char* entry;
    } kEntries[] = {
        {"PixelFormat", "YUV422_8_UYVY"},
        {"PixelSize", "Bpp16"},
        {"ExposureAuto", "Continuous"},
        {"GainAuto", "Continuous"},
        {"BalanceWhiteAuto", "Continuous"},
        {"TestPattern", "Off"},
        {"TlmContrastMode", "SCurve"},
        {"TlmColorSpace", "sRgb"},
        {"TlmAdaptiveToneMappingMode", "Auto"},
        {"TlmLightSourcePreset", "Auto"},
        {"AutoFunctionProfile", "AntiFlickerAuto"},
        {"ExposureMode", "Timed"},
        {"TriggerSelector", "FrameStart"},
        {"TriggerMode", "Off"},
        {"TriggerSource", "Line1"},
        {"TriggerActivation", "LevelHigh"},
        {"TlmPeriodicSignalSource", "Line1"},
        {"TlmPeriodicSignalActivation", "RisingEdge"},
        {"DeviceTLType", "Custom"},
        {"AcquisitionMode", "Continuous"},
    };
    for (const auto& c : kEntries)
        EXPECT_EQ(device.text(c.feature), c.entry) << c.feature;
}

// The converters, from the feature's unit to the register's and back.
TEST_F(GenApi, ConvertsToTheUnitOfTheRegister)
{
    device.select("TlmColorSpace", "Off");
    const struct {
        const char* feature;
        double value;
        std::uint32_t address, raw;
    } kCases[] = {
        {"Gain", 20, 0x100005f0, 2560},
        {"Gain", 0, 0x100005f0, 256},
        {"ExposureTime", 6000, 0x100005e0, 6000},
        {"AcquisitionFrameRate", 2.5, 0x10000708, 25},
        {"TlmSharpnessEnhancement", 0.25, 0x10000724, 25},
        {"TlmBrightness", -0.5, 0x10000734, static_cast<std::uint32_t>(-50)},
        {"TlmContrast", -0.75, 0x100007c8, static_cast<std::uint32_t>(-75)},
        {"Gamma", 2.25, 0x10000b70, 225},
        {"TlmSaturation", 1.5, 0x10000b80, 150},
        {"BalanceRatio", 2.5, 0x100008e0, 10240},
        {"TlmPeriodicSignalDelay", -2, 0x10001a2c, static_cast<std::uint32_t>(-2000)},
    };
    for (const auto& c : kCases) {
        device.setNumber(c.feature, c.value);
        EXPECT_EQ(camera.read32(c.address), c.raw) << c.feature;
        EXPECT_NEAR(device.number(c.feature), c.value, 1e-9) << c.feature;
    }
}

TEST_F(GenApi, NumbersTakeTheirLimitsAndNothingBeyond)
{
    device.select("TlmColorSpace", "Off");
    device.set("Width", 1008);
    device.set("Height", 1000);
    for (const char* number :
         {"ExposureTime_Int", "Gain_Int", "AcquisitionFrameRate_Int", "TlmSharpnessEnhancement_Int",
          "TlmBrightness_Int", "TlmContrast_Int", "Gamma_Int", "TlmSaturation_Int",
          "BalanceRatio_Int", "TlmPeriodicSignalDelay_Int", "TlmPeriodicSignalPeriod_Int",
          "TlmScalingFactor_Int", "OffsetX", "OffsetY", "Width", "Height", "TLParamsLocked"}) {
        SCOPED_TRACE(number);
        const std::int64_t limits[] = {device.minimum(number), device.maximum(number)};
        const std::int64_t step = device.increment(number);
        ASSERT_GT(step, 0);
        ASSERT_LT(limits[0], limits[1]);
        for (const std::int64_t limit : limits) {
            device.set(number, limit);
            EXPECT_EQ(device.integer(number), limit);
        }
        for (const std::int64_t value : {limits[0] - step, limits[1] + step})
            EXPECT_THROW(device.set(number, value), std::runtime_error) << value;
        EXPECT_EQ(device.integer(number), limits[1]);
        device.set(number, limits[0]);
    }
}

// What can be chosen is what the register takes.
TEST_F(GenApi, EnumerationsTakeTheirAvailableEntriesAlone)
{
    const DescriptionFile file("genicam.xml");
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
                if (isTaken)
                    EXPECT_NO_THROW(device.select(node.name, entry.name)) << entry.name;
                else
                    EXPECT_THROW(
                        device.choose(node.name, static_cast<std::int64_t>(entry.number("Value"))),
                        std::runtime_error)
                        << entry.name;
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
    using Names = std::vector<std::string>;
    const Names kEnds = {"DeviceFeaturePersistenceEnd", "DeviceRegistersStreamingEnd"};
    const Names kBoth = {"DeviceFeaturePersistenceEnd", "DeviceFeaturePersistenceStart",
                         "DeviceRegistersStreamingEnd", "DeviceRegistersStreamingStart"};
    const auto expect = [this](const char* what, const Names& locked, const Names& unavailable) {
        SCOPED_TRACE(what);
        Names isLocked, isUnavailable;
        for (const DescriptionNode& node : DescriptionFile("genicam.xml").nodes) {
            if (node.has("Visibility") && node.has("pIsLocked") && device.isLocked(node.name))
                isLocked.push_back(node.name);
            if (node.has("Visibility") && node.has("pIsAvailable") &&
                !device.isAvailable(node.name))
                isUnavailable.push_back(node.name);
        }
        EXPECT_THAT(isLocked, testing::UnorderedElementsAreArray(locked));
        EXPECT_THAT(isUnavailable, testing::UnorderedElementsAreArray(unavailable));
    };
    expect("open", {"Gamma"}, kEnds);
    device.execute("AcquisitionStart");
    expect("acquiring",
           {"Gamma", "PixelFormat", "Width", "Height", "ExposureTime", "Gain", "BalanceRatio",
            "TriggerMode", "TriggerSource"},
           kBoth);
    for (const char* automatic : {"ExposureAuto", "GainAuto", "BalanceWhiteAuto"})
        device.select(automatic, "Off");
    expect("acquiring by hand",
           {"Gamma", "PixelFormat", "Width", "Height", "TriggerMode", "TriggerSource"}, kBoth);
    device.select("TlmLightSourcePreset", "Daylight5000K");
    expect(
        "acquiring with a preset",
        {"Gamma", "PixelFormat", "Width", "Height", "TriggerMode", "TriggerSource", "BalanceRatio"},
        kBoth);
    device.execute("AcquisitionStop");
    device.select("TlmColorSpace", "Off");
    device.select("TlmAdaptiveToneMappingMode", "Off");
    expect("own gamma, no tone mapping", {"TlmContrast"}, kEnds);
    device.set("TLParamsLocked", 1);
    expect("locked by the transport layer", {"TlmContrast", "PixelFormat", "Width", "Height"},
           kBoth);
    device.set("TLParamsLocked", 0);
    device.select("TriggerSource", "Software");
    expect("software trigger", {"TlmContrast"},
           {"DeviceFeaturePersistenceEnd", "DeviceRegistersStreamingEnd", "TriggerActivation"});
    device.select("TriggerSource", "PeriodicSignal1");
    expect("periodic trigger", {"TlmContrast"},
           {"DeviceFeaturePersistenceEnd", "DeviceRegistersStreamingEnd", "TriggerActivation"});
    device.select("TriggerSource", "Line1");
    stream(true);
    expect("feature streaming", {"TlmContrast", "TLParamsLocked"},
           {"DeviceFeaturePersistenceStart", "DeviceRegistersStreamingStart", "AcquisitionStart",
            "AcquisitionStop"});
    stream(false);
    expect("behind it", {"TlmContrast"}, kEnds);
}

TEST_F(GenApi, EntriesFollowTheState)
{
    EXPECT_THAT(device.availableEntries("PixelFormat"),
                ElementsAre("YUV422_8", "YUV422_8_UYVY", "YCbCr420_8_YY_CbCr_Semiplanar"));
    EXPECT_THAT(device.availableEntries("TlmLightSourcePreset"), ElementsAre("Auto"));
    EXPECT_THAT(device.availableEntries("TriggerMode"), ElementsAre("Off", "On"));
    EXPECT_THAT(device.availableEntries("TriggerSource"),
                ElementsAre("Software", "Line1", "PeriodicSignal1"));
    EXPECT_THAT(device.availableEntries("TriggerActivation"), ElementsAre("LevelHigh", "LevelLow"));
    EXPECT_THAT(device.availableEntries("TlmPeriodicSignalSource"), ElementsAre("Line1"));
    EXPECT_THAT(device.availableEntries("TlmPeriodicSignalActivation"),
                ElementsAre("RisingEdge", "FallingEdge"));
    device.select("BalanceWhiteAuto", "Off");
    EXPECT_THAT(device.availableEntries("TlmLightSourcePreset"),
                ElementsAre("Off", "Horizon2500K", "Tungsten2800K", "CoolWhiteFluorescent4250K",
                            "Daylight5000K", "Daylight6500K", "Daylight7500K"));
    device.select("TriggerSource", "Software");
    EXPECT_THAT(device.availableEntries("TriggerActivation"), IsEmpty());
}

TEST_F(GenApi, SelectorsChooseRegistersWithoutAnAccess)
{
    const std::size_t before = device.accesses();
    EXPECT_EQ(device.text("TriggerSelector"), "FrameStart");
    device.select("BalanceRatioSelector", "Blue");
    EXPECT_EQ(device.accesses(), before);
    EXPECT_DOUBLE_EQ(device.number("BalanceRatio"), 6472 / 4096.0);
    device.setNumber("BalanceRatio", 3);
    EXPECT_EQ(camera.words(0x100008e0, 1)[0], 6868u);
    EXPECT_EQ(camera.words(0x10000900, 1)[0], 12288u);
    device.select("BalanceRatioSelector", "Green");
    EXPECT_DOUBLE_EQ(device.number("BalanceRatio"), 1);
}

TEST_F(GenApi, CommandsAct)
{
    device.set("Width", 1008);
    camera.journal.take();
    const struct {
        const char* command;
        const char* call;
    } kCases[] = {
        {"TriggerSoftware", "module ExecuteSoftwareTrigger 3"},
        {"TlmCenterX", "module SetOffsetX 792"},
        {"AcquisitionStart", "module AcquisitionStart"},
        {"AcquisitionStop", "module AcquisitionStop"},
        {"DeviceReset", "module DeviceReset"},
    };
    for (const auto& c : kCases) {
        device.execute(c.command);
        EXPECT_EQ(camera.journal.take().at(0), c.call);
    }
}

} // namespace
} // namespace GenTLProducer
