// The light on the scene, and what the camera needs to show the scene as it is.
#pragma once

namespace zevo_sim
{

struct Light {
    double level = 1.0;          ///< 1 for the light that the automatic exposure is made for
    double temperature = 5000.0; ///< colour, in kelvin
};

/// Factors of red and blue, relative to green, that make a white surface white.
struct ColourGains {
    double red = 1.0;
    double green = 1.0;
    double blue = 1.0;
};

/// What the sensor needs in light of a temperature: the warmer, the more blue and the less red.
ColourGains NeutralGains(double temperature);

/// The sensor delivers a well exposed picture at this product of exposure time and gain, in
/// microseconds, if the light's level is 1.
constexpr double kNominalExposureUs = 24'000.0;

} // namespace zevo_sim
