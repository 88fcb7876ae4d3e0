// Exposure, gain and white balance at the operations of the module; what the ISP makes of them and
// of the other picture controls is in camera_on_bus_test.cpp.
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

class Picture : public testing::Test, protected OpenRegisters
{
protected:
    void start()
    {
        write(Reg::AcquisitionStart, 1);
        journal.take();
    }
    void poll() { camera->trig_update(); }
    Words locks()
    {
        return read({Reg::ExposureTimeLocked, Reg::GainLocked, Reg::BalanceRatioRedLocked,
                     Reg::BalanceRatioGreenLocked, Reg::BalanceRatioBlueLocked});
    }
    /// Exposure, gain, and the ratios red, green and blue.
    Words measured()
    {
        return read({Reg::ExposureTime, Reg::Gain, Reg::BalanceRatioRed, Reg::BalanceRatioGreen,
                     Reg::BalanceRatioBlue});
    }
};

TEST_F(Picture, AutomaticsOffAtRestSendTheManualValues)
{
    check({
        {Reg::ExposureAuto, 1, {"SetExposureAuto 1"}},
        {Reg::ExposureTime, 6000, {"SetExposureTime_us 6000"}},
        {Reg::ExposureAuto, 0, {"SetExposureAuto 0", "SetExposureTime_us 6000"}},
        {Reg::GainAuto, 0, {"SetGainAuto 0", "SetGainFactor 1"}},
        {Reg::BalanceWhiteAuto,
         0,
         {"SetBalanceWhiteAuto 0", "SetLightSourcePreset 0", "SetBalanceRatioRed 1.6767578125",
          "SetBalanceRatioGreen 1", "SetBalanceRatioBlue 1.580078125"}},
    });
}

TEST_F(Picture, AutomaticsOffInAnAcquisitionKeepWhatTheCameraHas)
{
    start();
    EXPECT_THAT(locks(), ElementsAre(1, 1, 1, 1, 1));
    check({
        {Reg::ExposureTime, 6000, kProtected},
        {Reg::Gain, 512, kProtected},
        {Reg::BalanceRatioGreen, 8192, kProtected},
        {Reg::ExposureAuto,
         0,
         {"SetExposureAuto 0", "GetCurrentExposureTime_us", "SetExposureTime_us 7777"}},
        {Reg::GainAuto, 0, {"SetGainAuto 0", "GetCurrentGainFactor", "SetGainFactor 3.5"}},
    });
    EXPECT_THAT(locks(), ElementsAre(0, 0, 1, 1, 1));
    EXPECT_THAT(read({Reg::ExposureTime, Reg::Gain}), ElementsAre(7777, 896));
    check({{Reg::ExposureTime, 6000, {"SetExposureTime_us 6000"}}});
    write(Reg::ExposureAuto, 1);
    EXPECT_THAT(locks(), ElementsAre(1, 0, 1, 1, 1));
    write(Reg::AcquisitionStop, 1);
    EXPECT_THAT(locks(), ElementsAre(0, 0, 0, 0, 0));
}

TEST_F(Picture, WhatTheCameraHasIsBroughtWithinTheLimits)
{
    const struct {
        double exposure, gain, ratio;
        std::uint32_t shownExposure, shownGain, shownRatio;
    } kCases[] = {
        {42, 0.5, 0.999, 43, 256, 4096},
        {43, 1.0, 1.99999, 43, 256, 8191},
        {1400001, 50.01, 8.5, 1400000, 12800, 32767},
    };
    for (const auto& c : kCases) {
        start();
        for (auto& [call, value] : module.current)
            value = c.ratio;
        module.current["GetCurrentExposureTime_us"] = c.exposure;
        module.current["GetCurrentGainFactor"] = c.gain;
        poll();
        EXPECT_THAT(measured(), ElementsAre(c.shownExposure, c.shownGain, c.shownRatio,
                                            c.shownRatio, c.shownRatio));
        write(Reg::ExposureAuto, 0);
        EXPECT_EQ(read(Reg::ExposureTime), c.shownExposure);
        write(Reg::ExposureAuto, 1);
        write(Reg::AcquisitionStop, 1);
    }
}

TEST_F(Picture, BalanceOffInAnAcquisitionKeepsWhatTheCameraHas)
{
    start();
    const Lines kTaken = {
        "GetCurrentBalanceRatioRed", "SetBalanceRatioRed 1.5",     "GetCurrentBalanceRatioGreen",
        "SetBalanceRatioGreen 1",    "GetCurrentBalanceRatioBlue", "SetBalanceRatioBlue 2.25",
    };
    const auto behind = [&kTaken](Lines calls) {
        calls.insert(calls.end(), kTaken.begin(), kTaken.end());
        return calls;
    };
    check({
        {Reg::BalanceWhiteAuto, 0, behind({"SetBalanceWhiteAuto 0", "SetLightSourcePreset 0"})},
        {Reg::TlmLightSourcePreset, 5, {"SetLightSourcePreset 5"}},
        {Reg::BalanceRatioRed, 8192, kProtected},
        {Reg::TlmLightSourcePreset, 0, behind({"SetLightSourcePreset 0"})},
        {Reg::BalanceRatioRed, 8192, {"SetBalanceRatioRed 2"}},
    });
    EXPECT_THAT(measured(), ElementsAre(10000, 256, 8192, 4096, 9216));
}

TEST_F(Picture, PollBringsInWhatTheCameraHas)
{
    poll();
    EXPECT_THAT(journal.take(), IsEmpty());
    start();
    poll();
    EXPECT_THAT(journal.take(),
                ElementsAre("GetCurrentExposureTime_us", "GetCurrentGainFactor",
                            "GetCurrentBalanceRatioRed", "GetCurrentBalanceRatioGreen",
                            "GetCurrentBalanceRatioBlue"));
    EXPECT_THAT(measured(), ElementsAre(7777, 896, 6144, 4096, 9216));

    for (const Reg automatic : {Reg::ExposureAuto, Reg::GainAuto, Reg::BalanceWhiteAuto})
        write(automatic, 0);
    journal.take();
    poll();
    EXPECT_THAT(journal.take(), IsEmpty());
}

} // namespace
} // namespace GenTLProducer
