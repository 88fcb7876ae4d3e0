#include "sim/core/exposure_control.h"

#include <algorithm>
#include <cmath>

#include "sim/core/ap1302_registers.h"
#include "sim/core/approach.h"

namespace zevo_sim
{

using namespace isp;

namespace
{

constexpr double kUsPerSecond = 1e6;
constexpr unsigned kGainAutoMode = 9;
constexpr unsigned kTimeAutoMode = 10;
constexpr unsigned kBothAutoMode = 12;

// Limits and preferences of the automatic.
constexpr double kPreferredGain = 1.5;
constexpr double kMinGain = 1.0;
constexpr double kMaxGain = 50.0;
constexpr double kMinTimeUs = 43.0;
constexpr double kMaxTimeUs = 1'400'000.0;

} // namespace

ExposureControl::ExposureControl(const Light& light)
    : light_(light), now_{kNominalExposureUs / kPreferredGain, kPreferredGain}
{
}

ExposureControl::Request ExposureControl::Read(const RegisterFile& registers)
{
    const unsigned mode = registers.Get16(kAeControl) & kAeModeMask;
    const bool isFlickerTold = (registers.Get16(kFlickControl) & kFlickModeMask) == 1;
    Request request{};
    request.isTimeAuto = mode == kTimeAutoMode || mode == kBothAutoMode;
    request.isGainAuto = mode == kGainAutoMode || mode == kBothAutoMode;
    request.manual.timeUs = registers.Get32(kAeManualExposureTime);
    request.manual.gain = registers.Unsigned(kAeManualGain, 8);
    request.flickerHz = isFlickerTold ? registers.Get16(kFlickControl) >> 8 : 0;
    return request;
}

/// Where the request leads to, with time and gain that make up for each other.
ExposureControl::Values ExposureControl::Wanted(const Request& request, double maxRate) const
{
    const double product = kNominalExposureUs / light_.level;
    Values values = request.manual;
    if (request.isTimeAuto && request.isGainAuto) {
        values.timeUs = std::min(product / kPreferredGain, kUsPerSecond / maxRate);
        // Lamps flicker at twice the frequency of the mains.
        const double flickerUs = kUsPerSecond / 2 / std::max(request.flickerHz, 1.0);
        if (request.flickerHz != 0 && values.timeUs >= flickerUs)
            values.timeUs = std::floor(values.timeUs / flickerUs) * flickerUs;
    } else if (request.isTimeAuto) {
        values.timeUs = product / std::max(request.manual.gain, 1.0 / 256);
    }
    if (request.isTimeAuto)
        values.timeUs = std::clamp(values.timeUs, kMinTimeUs, kMaxTimeUs);
    if (request.isGainAuto)
        values.gain = std::clamp(product / std::max(values.timeUs, 1.0), kMinGain, kMaxGain);
    return values;
}

void ExposureControl::Settle(const RegisterFile& registers, double maxRate)
{
    next_ = Read(registers);
    now_ = Wanted(next_, maxRate);
}

void ExposureControl::Step(const RegisterFile& registers, double maxRate, bool isWaited)
{
    const Request before = next_;
    next_ = Read(registers);
    const Request& request = isWaited ? next_ : before;
    const Values wanted = Wanted(request, maxRate);
    now_.timeUs = request.isTimeAuto ? Approach(now_.timeUs, wanted.timeUs) : wanted.timeUs;
    now_.gain = request.isGainAuto ? Approach(now_.gain, wanted.gain) : wanted.gain;
}

double ExposureControl::Level() const
{
    return now_.timeUs * now_.gain * light_.level / kNominalExposureUs;
}

void ExposureControl::Report(RegisterFile& registers) const
{
    registers.Set32(kAeExposureTime, static_cast<std::uint32_t>(std::lround(now_.timeUs)));
    registers.Set16(kAeGain,
                    static_cast<std::uint16_t>(std::lround(std::min(now_.gain * 256, 65535.0))));
}

} // namespace zevo_sim
