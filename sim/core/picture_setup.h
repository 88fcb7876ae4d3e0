// What the ISP's registers say about the picture on the CSI link.
#pragma once

#include <cstdint>

#include "sim/core/picture_look.h"

namespace zevo_sim
{

constexpr unsigned kSensorPixelsX = 2600;
constexpr unsigned kSensorPixelsY = 1952;

/// PREVIEW_OUT_FMT values that the simulated ISP can send.
enum class OutputFormat : std::uint16_t {
    Yuv422 = 0x50,               ///< U Y V Y per pair of pixels
    Yuv420LineInterleaved = 0x51 ///< even lines luma only, odd lines U Y V Y
};

/// A snapshot of the registers that shape the picture. A new one is made for every change that
/// takes effect, and never changed afterwards.
struct PictureSetup {
    std::uint16_t width = 0; ///< output pixels
    std::uint16_t height = 0;
    std::uint16_t outputFormat = 0; ///< PREVIEW_OUT_FMT as it stands in the register
    // Region of interest in 1/16384 of the sensor's width and height.
    std::int16_t roiX0 = 0;
    std::int16_t roiY0 = 0;
    std::int16_t roiX1 = 0;
    std::int16_t roiY1 = 0;
    PictureLook look;

    bool operator==(const PictureSetup& other) const
    {
        return width == other.width && height == other.height &&
               outputFormat == other.outputFormat && roiX0 == other.roiX0 && roiY0 == other.roiY0 &&
               roiX1 == other.roiX1 && roiY1 == other.roiY1 && look == other.look;
    }
};

} // namespace zevo_sim
