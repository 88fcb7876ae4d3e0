// The ISP's exposure control, manual and automatic.
#pragma once

#include "sim/core/light.h"
#include "sim/core/register_file.h"

namespace zevo_sim
{

/// Exposure time and gain by the AE registers. What is automatic goes half of the way with each
/// frame, to where the picture is as bright as it should be; what is manual comes into force with
/// the second frame behind the change, since the sensor has begun the next one already.
class ExposureControl final
{
public:
    explicit ExposureControl(const Light& light);

    /// Everything in force at once, as without a stream. `maxRate` is the rate in frames per
    /// second that exposure time must not reduce if it can be helped.
    void Settle(const RegisterFile& registers, double maxRate);
    /// One frame on. `isWaited`: the frame was begun on demand, with the values of then.
    void Step(const RegisterFile& registers, double maxRate, bool isWaited);

    double TimeUs() const { return now_.timeUs; }
    double Gain() const { return now_.gain; }
    /// How bright the picture is, 1 for as bright as it should be.
    double Level() const;
    /// Writes exposure time and gain in force.
    void Report(RegisterFile& registers) const;

private:
    struct Values {
        double timeUs;
        double gain;
    };
    /// What the registers ask for.
    struct Request {
        bool isTimeAuto;
        bool isGainAuto;
        Values manual;
        double flickerHz; ///< of the mains, 0 for unknown
    };

    static Request Read(const RegisterFile& registers);
    Values Wanted(const Request& request, double maxRate) const;

    const Light light_;
    Request next_{}; ///< comes into force with the next frame
    Values now_;
};

} // namespace zevo_sim
