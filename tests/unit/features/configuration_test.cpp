// The whole configuration of the camera: at its opening and at the end of feature streaming.
#include <algorithm>

#include <gtest/gtest.h>

#include "base/pfnc.h"
#include "recording_camera.h"

namespace GenTLProducer
{
namespace
{

using Lines = std::vector<std::string>;

constexpr std::uint32_t kStreamingStart = 0x10001b40;
constexpr std::uint32_t kStreamingEnd = 0x10001b4c;

const Lines kDefaults = {
    "port setRegisterSpace",
    "grabber SetPixelFormat 34603039",
    "SetPixelFormat 34603039",
    "grabber SetWidth 2592",
    "SetWidth 2592",
    "grabber SetHeight 1944",
    "SetHeight 1944",
    "SetScalingFactor 1",
    "SetOffsetX 0",
    "grabber SetOffsetX 0",
    "SetOffsetY 0",
    "grabber SetOffsetY 0",
    "SetExposureAuto 1",
    "SetExposureTime_us 10000",
    "SetGainAuto 1",
    "SetGainFactor 1",
    "SetTestPattern 0",
    "SetAcquisitionFrameRateEnable 0",
    "SetAcquisitionFrameRate 255.9",
    "SetSharpness 0",
    "SetAntiFlicker 1",
    "SetBrightness 0",
    "SetAdaptiveToneMappingAuto 1",
    "SetContrast 0",
    "SetColorSpace 1",
    "SetGamma 1",
    "SetBalanceWhiteAuto 1",
    "SetLightSourcePreset 1",
    "SetBalanceRatioRed 1.6767578125",
    "SetBalanceRatioGreen 1",
    "SetBalanceRatioBlue 1.580078125",
    "SetSaturation 1",
    "grabber SetPayloadSize 10077696",
    "ConfigurePeriodicSignal 0 0 0 0 0",
    "ConfigureTrigger 3 0 0 0 3 0",
};

using Call = std::pair<std::string, std::string>; ///< name and values

/// The defaults, as the end of the streaming sends them, but for these calls.
Lines DefaultsBut(const std::vector<Call>& replacements)
{
    Lines calls(kDefaults.begin() + 1, kDefaults.end());
    for (const auto& [name, values] : replacements) {
        for (std::string& call : calls) {
            if (call.rfind(name + " ", 0) == 0)
                call = name + " " + values;
        }
    }
    return calls;
}

TEST(Configuration, OpeningAndStreamingEndSendAllInOrder)
{
    OpenRegisters registers;
    EXPECT_EQ(registers.opening, kDefaults);
    registers.write(kStreamingStart, 1);
    registers.write(kStreamingEnd, 1);
    EXPECT_EQ(registers.journal.take(), DefaultsBut({}));
}

// Limits and values, or the valid entries, at their addresses.
TEST(Configuration, OpeningShowsLimitsAndDefaults)
{
    constexpr std::uint32_t kMinus100 = 0xFFFFFF9C;
    const std::pair<std::uint32_t, Words> kCases[] = {
        {0x10000004, {3, 255}},                           // PixelSize, PixelDynamicRangeMax
        {0x10000014, {2592, 1944}},                       // TlmScaledSensorWidth, -Height
        {0x10000058, {2592, 1944}},                       // WidthMax, HeightMax
        {0x10000264, {10077696}},                         // PayloadSize
        {0x100004cc, {0, 0, 0, 0, 0, 1, 1, 1, 0}},        // PixelFormat
        {0x100005d4, {43, 1400000, 1, 10000}},            // ExposureTime
        {0x100005e4, {256, 12800, 1, 256}},               // Gain
        {0x10000678, {1, 0, 0, 1, 1, 1, 0, 0}},           // TestPattern
        {0x100006fc, {20, 2559, 1, 2559}},                // AcquisitionFrameRate
        {0x10000718, {0, 100, 1, 0}},                     // TlmSharpnessEnhancement
        {0x10000728, {kMinus100, 100, 1, 0}},             // TlmBrightness
        {0x10000738, {0, 1, 0}},                          // TlmContrastMode
        {0x100007bc, {kMinus100, 100, 1, 0}},             // TlmContrast
        {0x100008d4, {4096, 32767, 1, 6868}},             // BalanceRatio red
        {0x100008e4, {4096, 32767, 1, 4096}},             // green
        {0x100008f4, {4096, 32767, 1, 6472}},             // blue
        {0x10000a0c, {96, 2592, 8, 2592}},                // Width
        {0x10000a1c, {104, 1944, 8, 1944}},               // Height
        {0x10000a2c, {0, 0, 8, 0}},                       // OffsetX
        {0x10000a3c, {0, 0, 8, 0}},                       // OffsetY
        {0x10000a4c, {1, 1, 1, 1, 0}},                    // AutoFunctionProfile
        {0x10000ad0, {30, 100, 1, 100}},                  // TlmScalingFactor
        {0x10000ae0, {1, 0, 0}},                          // ExposureMode
        {0x10000b64, {13, 300, 1, 100}},                  // Gamma
        {0x10000b74, {0, 300, 1, 100}},                   // TlmSaturation
        {0x10000b84, {0, 1, 1, 0}},                       // TLParamsLocked
        {0x10001a10, {1000, 1000000000, 1000, 10000000}}, // TlmPeriodicSignalPeriod
        {0x10001a20, {0xC4653600, 1000000000, 1000, 0}},  // TlmPeriodicSignalDelay
    };
    OpenRegisters registers;
    for (const auto& [address, words] : kCases)
        EXPECT_EQ(registers.words(address, words.size()), words) << std::hex << address;
}

// Everything is written, in any order, and all of it out of bounds or against a dependency. What
// the camera may change shows the request at once.
TEST(Configuration, StreamingEndSendsWhatWasStoredMadeValid)
{
    constexpr auto kMinusOne = static_cast<std::uint32_t>(-1);
    constexpr auto kMinus1000 = static_cast<std::uint32_t>(-1000);
    const struct {
        std::uint32_t value, stored, effective;
        bool isLive = false;
    } kWrites[] = {
        {0x10001518, 0, 0},                  // TriggerSource Software
        {0x10000da0, 1, 1},                  // TriggerMode On
        {0x10001b34, 4, 0},                  // TlmPeriodicSignalActivation
        {0x10001a2c, kMinusOne, kMinus1000}, // TlmPeriodicSignalDelay
        {0x10000b80, 1000, 300},             // TlmSaturation
        {0x10000b70, 1, 13},                 // Gamma, locked by sRGB
        {0x1000084c, 7, 0},                  // TlmColorSpace
        {0x10000984, 0, 0},                  // TlmAdaptiveToneMappingMode Off
        {0x100007c8, 50, 0},                 // TlmContrast, which goes with it
        {0x100007b8, 0, 1},                  // TlmContrastMode
        {0x10000734, kMinusOne, kMinusOne},  // TlmBrightness
        {0x10000724, kMinusOne, 0},          // TlmSharpnessEnhancement
        {0x10000acc, 9, 0},                  // AutoFunctionProfile
        {0x10000714, 5, 1},                  // AcquisitionFrameRateEnable
        {0x10000708, 0, 20},                 // AcquisitionFrameRate
        {0x100006f8, 32, 0},                 // TestPattern
        {0x100008d0, 0, 0},                  // BalanceWhiteAuto Off
        {0x10000a08, 1, 0},                  // TlmLightSourcePreset Auto, which doesn't go with it
        {0x100008e0, 0, 4096, true},         // BalanceRatio red
        {0x100008f0, 5000, 5000, true},      // green
        {0x10000900, 40000, 32767, true},    // blue
        {0x10000674, 0, 0},                  // GainAuto Off
        {0x100005f0, 20000, 12800, true},    // Gain
        {0x100005d0, 2, 0},                  // ExposureAuto
        {0x100005e0, 1, 43, true},           // ExposureTime
        {0x10000a38, 3000, 1592},            // OffsetX
        {0x10000a18, 1007, 1000},            // Width
        {0x1000054c, 0x12345678, Pfnc::YUV422_8},
    };
    OpenRegisters registers;
    registers.write(kStreamingStart, 1);
    EXPECT_EQ(registers.write(Reg::TlmCenterX, 1), 0) << "sends nothing for now";
    for (const auto& [value, stored, effective, isLive] : kWrites) {
        const std::uint32_t before = registers.read(value);
        EXPECT_EQ(registers.write(value, stored), 0) << std::hex << value;
        EXPECT_EQ(registers.read(value), isLive ? stored : before) << std::hex << value;
    }
    EXPECT_TRUE(registers.journal.take().empty());
    EXPECT_EQ(registers.write(kStreamingEnd, 1), 0);
    for (const auto& write : kWrites)
        EXPECT_EQ(registers.read(write.value), write.effective) << std::hex << write.value;
    EXPECT_EQ(registers.write(Reg::Width, 97), kRejected) << "checked again";
    const std::vector<Call> kChanged = {
        {"grabber SetPixelFormat", "34603058"},
        {"SetPixelFormat", "34603058"},
        {"grabber SetWidth", "1000"},
        {"SetWidth", "1000"},
        {"SetOffsetX", "1592"},
        {"grabber SetOffsetX", "1592"},
        {"SetExposureAuto", "0"},
        {"SetExposureTime_us", "43"},
        {"SetGainAuto", "0"},
        {"SetGainFactor", "50"},
        {"SetAcquisitionFrameRateEnable", "1"},
        {"SetAcquisitionFrameRate", "2"},
        {"SetAntiFlicker", "0"},
        {"SetBrightness", "-0.01"},
        {"SetAdaptiveToneMappingAuto", "0"},
        {"SetColorSpace", "0"},
        {"SetGamma", "0.13"},
        {"SetBalanceWhiteAuto", "0"},
        {"SetLightSourcePreset", "0"},
        {"SetBalanceRatioRed", "1"},
        {"SetBalanceRatioGreen", "1.220703125"},
        {"SetBalanceRatioBlue", "7.99975585938"},
        {"SetSaturation", "3"},
        {"grabber SetPayloadSize", "3888000"},
        {"ConfigurePeriodicSignal", "0 -1 0 0 0"},
        {"ConfigureTrigger", "3 1 1 0 3 0"},
    };
    EXPECT_EQ(registers.journal.take(), DefaultsBut(kChanged));
}

// What may start, end, and is locked, by how far it came.
TEST(Configuration, FailingEndStandsWhereItCame)
{
    const std::pair<const char*, Words> kCases[] = {
        // call, streaming start and end available, Gamma and TlmContrast locked
        {"grabber SetWidth", {0, 1, 1, 0}},
        {"SetGainAuto", {1, 0, 1, 0}},
        {"SetContrast", {1, 0, 1, 1}},
        {"SetSaturation", {1, 0, 0, 1}},
    };
    for (const auto& [call, words] : kCases) {
        SCOPED_TRACE(call);
        OpenRegisters registers;
        registers.write(kStreamingStart, 1);
        registers.write(Reg::TlmColorSpace, 0);
        registers.write(Reg::TlmAdaptiveToneMappingMode, 0);
        registers.journal.failing = call;
        EXPECT_THROW(registers.write(kStreamingEnd, 1), std::runtime_error);
        EXPECT_EQ(registers.read({Reg::StreamingStartAvailable, Reg::StreamingEndAvailable,
                                  Reg::GammaLocked, Reg::TlmContrastLocked}),
                  words);
        EXPECT_EQ(registers.write(Reg::Width, 97), kRejected);
        registers.journal.failing.clear();
        EXPECT_EQ(registers.write(kStreamingEnd, 1), words[1] != 0 ? 0 : kProtected);
        EXPECT_EQ(registers.write(Reg::AcquisitionStart, 1), 0);
    }
}

TEST(Configuration, ContrastIsLockedBeforeItIsReset)
{
    OpenRegisters registers;
    registers.journal.failing = "SetContrast";
    EXPECT_THROW(registers.write(Reg::TlmAdaptiveToneMappingMode, 0), std::runtime_error);
    EXPECT_EQ(registers.read(Reg::TlmContrastLocked), 1u);
}

} // namespace
} // namespace GenTLProducer
