// The number of a frame, drawn into it for people and for programs.
//
// For programs it stands twice, in the two topmost and the two lowest lines, from the left edge on:
// 48 cells of 2 by 2 pixels, bright for 1 and dark for 0. In order: the four bits 1011, the
// number's low 32 bits from the highest on, the eight bits of a check byte (the exclusive or of the
// number's four bytes and 0x5A), the four bits 0100. A frame whose two numbers differ is torn.
//
// For people ten digits stand on a black ground below the upper cells, with the camera's name.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>

#include "sim/core/frame_layout.h"

namespace zevo_sim
{

enum class CounterPlace : std::uint8_t { Top, Bottom };

constexpr unsigned kCounterCells = 48;
constexpr unsigned kCounterWidth = kCounterCells * 2;
constexpr unsigned kCounterHeight = 2;

/// Draws the ground of the counter and the name, which don't change from frame to frame, without
/// colour. Frames smaller than kCounterWidth stay without a counter.
void DrawCounterGround(std::uint8_t* frame, FrameLayout layout, unsigned width, unsigned height,
                       std::string_view name);

/// Draws the number onto that ground.
void DrawCounter(std::uint8_t* frame, FrameLayout layout, unsigned width, unsigned height,
                 std::uint64_t number);

/// The low 32 bits of the number; nothing if what stands there isn't a counter.
std::optional<std::uint32_t> ReadCounter(const std::uint8_t* frame, FrameLayout layout,
                                         unsigned width, unsigned height, CounterPlace place);

} // namespace zevo_sim
