// A user's picture as the scene before the sensor.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace zevo_board
{

/// Packed RGB rows of the sensor's size: the picture as it is, or scaled to fit with black at the
/// sides. std::runtime_error with a text for people if the file isn't a PNG picture.
std::vector<std::uint8_t> LoadScene(const std::string& path);

} // namespace zevo_board
