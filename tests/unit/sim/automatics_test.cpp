// Exposure and white balance of the ISP: manual values, automatics, and what they report.
#include <gtest/gtest.h>

#include "shown_camera.h"

namespace zevo_sim
{
namespace
{

using namespace isp;

std::uint32_t ExposureTime(DrivenCamera& camera)
{
    return std::uint32_t{camera.Read(kAeExposureTime)} << 16 | camera.Read(kAeExposureTime + 2);
}

void SetManual(DrivenCamera& camera, std::uint32_t timeUs, double gain)
{
    camera.Write(kAeControl, 0x0280);
    camera.Write(kAeManualExposureTime, timeUs, 4);
    camera.Write(kAeManualGain, Fixed(gain, 8));
}

TEST(AutoExposure, IsSettledWhenTheStreamStarts)
{
    ShownCamera camera;
    const Picture first = camera.Shoot();
    EXPECT_EQ(first.At(250, 200).y, ToYuv(kWhite).y);
    EXPECT_TRUE(camera.ShootSettled() == first);
    SetManual(camera, 100, 1.0);
    EXPECT_FALSE(camera.ShootSettled() == first);
    camera.ToggleStallAndWait();
    camera.Write(kAeControl, 0x028C);
    camera.ToggleStall();
    EXPECT_TRUE(camera.Shoot() == first);
}

TEST(Exposure, ManualValuesComeWithTheSecondFrameAndTheAutomaticFrameByFrame)
{
    ShownCamera camera;
    const Picture plain = camera.Shoot();
    SetManual(camera, 500, 1.0);
    EXPECT_EQ(ExposureTime(camera), 16'000u) << "what the automatic has left can still be read";
    EXPECT_TRUE(camera.Shoot() == plain);
    EXPECT_EQ(ExposureTime(camera), 16'000u);
    EXPECT_FALSE(camera.Shoot() == plain);
    EXPECT_EQ(ExposureTime(camera), 500u);

    camera.Write(kAeControl, 0x028C);
    camera->SendFrame();
    int frames = 0;
    for (std::uint32_t time = 500; time != 16'000 && frames < 30; ++frames) {
        camera->SendFrame();
        EXPECT_GT(ExposureTime(camera), time);
        time = ExposureTime(camera);
    }
    EXPECT_GE(frames, 5);
    EXPECT_LT(frames, 15);
}

TEST(AutoExposure, MakesUpForTheManualPart)
{
    const struct {
        std::uint16_t mode;
        std::uint32_t manualUs;
        double manualGain;
        std::uint32_t timeUs;
        double gain;
        bool isPlain;
    } cases[] = {{9, 12'000, 8.0, 12'000, 2.0, true}, {9, 100'000, 8.0, 100'000, 1.0, false},
                 {9, 100, 8.0, 100, 50.0, false},     {10, 1'000, 4.0, 6'000, 4.0, true},
                 {12, 1'000, 8.0, 16'000, 1.5, true}, {0, 12'000, 2.0, 12'000, 2.0, true}};
    ShownCamera camera;
    const Picture plain = camera.Shoot();
    for (const auto& c : cases) {
        SetManual(camera, c.manualUs, c.manualGain);
        camera.Write(kAeControl, 0x0280 | c.mode);
        EXPECT_EQ(camera.ShootSettled() == plain, c.isPlain) << c.mode << " " << c.manualUs;
        EXPECT_EQ(ExposureTime(camera), c.timeUs) << c.mode;
        EXPECT_EQ(camera.Read(kAeGain), Fixed(c.gain, 8)) << c.mode;
    }
}

TEST(AutoExposure, HeedsFrameRateAndMains)
{
    const struct {
        std::uint16_t maxFps;
        std::uint16_t flicker;
        std::uint32_t timeUs;
        double rate;
    } cases[] = {{0xFFE6, 0, 8'333, 120},       // by the region
                 {100 << 8, 0, 10'000, 100},    //
                 {0x0C80, 0, 16'000, 12.5},     //
                 {30 << 8, 0x3201, 10'000, 30}, // 50 Hz
                 {30 << 8, 0x3C01, 8'333, 30},  // 60 Hz
                 {30 << 8, 0x3C02, 16'000, 30}, // nothing told
                 {0xFFE6, 0x3201, 8'333, 120}}; // too fast for the mains
    ShownCamera camera;
    camera.Write(kPreviewRoiY1, 0x1000);
    for (const auto& c : cases) {
        camera.Write(kPreviewMaxFps, c.maxFps);
        camera.Write(kFlickControl, c.flicker);
        camera.ShootSettled();
        EXPECT_EQ(ExposureTime(camera), c.timeUs);
        EXPECT_NEAR(camera.Read(kAeGain) * c.timeUs / 256.0, 24'000, 30);
        EXPECT_NEAR(camera->FrameRate(), c.rate, 0.01);
    }
    camera.Write(kPreviewRoiY1, 0x4000);
    EXPECT_NEAR(camera->FrameRate(), 30, 0.01) << "the whole sensor";
    SetManual(camera, 100'000, 1.0);
    camera.ShootSettled();
    EXPECT_NEAR(camera->FrameRate(), 10, 0.01) << "a long exposure";
}

TEST(WhiteBalance, EachPresetFitsItsLight)
{
    const double temperatures[] = {2500, 2800, 4250, 5000, 6500, 7500};
    for (unsigned mode = 1; mode <= std::size(temperatures); ++mode) {
        CameraOptions options;
        options.light.temperature = temperatures[mode - 1];
        ShownCamera camera(options);
        const Picture automatic = camera.Shoot();
        ExpectColour(automatic.At(1525, 500), ToYuv({153, 153, 153}), "grey", 1);
        camera.Write(kAwbControl, 0x1100 | mode);
        EXPECT_TRUE(camera.ShootSettled() == automatic) << mode;
        camera.Write(kAwbControl, 0x1100 | (mode % 6 + 1));
        EXPECT_FALSE(camera.ShootSettled() == automatic) << mode;
    }
    ShownCamera camera;
    camera.Write(kAwbControl, 0x1100);
    const Yuv grey = camera.ShootSettled().At(1525, 500);
    EXPECT_TRUE(grey.cb < 126 && grey.cr < 126) << "nothing set: the sensor is green";
}

TEST(Light, IsMadeUpForByTheAutomatics)
{
    const Picture plain = ShownCamera().Shoot();
    CameraOptions options;
    options.light = {0.25, 2800};
    ShownCamera camera(options);
    EXPECT_TRUE(camera.Shoot() == plain);
    EXPECT_EQ(ExposureTime(camera), 33'333u) << "no longer than a frame";
    EXPECT_NEAR(camera.Read(kAeGain) / 256.0, 2.88, 0.01);
}

} // namespace
} // namespace zevo_sim
