// The whole configuration of the camera: at its opening and at the end of feature streaming.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "base/pfnc.h"
#include "recording_camera.h"

namespace GenTLProducer
{
namespace
{

using Lines = std::vector<std::string>;

const Lines kDefaults = {
    "port setRegisterSpace",
    "grabber SetPixelFormat 34603039",
    "module SetPixelFormat 34603039",
    "grabber SetWidth 2592",
    "module SetWidth 2592",
    "grabber SetHeight 1944",
    "module SetHeight 1944",
    "module SetScalingFactor 1",
    "module SetOffsetX 0",
    "grabber SetOffsetX 0",
    "module SetOffsetY 0",
    "grabber SetOffsetY 0",
    "module SetExposureAuto 1",
    "module SetExposureTime_us 10000",
    "module SetGainAuto 1",
    "module SetGainFactor 1",
    "module SetTestPattern 0",
    "module SetAcquisitionFrameRateEnable 0",
    "module SetAcquisitionFrameRate 255.9",
    "module SetSharpness 0",
    "module SetAntiFlicker 1",
    "module SetBrightness 0",
    "module SetAdaptiveToneMappingAuto 1",
    "module SetContrast 0",
    "module SetColorSpace 1",
    "module SetGamma 1",
    "module SetBalanceWhiteAuto 1",
    "module SetLightSourcePreset 1",
    "module SetBalanceRatioRed 1.6767578125",
    "module SetBalanceRatioGreen 1",
    "module SetBalanceRatioBlue 1.580078125",
    "module SetSaturation 1",
    "grabber SetPayloadSize 10077696",
    "module ConfigurePeriodicSignal 0 0 0 0 0",
    "module ConfigureTrigger 3 0 0 0 3 0",
};

TEST(Configuration, OpeningSendsTheDefaultsInOrder)
{
    Registers registers;
    registers.camera->run();
    EXPECT_EQ(registers.journal.take(), kDefaults);
}

TEST(Configuration, StreamingEndSendsItAgain)
{
    OpenRegisters registers;
    registers.write32(kStreamingStart, 1);
    registers.write32(kStreamingEnd, 1);
    EXPECT_EQ(registers.journal.take(), Lines(kDefaults.begin() + 1, kDefaults.end()));
}

// Everything is written, in any order, and all of it out of bounds or against a dependency.
TEST(Configuration, StreamingEndSendsWhatWasStoredMadeValid)
{
    constexpr auto kMinusOne = static_cast<std::uint32_t>(-1);
    const struct {
        std::uint32_t value, stored, effective;
    } kWrites[] = {
        {0x10001518, 0, 0},                 // TriggerSource Software
        {0x10000da0, 1, 1},                 // TriggerMode On
        {0x10001b34, 4, 0},                 // TlmPeriodicSignalActivation
        {0x10001a2c, 2500, 2000},           // TlmPeriodicSignalDelay
        {0x10000b80, 1000, 300},            // TlmSaturation
        {0x10000b70, 1, 13},                // Gamma, locked by sRGB
        {0x1000084c, 7, 0},                 // TlmColorSpace
        {0x10000984, 0, 0},                 // TlmAdaptiveToneMappingMode Off
        {0x100007c8, 50, 0},                // TlmContrast, which goes with it
        {0x100007b8, 0, 1},                 // TlmContrastMode
        {0x10000734, kMinusOne, kMinusOne}, // TlmBrightness
        {0x10000724, kMinusOne, 0},         // TlmSharpnessEnhancement
        {0x10000acc, 9, 0},                 // AutoFunctionProfile
        {0x10000714, 5, 1},                 // AcquisitionFrameRateEnable
        {0x10000708, 0, 20},                // AcquisitionFrameRate
        {0x100006f8, 1, 0},                 // TestPattern
        {0x100008d0, 0, 0},                 // BalanceWhiteAuto Off
        {0x10000a08, 1, 0},                 // TlmLightSourcePreset Auto, which doesn't go with it
        {0x10000674, 0, 0},                 // GainAuto Off
        {0x100005d0, 2, 0},                 // ExposureAuto
        {0x10000a38, 3000, 1592},           // OffsetX
        {0x10000a18, 1007, 1000},           // Width
        {0x1000054c, Pfnc::BayerGR8, Pfnc::YUV422_8},
    };
    OpenRegisters registers;
    registers.write32(kStreamingStart, 1);
    EXPECT_EQ(registers.write32(kCenterX, 1), 0) << "sends nothing for now";
    for (const auto& write : kWrites) {
        const std::uint32_t before = registers.read32(write.value);
        EXPECT_EQ(registers.write32(write.value, write.stored), 0) << std::hex << write.value;
        EXPECT_EQ(registers.read32(write.value), before) << std::hex << write.value;
    }
    EXPECT_TRUE(registers.journal.take().empty());
    EXPECT_EQ(registers.write32(kStreamingEnd, 1), 0);
    for (const auto& write : kWrites)
        EXPECT_EQ(registers.read32(write.value), write.effective) << std::hex << write.value;
    EXPECT_EQ(registers.write32(kWidth, 97), kRejected) << "checked again";
    const Lines kSent = {"grabber SetPixelFormat 34603058",
                         "module SetPixelFormat 34603058",
                         "grabber SetWidth 1000",
                         "module SetWidth 1000",
                         "grabber SetHeight 1944",
                         "module SetHeight 1944",
                         "module SetScalingFactor 1",
                         "module SetOffsetX 1592",
                         "grabber SetOffsetX 1592",
                         "module SetOffsetY 0",
                         "grabber SetOffsetY 0",
                         "module SetExposureAuto 0",
                         "module SetExposureTime_us 10000",
                         "module SetGainAuto 0",
                         "module SetGainFactor 1",
                         "module SetTestPattern 0",
                         "module SetAcquisitionFrameRateEnable 1",
                         "module SetAcquisitionFrameRate 2",
                         "module SetSharpness 0",
                         "module SetAntiFlicker 0",
                         "module SetBrightness -0.01",
                         "module SetAdaptiveToneMappingAuto 0",
                         "module SetContrast 0",
                         "module SetColorSpace 0",
                         "module SetGamma 0.13",
                         "module SetBalanceWhiteAuto 0",
                         "module SetLightSourcePreset 0",
                         "module SetBalanceRatioRed 1.6767578125",
                         "module SetBalanceRatioGreen 1",
                         "module SetBalanceRatioBlue 1.580078125",
                         "module SetSaturation 3",
                         "grabber SetPayloadSize 3888000",
                         "module ConfigurePeriodicSignal 0 2 0 0 0",
                         "module ConfigureTrigger 3 1 1 0 3 0"};
    EXPECT_EQ(registers.journal.take(), kSent);
}

// What the camera may change shows the request at once, and is cut at the end like the rest.
TEST(Configuration, LiveValuesShowWhatWasStored)
{
    OpenRegisters registers;
    registers.write32(kStreamingStart, 1);
    const struct {
        std::uint32_t value, stored, effective;
    } kWrites[] = {
        {0x100005e0, 1, 43},      {0x100005f0, 20000, 12800}, {0x100008e0, 0, 4096},
        {0x100008f0, 5000, 5000}, {0x10000900, 40000, 32767},
    };
    for (const auto& write : kWrites) {
        EXPECT_EQ(registers.write32(write.value, write.stored), 0);
        EXPECT_EQ(registers.read32(write.value), write.stored);
    }
    EXPECT_TRUE(registers.journal.take().empty());
    registers.write32(kStreamingEnd, 1);
    for (const auto& write : kWrites)
        EXPECT_EQ(registers.read32(write.value), write.effective);
}

TEST(Configuration, FailingEndLeavesTheStreaming)
{
    OpenRegisters registers;
    registers.write32(kStreamingStart, 1);
    registers.journal.failing = "module SetGainAuto";
    EXPECT_THROW(registers.write32(kStreamingEnd, 1), std::runtime_error);
    EXPECT_EQ(registers.read32(kStreamingStartAvailable), 1u);
    EXPECT_EQ(registers.read32(kStartAvailable), 1u);
    EXPECT_EQ(registers.write32(kWidth, 97), kRejected);
    registers.journal.failing.clear();
    EXPECT_EQ(registers.write32(kAcquisitionStart, 1), 0);
}

} // namespace
} // namespace GenTLProducer
