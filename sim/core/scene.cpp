#include "sim/core/scene.h"

#include <fcntl.h>

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <string>
#include <system_error>
#include <utility>

#include "sim/core/system.h"

namespace zevo_sim
{

namespace
{

constexpr double kPi = 3.14159265358979323846;
constexpr int kWidth = static_cast<int>(kSensorPixelsX);
constexpr int kHeight = static_cast<int>(kSensorPixelsY);

constexpr Colour kGrid{92, 98, 108};
constexpr Colour kGridBold{150, 158, 170};

std::uint8_t ToByte(double value)
{
    return static_cast<std::uint8_t>(std::lround(value < 0 ? 0 : value > 255 ? 255 : value));
}

Colour Grey(double level)
{
    const std::uint8_t byte = ToByte(level);
    return {byte, byte, byte};
}

void DrawGround(Canvas& canvas)
{
    canvas.Shade(0, 0, kWidth, kHeight, [](int x, int y) {
        const int level = 40 + x / 80 + y / 120;
        return Colour{static_cast<std::uint8_t>(level), static_cast<std::uint8_t>(level + 4),
                      static_cast<std::uint8_t>(level + 12)};
    });
    for (int x = 100; x < kWidth; x += 100)
        canvas.Fill(x, 0, x % 500 == 0 ? 3 : 1, kHeight, x % 500 == 0 ? kGridBold : kGrid);
    for (int y = 100; y < kHeight; y += 100)
        canvas.Fill(0, y, kWidth, y % 500 == 0 ? 3 : 1, y % 500 == 0 ? kGridBold : kGrid);
    for (int x = 200; x < kWidth; x += 200)
        canvas.Text(x + 6, 76, 3, std::to_string(x), kWhite);
    for (int y = 200; y < kHeight; y += 200)
        canvas.Text(14, y + 6, 3, std::to_string(y), kWhite);
}

void DrawEdges(Canvas& canvas)
{
    canvas.Fill(0, 0, kEdgeWidth, kHeight, kEdgeLeft);
    canvas.Fill(kWidth - kEdgeWidth, 0, kEdgeWidth, kHeight, kEdgeRight);
    canvas.Fill(0, 0, kWidth, kEdgeWidth, kEdgeTop);
    canvas.Fill(0, kHeight - kEdgeWidth, kWidth, kEdgeWidth, kEdgeBottom);
}

void DrawBars(Canvas& canvas)
{
    constexpr char names[] = "WYCGMRBK";
    int x = kBarLeft;
    for (std::size_t i = 0; i < std::size(kBars); ++i, x += kBarWidth) {
        canvas.Fill(x, kBarTop, kBarWidth, kBarHeight, kBars[i]);
        const Colour ink = i >= 6 ? kWhite : kBlack;
        canvas.Text(x + 125, kBarTop + 190, 10, std::string_view(names).substr(i, 1), ink);
    }
}

void DrawRamps(Canvas& canvas)
{
    constexpr int left = 100;
    constexpr int width = 2400;
    canvas.Shade(left, 440, width, 110, [](int x, int) {
        const int step = (x - left) / 150;
        return Grey(step * 17);
    });
    const auto level = [](int x) { return ToByte((x - left) * 255.0 / (width - 1)); };
    canvas.Shade(left, 550, width, 80, [&](int x, int) { return Grey(level(x)); });
    canvas.Shade(left, 650, width, 70, [&](int x, int) { return Colour{level(x), 0, 0}; });
    canvas.Shade(left, 720, width, 70, [&](int x, int) { return Colour{0, level(x), 0}; });
    canvas.Shade(left, 790, width, 70, [&](int x, int) { return Colour{0, 0, level(x)}; });
}

/// Hue by angle, saturation by radius; a white ring around it.
void DrawWheel(Canvas& canvas, int centreX, int centreY, int radius)
{
    const auto channel = [](double hue, double saturation, double shift) {
        const double k = std::fmod(shift + hue * 6, 6);
        const double share = std::min({k, 4 - k, 1.0});
        return ToByte(255 * (1 - saturation * std::max(0.0, share)));
    };
    for (int y = -radius; y <= radius; ++y) {
        for (int x = -radius; x <= radius; ++x) {
            const double distance = std::hypot(x, y);
            if (distance > radius)
                continue;
            const double hue = std::atan2(y, x) / (2 * kPi) + 0.5;
            const double saturation = distance / (radius - 16);
            const Colour colour =
                saturation > 1 ? kWhite
                               : Colour{channel(hue, saturation, 5), channel(hue, saturation, 3),
                                        channel(hue, saturation, 1)};
            canvas.Set(centreX + x, centreY + y, colour);
        }
    }
    canvas.Fill(centreX - radius - 60, centreY - 1, 2 * radius + 121, 3, kBlack);
    canvas.Fill(centreX - 1, centreY - radius - 60, 3, 2 * radius + 121, kBlack);
}

/// Rings whose frequency grows to the sensor's limit at the edge.
void DrawZonePlate(Canvas& canvas, int left, int top, int size)
{
    const double centre = (size - 1) / 2.0;
    canvas.Shade(left, top, size, size, [&](int x, int y) {
        const double dx = x - left - centre;
        const double dy = y - top - centre;
        return Grey(127.5 + 127.5 * std::cos(kPi * (dx * dx + dy * dy) / size));
    });
}

void DrawStar(Canvas& canvas, int left, int top, int size)
{
    const double centre = (size - 1) / 2.0;
    canvas.Shade(left, top, size, size, [&](int x, int y) {
        const double angle = std::atan2(y - top - centre, x - left - centre);
        return Grey(std::sin(angle * 36) >= 0 ? 255 : 0);
    });
}

void DrawCheckerboards(Canvas& canvas, int left, int top)
{
    for (int i = 0; i < 4; ++i)
        canvas.Shade(left + i * 130, top, 120, 120, [&](int x, int y) {
            return ((x >> i) + (y >> i)) % 2 == 0 ? kWhite : kBlack;
        });
}

} // namespace

Scene Scene::TestChart()
{
    Canvas canvas(kWidth, kHeight);
    DrawGround(canvas);
    DrawBars(canvas);
    DrawRamps(canvas);
    DrawWheel(canvas, 1300, 1300, 360);
    DrawZonePlate(canvas, 150, 960, 500);
    DrawStar(canvas, 1950, 960, 500);
    DrawCheckerboards(canvas, 150, 1520);
    DrawCheckerboards(canvas, 1945, 1520);
    canvas.Text(292, 1740, 12, "SIMULATED CAMERA 2600 X 1952", kWhite);
    canvas.Text(1240, 24, 4, "TOP", kWhite);
    canvas.Text(kWidth - 330, kHeight - 60, 4, "BOTTOM RIGHT", kWhite);
    DrawEdges(canvas);
    return FromCanvas(canvas);
}

Scene Scene::FromRawFile(const std::string& path)
{
    const Descriptor file(sys::Open(path.c_str(), O_RDONLY | O_CLOEXEC));
    if (!file.IsValid())
        throw std::system_error(-file.Get(), std::generic_category(), path);
    if (sys::FileSize(file.Get()) != static_cast<long>(kBytes))
        throw std::system_error(EINVAL, std::generic_category(), path);
    std::vector<std::uint8_t> pixels(kBytes);
    if (const long result = sys::ReadFully(file.Get(), pixels.data(), kBytes); result < 0)
        throw std::system_error(static_cast<int>(-result), std::generic_category(), path);
    return Scene(std::move(pixels));
}

} // namespace zevo_sim
