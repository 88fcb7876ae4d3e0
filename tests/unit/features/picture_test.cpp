// Exposure, gain, white balance and picture controls at the operations of the module.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "recording_camera.h"

namespace GenTLProducer
{
namespace
{

using testing::ElementsAre;
using testing::IsEmpty;
using Lines = std::vector<std::string>;

constexpr std::uint32_t kExposureLocked = 0x10000274;
constexpr std::uint32_t kGainLocked = 0x10000280;
constexpr std::uint32_t kContrastLocked = 0x1000028c;
constexpr std::uint32_t kRedLocked = 0x10000298;
constexpr std::uint32_t kGreenLocked = 0x100002a4;
constexpr std::uint32_t kBlueLocked = 0x100002b0;
constexpr std::uint32_t kGammaLocked = 0x100002f8;
constexpr std::uint32_t kExposureAuto = 0x100005d0;
constexpr std::uint32_t kExposureTime = 0x100005e0;
constexpr std::uint32_t kGain = 0x100005f0;
constexpr std::uint32_t kGainAuto = 0x10000674;
constexpr std::uint32_t kTestPattern = 0x100006f8;
constexpr std::uint32_t kFrameRate = 0x10000708;
constexpr std::uint32_t kFrameRateEnable = 0x10000714;
constexpr std::uint32_t kSharpness = 0x10000724;
constexpr std::uint32_t kBrightness = 0x10000734;
constexpr std::uint32_t kContrastMode = 0x100007b8;
constexpr std::uint32_t kContrast = 0x100007c8;
constexpr std::uint32_t kColorSpace = 0x1000084c;
constexpr std::uint32_t kBalanceAuto = 0x100008d0;
constexpr std::uint32_t kRed = 0x100008e0;
constexpr std::uint32_t kGreen = 0x100008f0;
constexpr std::uint32_t kBlue = 0x10000900;
constexpr std::uint32_t kToneMapping = 0x10000984;
constexpr std::uint32_t kPresetValid = 0x10000988;
constexpr std::uint32_t kPreset = 0x10000a08;
constexpr std::uint32_t kAntiFlicker = 0x10000acc;
constexpr std::uint32_t kGamma = 0x10000b70;
constexpr std::uint32_t kSaturation = 0x10000b80;

class Picture : public testing::Test
{
protected:
    void check(const std::vector<OpenRegisters::Write>& writes) { camera.check(writes); }
    void start()
    {
        camera.write32(kAcquisitionStart, 1);
        camera.journal.take();
    }
    std::vector<std::uint32_t> locks()
    {
        std::vector<std::uint32_t> words;
        for (const std::uint32_t word :
             {kExposureLocked, kGainLocked, kRedLocked, kGreenLocked, kBlueLocked})
            words.push_back(camera.read32(word));
        return words;
    }
    std::vector<std::uint32_t> ratios()
    {
        return {camera.read32(kRed), camera.read32(kGreen), camera.read32(kBlue)};
    }

    OpenRegisters camera;
};

TEST_F(Picture, EachWriteIsOneOperation)
{
    check({
        {kTestPattern, 3, 0, {"module SetTestPattern 3"}},
        {kTestPattern, 1, kRejected, {}},
        {kTestPattern, 6, kRejected, {}},
        {kFrameRateEnable, 1, 0, {"module SetAcquisitionFrameRateEnable 1"}},
        {kFrameRate, 305, 0, {"module SetAcquisitionFrameRate 30.5"}},
        {kFrameRate, 19, kRejected, {}},
        {kSharpness, 13, 0, {"module SetSharpness 0.13"}},
        {kSharpness, -1, kRejected, {}},
        {kBrightness, -100, 0, {"module SetBrightness -1"}},
        {kBrightness, 101, kRejected, {}},
        {kContrast, -33, 0, {"module SetContrast -0.33"}},
        {kContrastMode, 1, 0, {}},
        {kContrastMode, 0, kRejected, {}},
        {kSaturation, 300, 0, {"module SetSaturation 3"}},
        {kAntiFlicker, 3, 0, {"module SetAntiFlicker 3"}},
        {kAntiFlicker, 4, kRejected, {}},
        {kGain, 512, 0, {"module SetGainFactor 2"}},
        {kGain, 12801, kRejected, {}},
        {kExposureTime, 6000, 0, {"module SetExposureTime_us 6000"}},
        {kExposureTime, 42, kRejected, {}},
        {kRed, 6144, 0, {"module SetBalanceRatioRed 1.5"}},
        {kGreen, 4096, 0, {"module SetBalanceRatioGreen 1"}},
        {kBlue, 32767, 0, {"module SetBalanceRatioBlue 7.99975585938"}},
        {kBlue, 4095, kRejected, {}},
    });
}

TEST_F(Picture, GammaIsForOtherColorSpacesThanSrgb)
{
    check({
        {kGamma, 150, kProtected, {}},
        {kColorSpace, 0, 0, {"module SetColorSpace 0"}},
        {kGamma, 150, 0, {"module SetGamma 1.5"}},
        {kGamma, 12, kRejected, {}},
        {kColorSpace, 1, 0, {"module SetColorSpace 1"}},
    });
    EXPECT_EQ(camera.read32(kGamma), 150u);
    EXPECT_EQ(camera.read32(kGammaLocked), 1u);
}

TEST_F(Picture, ContrastGoesWithToneMapping)
{
    check({
        {kContrast, 50, 0, {"module SetContrast 0.5"}},
        {kToneMapping, 0, 0, {"module SetAdaptiveToneMappingAuto 0", "module SetContrast 0"}},
        {kContrast, 10, kProtected, {}},
    });
    EXPECT_EQ(camera.read32(kContrast), 0u);
    EXPECT_EQ(camera.read32(kContrastLocked), 1u);
    check({{kToneMapping, 1, 0, {"module SetAdaptiveToneMappingAuto 1"}}});
    EXPECT_EQ(camera.read32(kContrast), 0u);
    check({{kContrast, 10, 0, {"module SetContrast 0.1"}}});
}

TEST_F(Picture, AutomaticsOffAtRestSendTheManualValue)
{
    check({
        {kExposureAuto, 1, 0, {"module SetExposureAuto 1"}},
        {kExposureTime, 6000, 0, {"module SetExposureTime_us 6000"}},
        {kExposureAuto, 0, 0, {"module SetExposureAuto 0", "module SetExposureTime_us 6000"}},
        {kGainAuto, 0, 0, {"module SetGainAuto 0", "module SetGainFactor 1"}},
        {kGainAuto, 1, 0, {"module SetGainAuto 1"}},
    });
}

TEST_F(Picture, AutomaticsOffInAnAcquisitionKeepWhatTheCameraHas)
{
    start();
    EXPECT_THAT(locks(), ElementsAre(1, 1, 1, 1, 1));
    check({
        {kExposureTime, 6000, kProtected, {}},
        {kGain, 512, kProtected, {}},
        {kGreen, 8192, kProtected, {}},
        {kExposureAuto,
         0,
         0,
         {"module SetExposureAuto 0", "module GetCurrentExposureTime_us",
          "module SetExposureTime_us 7777"}},
        {kGainAuto,
         0,
         0,
         {"module SetGainAuto 0", "module GetCurrentGainFactor", "module SetGainFactor 3.5"}},
    });
    EXPECT_THAT(locks(), ElementsAre(0, 0, 1, 1, 1));
    EXPECT_EQ(camera.read32(kExposureTime), 7777u);
    EXPECT_EQ(camera.read32(kGain), 896u);
    check({{kExposureTime, 6000, 0, {"module SetExposureTime_us 6000"}}});
    camera.write32(kExposureAuto, 1);
    EXPECT_THAT(locks(), ElementsAre(1, 0, 1, 1, 1));
    camera.write32(kAcquisitionStop, 1);
    EXPECT_THAT(locks(), ElementsAre(0, 0, 0, 0, 0));
}

TEST_F(Picture, AbortReleasesTheValues)
{
    start();
    camera.write32(kAcquisitionAbort, 1);
    EXPECT_THAT(locks(), ElementsAre(0, 0, 0, 0, 0));
    check({{kGain, 512, 0, {"module SetGainFactor 2"}}});
}

TEST_F(Picture, WhatTheCameraHasIsBroughtWithinTheLimits)
{
    const struct {
        std::uint32_t exposure;
        double gain, ratio;
        std::uint32_t shownExposure, shownGain, shownRatio;
    } kCases[] = {
        {42, 0.5, 0.999, 43, 256, 4096},
        {43, 1.0, 1.99999, 43, 256, 8191},
        {1400001, 50.01, 8.5, 1400000, 12800, 32767},
    };
    for (const auto& c : kCases) {
        start();
        camera.module.currentExposure = c.exposure;
        camera.module.currentGain = c.gain;
        std::fill_n(camera.module.currentRatios, 3, c.ratio);
        camera.camera->trig_update();
        EXPECT_EQ(camera.read32(kExposureTime), c.shownExposure);
        EXPECT_EQ(camera.read32(kGain), c.shownGain);
        EXPECT_THAT(ratios(), ElementsAre(c.shownRatio, c.shownRatio, c.shownRatio));
        camera.write32(kExposureAuto, 0);
        EXPECT_EQ(camera.read32(kExposureTime), c.shownExposure);
        camera.write32(kExposureAuto, 1);
        camera.write32(kAcquisitionStop, 1);
    }
}

TEST_F(Picture, BalanceOffAtRestSendsTheRatios)
{
    const Lines kRatios = {"module SetBalanceRatioRed 1.6767578125",
                           "module SetBalanceRatioGreen 1",
                           "module SetBalanceRatioBlue 1.580078125"};
    check({{kBalanceAuto,
            0,
            0,
            {"module SetBalanceWhiteAuto 0", "module SetLightSourcePreset 0", kRatios[0],
             kRatios[1], kRatios[2]}}});
    EXPECT_THAT(camera.words(kPresetValid, 9), ElementsAre(1, 0, 1, 1, 1, 1, 1, 1, 0));
    EXPECT_EQ(camera.read32(kPreset), 0u);
    check({
        {kPreset, 3, 0, {"module SetLightSourcePreset 3"}},
        {kPreset, 1, kRejected, {}},
        {kRed, 8192, 0, {"module SetBalanceRatioRed 2"}},
    });
    // A fixed preset counts as an automatic.
    start();
    EXPECT_THAT(locks(), ElementsAre(1, 1, 1, 1, 1));
    camera.write32(kAcquisitionStop, 1);
    camera.journal.take();
    check({
        {kPreset,
         0,
         0,
         {"module SetLightSourcePreset 0", "module SetBalanceRatioRed 2", kRatios[1], kRatios[2]}},
        {kPreset, 7, 0, {"module SetLightSourcePreset 7"}},
        {kBalanceAuto, 1, 0, {"module SetBalanceWhiteAuto 1", "module SetLightSourcePreset 1"}},
        {kPreset, 0, kRejected, {}},
    });
    EXPECT_THAT(camera.words(kPresetValid, 9), ElementsAre(0, 1, 0, 0, 0, 0, 0, 0, 0));
    EXPECT_EQ(camera.read32(kPreset), 1u);
}

TEST_F(Picture, BalanceOffInAnAcquisitionKeepsWhatTheCameraHas)
{
    start();
    const Lines kTaken = {
        "module GetCurrentBalanceRatioRed",   "module SetBalanceRatioRed 1.5",
        "module GetCurrentBalanceRatioGreen", "module SetBalanceRatioGreen 1",
        "module GetCurrentBalanceRatioBlue",  "module SetBalanceRatioBlue 2.25",
    };
    const auto behind = [&kTaken](Lines calls) {
        calls.insert(calls.end(), kTaken.begin(), kTaken.end());
        return calls;
    };
    check({
        {kBalanceAuto, 0, 0,
         behind({"module SetBalanceWhiteAuto 0", "module SetLightSourcePreset 0"})},
        {kPreset, 5, 0, {"module SetLightSourcePreset 5"}},
        {kRed, 8192, kProtected, {}},
        {kPreset, 0, 0, behind({"module SetLightSourcePreset 0"})},
        {kRed, 8192, 0, {"module SetBalanceRatioRed 2"}},
    });
    EXPECT_THAT(ratios(), ElementsAre(8192, 4096, 9216));
}

TEST_F(Picture, PollBringsInWhatTheCameraHas)
{
    camera.camera->trig_update();
    EXPECT_THAT(camera.journal.take(), IsEmpty());
    start();
    camera.camera->trig_update();
    EXPECT_THAT(camera.journal.take(),
                ElementsAre("module GetCurrentExposureTime_us", "module GetCurrentGainFactor",
                            "module GetCurrentBalanceRatioRed",
                            "module GetCurrentBalanceRatioGreen",
                            "module GetCurrentBalanceRatioBlue"));
    EXPECT_EQ(camera.read32(kExposureTime), 7777u);
    EXPECT_EQ(camera.read32(kGain), 896u);
    EXPECT_THAT(ratios(), ElementsAre(6144, 4096, 9216));

    for (const std::uint32_t automatic : {kExposureAuto, kGainAuto, kBalanceAuto})
        camera.write32(automatic, 0);
    camera.journal.take();
    camera.camera->trig_update();
    EXPECT_THAT(camera.journal.take(), IsEmpty());
}

TEST_F(Picture, FailingModuleEndsTheChain)
{
    camera.journal.failing = "module SetLightSourcePreset";
    EXPECT_THROW(camera.write32(kBalanceAuto, 0), std::runtime_error);
    EXPECT_THAT(camera.journal.take(),
                ElementsAre("module SetBalanceWhiteAuto 0", "module SetLightSourcePreset 0"));
    EXPECT_EQ(camera.read32(kBalanceAuto), 0u);
    EXPECT_EQ(camera.read32(kPreset), 0u);
}

} // namespace
} // namespace GenTLProducer
