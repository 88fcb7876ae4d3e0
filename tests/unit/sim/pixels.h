// Single pixels of a frame, for the tests of the simulation.
#pragma once

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "sim/core/colour_stage.h"
#include "sim/core/frame_layout.h"

namespace zevo_sim
{

inline Yuv PixelAt(const std::vector<std::uint8_t>& frame, FrameLayout layout, unsigned width,
                   unsigned height, unsigned x, unsigned y)
{
    const std::size_t blue = BlueOffset(layout, width, height, x, y);
    return {frame[LumaOffset(layout, width, x, y)], frame[blue], frame[blue + RedOffset(layout)]};
}

inline void ExpectColour(const Yuv& pixel, const Yuv& expected, const std::string& what,
                         int tolerance = 0)
{
    EXPECT_NEAR(pixel.y, expected.y, tolerance) << what;
    EXPECT_NEAR(pixel.cb, expected.cb, tolerance) << what;
    EXPECT_NEAR(pixel.cr, expected.cr, tolerance) << what;
}

} // namespace zevo_sim
