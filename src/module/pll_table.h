// Choice of the ISP's clock set-up.
#pragma once

#include "base/span.h"
#include "data/camera_data.h"

namespace mcm
{

/// The row of the highest lane rate that isn't above the requested one; null if there is none.
const PllRow* findPllRow(GenTLProducer::Span<const PllRow> table, float laneRateMbps) noexcept;

} // namespace mcm
