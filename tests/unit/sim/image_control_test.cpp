// Registers of the ISP and what they do to the picture.
#include <gtest/gtest.h>

#include <string>

#include "shown_camera.h"

namespace zevo_sim
{
namespace
{

using namespace isp;

TEST(ImageControls, HaveTheirFormatsFigures)
{
    ShownCamera camera;
    camera.Write(kBrightness, 0x1000); // 1.0: half of the range
    const Yuv black = camera.Shoot().At(2350, 200);
    EXPECT_NEAR(black.y, ToYuv({128, 128, 128}).y, 1);
    camera.Write(kBrightness, 0);

    camera.Write(kSaturation, 0x2000); // 2.0
    const Yuv red = camera.Shoot().At(1750, 200);
    EXPECT_NEAR(red.cb - 128, 2 * (ToYuv({255, 0, 0}).cb - 128), 1);
    EXPECT_EQ(red.cr, 240) << "as far as it goes";
    camera.Write(kSaturation, 0x1000);

    // A grey step of the chart, 153, in linear light behind the tone mapping: 0.319.
    camera.Write(kGamma, 0x1000);
    EXPECT_NEAR(camera.Shoot().At(1525, 500).y, ToYuv({81, 81, 81}).y, 1);
}

TEST(ImageControls, SharpeningKeepsFlatPlacesAndColours)
{
    ShownCamera camera;
    const Picture plain = camera.Shoot();
    camera.Write(kSharpenValue, Fixed(7.99, 12));
    const Picture sharp = camera.Shoot();
    for (const ChartPoint& point : kChartPoints) {
        EXPECT_EQ(sharp.At(point.x, point.y).y, plain.At(point.x, point.y).y) << point.x;
        EXPECT_EQ(sharp.At(point.x, point.y).cr, plain.At(point.x, point.y).cr) << point.x;
    }
    camera.Write(kSharpenValue, Fixed(-4, 12));
    EXPECT_LT(camera.Shoot().Edges(), plain.Edges() * 0.8) << "softer";
}

/// As a pattern is switched on: everything that would change it out of the way.
void NeutraliseForPattern(ShownCamera& camera)
{
    camera.Write(kAeControl, 0x0280);
    camera.Write(kAeManualGain, 0x0100);
    camera.Write(kAwbControl, 0);
    camera.Write(kAwbCalibration, 0);
    camera.Write(kAwbManualQy, 0x5000);
    camera.Write(kGamma, 0x1000);
    camera.Write(kAtmControl, 0);
}

void ExpectGrey(const Yuv& pixel, int level, const std::string& what)
{
    EXPECT_NEAR(pixel.y,
                ToYuv({static_cast<std::uint8_t>(level), static_cast<std::uint8_t>(level),
                       static_cast<std::uint8_t>(level)})
                    .y,
                2)
        << what;
    EXPECT_NEAR(pixel.cb, 128, 1) << what;
    EXPECT_NEAR(pixel.cr, 128, 1) << what;
}

TEST(TestPattern, EachModeHasItsPicture)
{
    ShownCamera camera;
    const Picture scene = camera.Shoot();
    NeutraliseForPattern(camera);
    const auto show = [&](unsigned mode) {
        camera.Write(kSensorSelect, mode << 8);
        return camera.ShootSettled();
    };
    const Picture bars = show(2);
    for (std::size_t i = 0; i < std::size(kBars); ++i) {
        const Yuv expected = ToYuv(kBars[i]);
        const Yuv pixel = bars.At(162 + static_cast<int>(i) * 325, 1000);
        EXPECT_EQ(pixel.y, expected.y) << i;
        EXPECT_EQ(pixel.cb, expected.cb) << i;
        EXPECT_EQ(pixel.cr, expected.cr) << i;
    }
    const Picture fading = show(3);
    EXPECT_NEAR(fading.At(1787, 100).cr, ToYuv({248, 6, 6}).cr, 2);
    ExpectGrey(fading.At(1787, 1944), 128, "fades to grey");
    ExpectGrey(show(4).At(1300, 700), 127, "ramp to the right");
    ExpectGrey(show(5).At(700, 976), 127, "ramp downwards");
    ExpectGrey(show(6).At(502, 750), 255, "grid line");
    ExpectGrey(show(6).At(550, 750), 0, "between grid lines");
    ExpectGrey(show(7).At(32, 928), 255, "white square");
    ExpectGrey(show(7).At(96, 928), 0, "black square");
    EXPECT_GT(show(8).Edges(), 30) << "noise";
    EXPECT_NEAR(show(10).At(2500, 1900).cb, ToYuv({245, 248, 9}).cb, 2);
    ExpectGrey(show(15).At(700, 976), 0, "no such pattern");

    camera.Write(kSensorSelect, 0x0A01);
    camera.Write(kAeControl, 0x028C);
    camera.Write(kAwbControl, 0x110F);
    camera.Write(kGamma, 0);
    camera.Write(kAtmControl, 1087);
    EXPECT_TRUE(camera.ShootSettled() == scene) << "a sensor is chosen again";
}

TEST(TestPattern, OneColourComesFromItsRegisters)
{
    ShownCamera camera;
    NeutraliseForPattern(camera);
    camera.Write(kPatternRed, 0xFF00);
    camera.Write(kPatternGreenRed, 0x8000);
    camera.Write(kPatternGreenBlue, 0x8000);
    camera.Write(kPatternBlue, 0x4000);
    camera.Write(kSensorSelect, 0x0100);
    const Yuv pixel = camera.ShootSettled().At(1000, 1000);
    const Yuv expected = ToYuv({255, 128, 64});
    EXPECT_EQ(pixel.y, expected.y);
    EXPECT_EQ(pixel.cb, expected.cb);
    EXPECT_EQ(pixel.cr, expected.cr);
}

TEST(TestPattern, ShowsWhatIsNotOutOfTheWay)
{
    const struct {
        const char* what;
        std::uint16_t address;
        std::uint16_t value;
        bool isChanged;
    } cases[] = {
        {"exposure time", kAeManualExposureTime, 0x0001, false},
        {"gain", kAeManualGain, 0x0200, true},
        {"white balance", kAwbControl, 2, true},
        {"manual chromaticity", kAwbCalibration, 1, true},
        {"override gain", kAwbOverrideGain, 0x0200, true},
        {"sRGB curve", kGamma, 0, true},
        {"tone mapping", kAtmControl, 1087, true},
    };
    for (const auto& c : cases) {
        ShownCamera camera;
        NeutraliseForPattern(camera);
        camera.Write(kSensorSelect, 0x0400);
        const Picture neutral = camera.ShootSettled();
        camera.Write(c.address, c.value);
        EXPECT_EQ(!(camera.ShootSettled() == neutral), c.isChanged) << c.what;
    }
}

} // namespace
} // namespace zevo_sim
