// The camera's features as they show in a consumer's frames.
#include <cmath>
#include <functional>
#include <vector>

#include <gtest/gtest.h>

#include "frame_number.h"
#include "sim/core/colour_stage.h"
#include "sim/core/scene.h"

namespace
{

using zevo_sim::FrameLayout;

constexpr uint64_t kExposureAuto = 0x100005d0;
constexpr uint64_t kExposureTime = 0x100005e0;
constexpr uint64_t kGain = 0x100005f0;
constexpr uint64_t kGainAuto = 0x10000674;
constexpr uint64_t kTestPattern = 0x100006f8;
constexpr uint64_t kFrameRate = 0x10000708;
constexpr uint64_t kFrameRateEnable = 0x10000714;
constexpr uint64_t kSharpness = 0x10000724;
constexpr uint64_t kBrightness = 0x10000734;
constexpr uint64_t kContrast = 0x100007c8;
constexpr uint64_t kColorSpace = 0x1000084c;
constexpr uint64_t kBalanceWhiteAuto = 0x100008d0;
constexpr uint64_t kBalanceRatioRed = 0x100008e0;
constexpr uint64_t kBalanceRatioBlue = 0x10000900;
constexpr uint64_t kToneMapping = 0x10000984;
constexpr uint64_t kLightSource = 0x10000a08;
constexpr uint64_t kGamma = 0x10000b70;
constexpr uint64_t kSaturation = 0x10000b80;
constexpr uint64_t kTriggerMode = 0x10000da0;
constexpr uint64_t kTriggerSource = 0x10001518;
constexpr uint64_t kTriggerSoftware = 0x10001bc8;

constexpr unsigned kWidth = 1296;
constexpr unsigned kHeight = 976;

struct Picture {
    double mean = 0;                 ///< of the luma
    double spread = 0;               ///< of the luma, around its mean
    double edges = 0;                ///< luma steps from pixel to pixel
    double chroma = 0;               ///< colour differences off grey
    zevo_sim::Yuv grey{};            ///< a grey place
    std::vector<zevo_sim::Yuv> bars; ///< of the chart, or what stands in their place
};

/// What is measured leaves out the frame number at the top.
Picture measure(const uint8_t* data, FrameLayout layout)
{
    const auto at = [&](unsigned x, unsigned y) {
        const std::size_t blue = BlueOffset(layout, kWidth, kHeight, x, y);
        return zevo_sim::Yuv{data[LumaOffset(layout, kWidth, x, y)], data[blue],
                             data[blue + RedOffset(layout)]};
    };
    Picture picture;
    double squares = 0;
    for (unsigned y = 64; y < kHeight - 64; y += 2) {
        for (unsigned x = 0; x < kWidth; x += 2) {
            const zevo_sim::Yuv pixel = at(x, y);
            picture.mean += pixel.y;
            squares += double{1} * pixel.y * pixel.y;
            picture.edges += std::abs(at(x + 1, y).y - pixel.y);
            picture.chroma += std::abs(pixel.cb - 128) + std::abs(pixel.cr - 128);
        }
    }
    constexpr double kCount = kWidth / 2 * ((kHeight - 128) / 2);
    for (double* sum : {&picture.mean, &squares, &picture.edges, &picture.chroma})
        *sum /= kCount;
    picture.spread = std::sqrt(squares - picture.mean * picture.mean);
    picture.grey = at(1200, 500);
    for (const zevo_sim::ChartPoint& point : zevo_sim::kChartPoints)
        if (point.x < static_cast<int>(kWidth))
            picture.bars.push_back(
                at(static_cast<unsigned>(point.x), static_cast<unsigned>(point.y)));
    return picture;
}

bool isNear(const zevo_sim::Yuv& a, const zevo_sim::Yuv& b, int most)
{
    return std::abs(a.y - b.y) <= most && std::abs(a.cb - b.cb) <= most &&
           std::abs(a.cr - b.cr) <= most;
}

bool isAbout(double value, double expected, double part = 0.002)
{
    return std::abs(value - expected) <= expected * part;
}

/// A stream of the sensor's upper left quarter.
class Shooting : public Streaming
{
public:
    Shooting() : Streaming(kWidth, kHeight)
    {
        EXPECT_EQ(write(remote::kOffsetX, 0), GC_ERR_SUCCESS);
        EXPECT_EQ(write(remote::kOffsetY, 0), GC_ERR_SUCCESS);
    }

    Picture shoot()
    {
        if (isTriggered) {
            EXPECT_EQ(write(kTriggerSoftware, 1), GC_ERR_SUCCESS);
        }
        const BUFFER_HANDLE buffer = take();
        EXPECT_TRUE(buffer) << lastError();
        if (!buffer)
            return {};
        Picture picture = measure(data(buffer), layout_);
        number = numberIn(*this, buffer).value_or(0);
        timestampNs = info(buffer, BUFFER_INFO_TIMESTAMP);
        giveBack(buffer);
        return picture;
    }

    /// Frames on their way still show the old settings, and automatics need some.
    bool becomes(const std::function<bool(const Picture&)>& isRight, int frames = 150)
    {
        for (int frame = 0; frame < frames; ++frame)
            if (isRight(shoot()))
                return true;
        return false;
    }

    bool becomesLike(const Picture& plain)
    {
        return becomes([&](const Picture& picture) {
            return picture.mean == plain.mean && picture.chroma == plain.chroma;
        });
    }

    /// What the camera tells is polled, and seldom.
    bool comesToTell(uint64_t address, double value)
    {
        return becomes([&](const Picture&) { return isAbout(read(address), value); }, 3000);
    }

    bool isTriggered = false; ///< each frame is asked for
    uint64_t number = 0;
    uint64_t timestampNs = 0;

private:
    const FrameLayout layout_ = layoutOf(read(remote::kPixelFormat));
};

struct Setting {
    uint64_t address;
    int value;
};
using Settings = std::vector<Setting>;

/// Gives back how to undo it.
Settings set(const OpenDevice& camera, const Settings& settings)
{
    Settings before;
    for (const auto& [address, value] : settings) {
        before.insert(before.begin(), {address, static_cast<int>(camera.read(address))});
        EXPECT_EQ(camera.write(address, static_cast<uint32_t>(value)), GC_ERR_SUCCESS)
            << std::hex << address << " " << lastError();
    }
    return before;
}

} // namespace

TEST(Controls, ADefaultCameraShowsTheChartAsItIs)
{
    Shooting camera;
    camera.start(4);
    for (int frame = 0; frame < 10; ++frame) {
        const Picture picture = camera.shoot();
        ASSERT_GE(picture.bars.size(), 4U);
        for (std::size_t i = 0; i < picture.bars.size(); ++i)
            EXPECT_TRUE(isNear(picture.bars[i], zevo_sim::ToYuv(zevo_sim::kBars[i]), 0)) << i;
    }
    camera.stop();
}

TEST(Controls, ImageProcessingShowsInThePictureAndGoesAway)
{
    const struct {
        const char* what;
        Settings settings;
        double Picture::*measure;
        double least; ///< parts of what the plain picture measures
        double most;
    } cases[] = {
        {"brighter", {{kBrightness, 50}}, &Picture::mean, 1.3, 2.5},
        {"darker", {{kBrightness, -50}}, &Picture::mean, 0.1, 0.7},
        {"contrast", {{kContrast, 100}}, &Picture::spread, 1.1, 2.0},
        {"less contrast", {{kContrast, -100}}, &Picture::spread, 0.3, 0.6},
        {"grey", {{kSaturation, 0}}, &Picture::chroma, 0, 0.001},
        {"colourful", {{kSaturation, 200}}, &Picture::chroma, 1.2, 2.0},
        {"sharp", {{kSharpness, 100}}, &Picture::edges, 1.3, 9.0},
        {"linear", {{kColorSpace, 0}}, &Picture::mean, 0.2, 0.9},
        {"gamma 2.2", {{kColorSpace, 0}, {kGamma, 220}}, &Picture::mean, 0.97, 1.03},
        {"gamma 3", {{kColorSpace, 0}, {kGamma, 300}}, &Picture::mean, 1.1, 1.6},
        {"tone mapping", {{kToneMapping, 0}}, &Picture::mean, 0.6, 0.95},
    };
    Shooting camera;
    camera.start(4);
    const Picture plain = camera.shoot();
    for (const auto& c : cases) {
        const Settings back = set(camera, c.settings);
        EXPECT_TRUE(camera.becomes([&](const Picture& picture) {
            const double part = picture.*c.measure / (plain.*c.measure);
            return part >= c.least && part <= c.most;
        })) << c.what;
        set(camera, back);
        EXPECT_TRUE(camera.becomes([&](const Picture& picture) {
            return picture.*c.measure == plain.*c.measure && picture.mean == plain.mean;
        })) << c.what;
    }
    camera.stop();
}

/// With frames on demand, since what the automatic has left can be read until the next but one.
TEST(Controls, ExposureAndGainActOnceTheirAutomaticsAreOff)
{
    Shooting camera;
    set(camera, {{kTriggerSource, 0}, {kTriggerMode, 1}});
    camera.isTriggered = true;
    camera.start(4);
    const Picture plain = camera.shoot();
    set(camera, {{kExposureAuto, 0}, {kGainAuto, 0}});
    EXPECT_EQ(camera.read(kExposureTime), 16'000U) << "what the automatic had settled on";
    EXPECT_EQ(camera.read(kGain), 384U);
    EXPECT_EQ(camera.shoot().mean, plain.mean) << "no jump";

    set(camera, {{kExposureTime, 4'000}});
    const double dark = camera.shoot().mean;
    EXPECT_LT(dark, plain.mean * 0.7);
    set(camera, {{kGain, 768}});
    EXPECT_GT(camera.shoot().mean, dark * 1.2);

    set(camera, {{kGainAuto, 1}});
    EXPECT_TRUE(camera.becomesLike(plain));
    EXPECT_TRUE(camera.comesToTell(kGain, 1536));
    camera.stop();
}

TEST(Controls, WhiteBalanceTintsAndSettles)
{
    Shooting camera;
    camera.start(4);
    const Picture plain = camera.shoot();
    EXPECT_NEAR(plain.grey.cr, 128, 1);
    set(camera, {{kBalanceWhiteAuto, 0}});
    // Those on their way, one of which the camera may have made between two of the registers.
    for (int frame = 0; frame < 10; ++frame)
        camera.shoot();
    for (int frame = 0; frame < 10; ++frame)
        EXPECT_TRUE(isAbout(camera.shoot().mean, plain.mean, 0.003)) << "the automatic's gains";
    set(camera, {{kBalanceRatioRed, 4 * 4096}});
    EXPECT_TRUE(camera.becomes([](const Picture& picture) { return picture.grey.cr > 140; }));
    set(camera, {{kBalanceRatioRed, 6868}, {kBalanceRatioBlue, 4 * 4096}});
    EXPECT_TRUE(camera.becomes([](const Picture& picture) { return picture.grey.cb > 140; }));
    set(camera, {{kLightSource, 2}}); // 2500 K, where the light is 5000 K
    EXPECT_TRUE(camera.becomes(
        [](const Picture& picture) { return picture.grey.cb > 133 && picture.grey.cr < 123; }));
    EXPECT_TRUE(camera.comesToTell(kBalanceRatioBlue, 2.890625 * 4096));
    set(camera, {{kBalanceWhiteAuto, 1}});
    EXPECT_TRUE(camera.becomesLike(plain));
    EXPECT_TRUE(camera.comesToTell(kBalanceRatioRed, 6868));
    EXPECT_TRUE(camera.comesToTell(kBalanceRatioBlue, 6472));
    camera.stop();
}

TEST(Controls, TestPatternsReplaceTheSceneAndGiveItBack)
{
    Shooting camera;
    camera.start(4);
    const Picture plain = camera.shoot();
    // Column of the sensor, 250, on the patterns: white fading to grey, a dark ramp, blue.
    const struct {
        int pattern;
        zevo_sim::Colour left;
    } cases[] = {{3, {242, 242, 242}}, {4, {24, 24, 24}}, {5, {24, 26, 230}}};
    for (const auto& c : cases) {
        set(camera, {{kTestPattern, c.pattern}});
        const zevo_sim::Yuv expected = zevo_sim::ToYuv(c.left);
        EXPECT_TRUE(camera.becomes([&](const Picture& picture) {
            return isNear(picture.bars.at(0), expected, 2);
        })) << c.pattern;
    }
    set(camera, {{kTestPattern, 0}});
    EXPECT_TRUE(camera.becomesLike(plain));
    camera.stop();
}

/// The board never sends frames faster than it is told, but for a short lag that it makes up for.
TEST(Controls, FrameRateAndLongExposuresSlowTheStreamDown)
{
    const Settings cases[] = {{{kFrameRate, 100}, {kFrameRateEnable, 1}},
                              {{kExposureAuto, 0}, {kExposureTime, 100'000}}};
    for (const auto& settings : cases) {
        Shooting camera;
        set(camera, settings);
        camera.start(4);
        camera.shoot();
        const uint64_t first = camera.timestampNs;
        const uint64_t firstNumber = camera.number;
        for (int frame = 0; frame < 8; ++frame)
            camera.shoot();
        EXPECT_GE(camera.timestampNs - first,
                  (camera.number - firstNumber - 4) * uint64_t{100'000'000});
        camera.stop();
    }
}

TEST(Controls, ASoftwareTriggerGivesOneFrame)
{
    constexpr uint64_t kShortMs = 150;
    Shooting camera;
    set(camera, {{kTriggerSource, 0}, {kTriggerMode, 1}});
    camera.start(4);
    EXPECT_FALSE(camera.take(kShortMs));
    uint64_t number = 0;
    camera.isTriggered = true;
    for (int trigger = 0; trigger < 4; ++trigger) {
        camera.shoot();
        if (trigger > 0) {
            EXPECT_EQ(camera.number, number + 1);
        }
        number = camera.number;
    }
    EXPECT_FALSE(camera.take(kShortMs));
    camera.stop();

    camera.isTriggered = false;
    set(camera, {{kTriggerSource, 1}});
    camera.start(4);
    EXPECT_FALSE(camera.take(kShortMs)) << "nothing is connected to the line";
    camera.stop();

    for (const auto& settings : {Settings{{kTriggerSource, 2}}, Settings{{kTriggerMode, 0}}}) {
        set(camera, settings);
        camera.start(4);
        for (int frame = 0; frame < 5; ++frame)
            camera.shoot();
        camera.stop();
    }
}
