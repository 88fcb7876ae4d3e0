#include <cmath>
#include <string>

#include "pixels.h"
#include "sim/core/frame_counter.h"
#include "sim/core/renderer.h"

namespace zevo_sim
{
namespace
{

const Scene& Chart()
{
    static const Scene scene = Scene::TestChart();
    return scene;
}

std::int16_t Share(double pixels, unsigned sensor)
{
    return static_cast<std::int16_t>(std::lround(pixels / sensor * 16384));
}

/// A region of the sensor as the camera module programs it.
PictureSetup Region(unsigned width, unsigned height, double x, double y, double scale)
{
    PictureSetup setup;
    setup.width = static_cast<std::uint16_t>(width);
    setup.height = static_cast<std::uint16_t>(height);
    setup.outputFormat = static_cast<std::uint16_t>(OutputFormat::Yuv422);
    setup.roiX0 = Share(x, kSensorPixelsX);
    setup.roiY0 = Share(y, kSensorPixelsY);
    setup.roiX1 = Share(x + width * scale, kSensorPixelsX);
    setup.roiY1 = Share(y + height * scale, kSensorPixelsY);
    return setup;
}

constexpr FrameLayout kNodeLayouts[] = {FrameLayout::Uyvy, FrameLayout::Yuyv,
                                        FrameLayout::LineInterleaved420};

TEST(Colour, IsBt601WithLimitedRange)
{
    struct {
        Colour colour;
        Yuv yuv;
    } cases[] = {{kWhite, {235, 128, 128}},     {kBlack, {16, 128, 128}},
                 {{255, 0, 0}, {82, 90, 240}},  {{0, 255, 0}, {145, 54, 34}},
                 {{0, 0, 255}, {41, 240, 110}}, {{128, 128, 128}, {126, 128, 128}}};
    for (const auto& c : cases)
        ExpectColour(ToYuv(c.colour), c.yuv, "", 1);
}

TEST(Renderer, ScenePointsLandWhereTheRegionSays)
{
    struct {
        unsigned width, height;
        double x, y, scale;
    } cases[] = {{2592, 1944, 0, 0, 1.0},  {2592, 1944, 8, 8, 1.0},    {1008, 1000, 96, 80, 1.0},
                 {1296, 972, 0, 0, 2.0},   {1008, 1000, 48, 120, 0.5}, {648, 486, 0, 0, 4.0},
                 {96, 104, 1720, 160, 1.0}};
    for (const auto& c : cases) {
        const PictureSetup setup = Region(c.width, c.height, c.x, c.y, c.scale);
        for (const FrameLayout layout : kNodeLayouts) {
            const auto frame = Render(Chart(), setup, layout);
            ASSERT_EQ(frame.size(), FrameSize(layout, c.width, c.height));
            int seen = 0;
            for (const ChartPoint& point : kChartPoints) {
                const double x = (point.x - c.x) / c.scale;
                const double y = (point.y - c.y) / c.scale;
                if (x < 2 || y < 2 || x >= c.width - 2 || y >= c.height - 2)
                    continue;
                ++seen;
                const auto column = static_cast<unsigned>(x);
                const auto row = static_cast<unsigned>(y);
                ExpectColour(PixelAt(frame, layout, c.width, c.height, column, row),
                             ToYuv(point.colour),
                             std::to_string(c.width) + " point " + std::to_string(point.x));
            }
            EXPECT_GT(seen, 0);
        }
    }
}

TEST(Renderer, UnscaledRegionIsExactToThePixel)
{
    // Bar edges in the chart: the last yellow column is 699.
    const unsigned offset = 600;
    const auto frame = Render(Chart(), Region(200, 104, offset, 160, 1.0), FrameLayout::Uyvy);
    const auto luma = [&](unsigned x) { return frame[LumaOffset(FrameLayout::Uyvy, 200, x, 50)]; };
    EXPECT_EQ(luma(699 - offset), ToYuv(kBars[1]).y);
    EXPECT_EQ(luma(700 - offset), ToYuv(kBars[2]).y);

    const struct {
        unsigned offset, x, y;
        Colour colour;
    } edges[] = {{0, 1000, 7, kEdgeTop},
                 {0, 6, 1000, kEdgeLeft},
                 {8, 2584, 1000, kEdgeRight},
                 {8, 1000, 1936, kEdgeBottom},
                 {208, 2500, 900, kBlack}};
    for (const auto& edge : edges) {
        const auto whole =
            Render(Chart(), Region(2592, 1944, edge.offset, edge.offset, 1.0), FrameLayout::Uyvy);
        ExpectColour(PixelAt(whole, FrameLayout::Uyvy, 2592, 1944, edge.x, edge.y),
                     ToYuv(edge.colour), std::to_string(edge.x));
    }
}

TEST(Renderer, RefusesSizesThatTheIspCannotSend)
{
    for (const auto& [width, height] : {std::pair{0u, 8u}, {8u, 0u}, {7u, 8u}, {8u, 7u}})
        EXPECT_TRUE(Render(Chart(), Region(width, height, 0, 0, 1), FrameLayout::Uyvy).empty());
}

TEST(Counter, RefusesWhatIsNoCounter)
{
    const unsigned width = 96, height = 104;
    const FrameLayout layout = FrameLayout::Uyvy;
    std::vector<std::uint8_t> frame(FrameSize(layout, width, height));
    EXPECT_FALSE(ReadCounter(frame.data(), layout, width, height, CounterPlace::Top));
    DrawCounterGround(frame.data(), layout, width, height, "");
    DrawCounter(frame.data(), layout, width, height, 77);
    frame[LumaOffset(layout, width, 20, 0)] ^= 0xFF;
    EXPECT_FALSE(ReadCounter(frame.data(), layout, width, height, CounterPlace::Top));
    EXPECT_EQ(ReadCounter(frame.data(), layout, width, height, CounterPlace::Bottom), 77u);
    EXPECT_FALSE(ReadCounter(frame.data(), FrameLayout::Yuyv, width, height, CounterPlace::Bottom));
}

} // namespace
} // namespace zevo_sim
