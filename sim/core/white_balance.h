// The ISP's white balance, manual and automatic.
#pragma once

#include "sim/core/light.h"
#include "sim/core/register_file.h"

namespace zevo_sim
{

/// Gains by the AWB registers. An override gain other than 0 holds whatever the mode is. Without
/// one, the automatic goes half of the way to the light's gains with each frame, a preset has the
/// gains of its light at once, and the manual mode those of the manual chromaticity, as long as
/// the calibration is in use.
class WhiteBalance final
{
public:
    explicit WhiteBalance(const Light& light);

    /// Everything in force at once, as without a stream.
    void Settle(const RegisterFile& registers);
    /// One frame on.
    void Step(const RegisterFile& registers);

    const ColourGains& Gains() const { return gains_; }
    /// Writes the measured chromaticity, from which the gains follow.
    void Report(RegisterFile& registers) const;

private:
    ColourGains Wanted(const RegisterFile& registers) const;

    const ColourGains neutral_;
    ColourGains gains_;
};

} // namespace zevo_sim
