// What the ISP does to the colours of a picture.
#pragma once

#include <array>
#include <cstdint>
#include <optional>

namespace zevo_sim
{

/// A picture of the ISP's own in place of the sensor's.
struct PatternChoice {
    unsigned mode = 0;                     ///< TP_MODE
    std::array<std::uint16_t, 3> colour{}; ///< red, green, blue of the pattern of one colour

    bool operator==(const PatternChoice& other) const
    {
        return mode == other.mode && colour == other.colour;
    }
    bool operator!=(const PatternChoice& other) const { return !(*this == other); }
};

/// The controls in the order in which they act. The initial values leave the scene as it is.
struct PictureLook {
    std::optional<PatternChoice> pattern;      ///< the sensor's picture if absent
    std::array<double, 3> gain{1.0, 1.0, 1.0}; ///< of red, green and blue light
    bool isToneMapped = true;                  ///< shadows are lifted, as the scene shows them
    double gamma = 0;                          ///< exponent of the curve; 0 for that of sRGB
    double contrast = 0;                       ///< above 0 steeper in the middle
    double brightness = 0;                     ///< 1 lifts by half of the full range
    double sharpness = 0;                      ///< above 0 emphasises edges
    double saturation = 1;                     ///< factor of the colour differences

    bool operator==(const PictureLook& other) const
    {
        return pattern == other.pattern && gain == other.gain &&
               isToneMapped == other.isToneMapped && gamma == other.gamma &&
               contrast == other.contrast && brightness == other.brightness &&
               sharpness == other.sharpness && saturation == other.saturation;
    }

    /// The scene comes out as it went in.
    bool IsPlain() const { return *this == PictureLook(); }
};

} // namespace zevo_sim
