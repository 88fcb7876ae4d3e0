#include "data/camera_data.h"

// Stands in firmware_image.S.
extern "C" __attribute__((visibility("hidden")))
const std::uint8_t zevo_firmware_image[mcm::kFirmwareImageSize];

namespace mcm
{

namespace
{

constexpr PllRow kPllTable[] = {
#include "pll_rows.inc"
};

constexpr bool isSorted()
{
    for (std::size_t i = 1; i < sizeof kPllTable / sizeof *kPllTable; ++i) {
        if (!(kPllTable[i - 1].laneRateMbps < kPllTable[i].laneRateMbps))
            return false;
    }
    return true;
}
static_assert(isSorted());

} // namespace

const bool kFirmwareIsStandIn = ZEVO_FIRMWARE_IS_STAND_IN;
const bool kPllTableIsStandIn = ZEVO_PLL_TABLE_IS_STAND_IN;

GenTLProducer::Span<const std::uint8_t> firmwareImage() noexcept
{
    return {zevo_firmware_image, kFirmwareImageSize};
}

GenTLProducer::Span<const PllRow> pllTable() noexcept
{
    return kPllTable;
}

} // namespace mcm
