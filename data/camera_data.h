// The data of the camera's ISP that this build carries.
#pragma once

#include <cstddef>
#include <cstdint>

#include "base/span.h"

namespace mcm
{

inline constexpr std::size_t kFirmwareImageSize = 76144;

/// Clock set-up of the AP1302 for one CSI-2 lane rate. The words go to registers as they are: a
/// divider word holds the divider in steps of 0.5 in bits 7..0 and the clock source in 17..16.
struct PllRow {
    double laneRateMbps;
    double clockMhz; ///< informative
    double referenceClock;
    std::uint32_t pll0;
    std::uint32_t pll1;
    std::uint32_t cpu;
    std::uint32_t ipipe;
    std::uint32_t sinf;
    std::uint32_t hinf;
    std::uint32_t hinfMipi;
    std::uint32_t ip;
    std::uint32_t unsent0;
    std::uint32_t priSensor;
    std::uint32_t secSensor;
    std::uint32_t unsent1;
};
static_assert(sizeof(PllRow) == 72);

/// kFirmwareImageSize bytes, sent to the ISP as they are.
GenTLProducer::Span<const std::uint8_t> firmwareImage() noexcept;

/// Sorted by ascending lane rate; never empty.
GenTLProducer::Span<const PllRow> pllTable() noexcept;

/// True where the build was given none and put something in its place.
extern const bool kFirmwareIsStandIn;
extern const bool kPllTableIsStandIn;

} // namespace mcm
