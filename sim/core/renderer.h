// From the scene to the bytes of a frame.
#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "sim/core/colour_stage.h"
#include "sim/core/frame_layout.h"
#include "sim/core/picture_setup.h"
#include "sim/core/scene.h"

namespace zevo_sim
{

/// The layout in which the ISP's output format reaches a buffer of the capture node, given the
/// node's layout for 4:2:2; nothing for an output format that the simulation can't send.
std::optional<FrameLayout> SentLayout(std::uint16_t outputFormat, FrameLayout nodes422);

/// Width and height are such that the ISP can send the picture: even, and from 2 to 8192.
bool IsRenderable(const PictureSetup& setup);

/// The picture that the set-up cuts out of the scene, with the colours of its look: the region
/// scaled to width by height, by steps of a quarter of a pixel, black outside the sensor. BT.601,
/// luma 16 to 235. In one of the layouts of a capture node; empty if the set-up can't be rendered.
/// The scene is the pattern if the look has one.
std::vector<std::uint8_t> Render(const Scene& scene, const PictureSetup& setup, FrameLayout layout);

} // namespace zevo_sim
