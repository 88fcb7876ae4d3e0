// Registers of the ISP and what they do to the picture.
#include <gtest/gtest.h>

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
    for (const double value : {7.99, -4.0}) {
        camera.Write(kSharpenValue, Fixed(value, 12));
        const Picture sharp = camera.Shoot();
        EXPECT_FALSE(sharp == plain) << value;
        for (const ChartPoint& point : kChartPoints)
            ExpectColour(sharp.At(point.x, point.y), plain.At(point.x, point.y), "flat place");
    }
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

TEST(TestPattern, EachModeHasItsPicture)
{
    const struct {
        const char* what;
        std::uint16_t mode;
        int x;
        int y;
        Colour colour;
        int tolerance;
    } cases[] = {
        {"one colour", 1, 1000, 1000, {255, 128, 64}, 0},
        {"bars", 2, 162, 1000, kBars[0], 0},
        {"bars", 2, 1787, 1000, kBars[5], 0},
        {"fading bars", 3, 1787, 1944, {128, 128, 128}, 2},
        {"ramp downwards", 5, 700, 976, {127, 127, 127}, 2},
        {"grid line", 6, 502, 750, kWhite, 2},
        {"between grid lines", 6, 550, 750, kBlack, 2},
        {"white square", 7, 32, 928, kWhite, 2},
        {"black square", 7, 96, 928, kBlack, 2},
        {"ramps of colours", 10, 2500, 1900, {245, 248, 9}, 2},
        {"no such pattern", 15, 700, 976, kBlack, 2},
    };
    ShownCamera camera;
    const Picture scene = camera.Shoot();
    NeutraliseForPattern(camera);
    camera.Write(kPatternRed, 0xFF00);
    camera.Write(kPatternGreenRed, 0x8000);
    camera.Write(kPatternGreenBlue, 0x8000);
    camera.Write(kPatternBlue, 0x4000);
    for (const auto& c : cases) {
        camera.Write(kSensorSelect, static_cast<std::uint16_t>(c.mode << 8));
        ExpectColour(camera.ShootSettled().At(c.x, c.y), ToYuv(c.colour), c.what, c.tolerance);
    }
    camera.Write(kSensorSelect, 0x0A01);
    camera.Write(kAeControl, 0x028C);
    camera.Write(kAwbControl, 0x110F);
    camera.Write(kGamma, 0);
    camera.Write(kAtmControl, 1087);
    EXPECT_TRUE(camera.ShootSettled() == scene) << "a sensor is chosen again";
}

TEST(TestPattern, ShowsWhatIsNotOutOfTheWay)
{
    ShownCamera camera;
    NeutraliseForPattern(camera);
    camera.Write(kSensorSelect, 0x0400);
    const Picture neutral = camera.ShootSettled();
    for (const auto& [address, value] : {std::pair{kAeManualGain, 0x0200},
                                         {kAwbControl, 2},
                                         {kAwbCalibration, 1},
                                         {kAwbOverrideGain, 0x0200},
                                         {kGamma, 0},
                                         {kAtmControl, 1087}}) {
        const std::uint16_t before = camera.Read(address);
        camera.Write(address, static_cast<std::uint32_t>(value));
        EXPECT_FALSE(camera.ShootSettled() == neutral) << std::hex << address;
        camera.Write(address, before);
    }
    camera.Write(kAeManualExposureTime, 1);
    EXPECT_TRUE(camera.ShootSettled() == neutral) << "made behind the sensor";
}

} // namespace
} // namespace zevo_sim
