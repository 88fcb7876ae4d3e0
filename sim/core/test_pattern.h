// The pictures that the ISP makes by itself.
#pragma once

#include "sim/core/picture_look.h"
#include "sim/core/scene.h"

namespace zevo_sim
{

/// The pattern of the mode, on the whole sensor; black for a mode that has none.
Scene MakeTestPattern(const PatternChoice& choice);

} // namespace zevo_sim
