// What stands in front of the simulated sensor.
#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "sim/core/canvas.h"
#include "sim/core/picture_setup.h"

namespace zevo_sim
{

/// kSensorPixelsX by kSensorPixelsY pixels of 8-bit RGB. Never changes.
class Scene final
{
public:
    /// The test chart: coloured edges, grid with coordinates, colour bars, ramps, colour wheel,
    /// zone plate, star and checkerboards, in which wrong geometry, colour order, shift or stride
    /// shows at a glance.
    static Scene TestChart();

    /// A file of packed RGB rows of the sensor's size, as the launcher makes them from a picture.
    /// std::system_error if it can't be read or has another size.
    static Scene FromRawFile(const std::string& path);

    /// A canvas of the sensor's size, which is left empty.
    static Scene FromCanvas(Canvas& canvas) { return Scene(std::move(canvas.Pixels())); }

    const std::uint8_t* Row(unsigned y) const { return &pixels_[std::size_t{y} * kRowBytes]; }

    static constexpr std::size_t kRowBytes = std::size_t{kSensorPixelsX} * 3;
    static constexpr std::size_t kBytes = kRowBytes * kSensorPixelsY;

private:
    explicit Scene(std::vector<std::uint8_t> pixels) : pixels_(std::move(pixels)) {}

    std::vector<std::uint8_t> pixels_;
};

/// Places of the test chart that tests look at: the sensor pixel, whose surroundings of 20 pixels
/// have the same colour.
struct ChartPoint {
    int x;
    int y;
    Colour colour;
};

constexpr int kBarTop = 120;
constexpr int kBarHeight = 300;
constexpr int kBarLeft = 100;
constexpr int kBarWidth = 300;
constexpr Colour kBars[] = {kWhite,        {255, 255, 0}, {0, 255, 255}, {0, 255, 0},
                            {255, 0, 255}, {255, 0, 0},   {0, 0, 255},   kBlack};

constexpr ChartPoint kChartPoints[] = {
    {250, 200, kBars[0]},  {550, 200, kBars[1]},  {850, 200, kBars[2]},  {1150, 200, kBars[3]},
    {1450, 200, kBars[4]}, {1750, 200, kBars[5]}, {2050, 200, kBars[6]}, {2350, 200, kBars[7]},
};

/// Bands along the edges: the colour of the outermost kEdgeWidth pixels.
constexpr int kEdgeWidth = 8;
constexpr Colour kEdgeTop{255, 0, 0};
constexpr Colour kEdgeLeft{255, 255, 0};
constexpr Colour kEdgeRight{0, 255, 0};
constexpr Colour kEdgeBottom{0, 0, 255};

} // namespace zevo_sim
