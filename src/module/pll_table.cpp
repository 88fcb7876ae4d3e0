#include "module/pll_table.h"

namespace mcm
{

const PllRow* findPllRow(GenTLProducer::Span<const PllRow> table, float laneRateMbps) noexcept
{
    for (const PllRow* row = table.end(); row != table.begin();) {
        --row;
        if (static_cast<float>(row->laneRateMbps) <= laneRateMbps)
            return row;
    }
    return nullptr;
}

} // namespace mcm
