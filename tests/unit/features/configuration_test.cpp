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
    Registers registers;
    registers.open();
    registers.write32(kStreamingStart, 1);
    registers.write32(kStreamingEnd, 1);
    EXPECT_EQ(registers.journal.take(), Lines(kDefaults.begin() + 1, kDefaults.end()));
}

} // namespace
} // namespace GenTLProducer
