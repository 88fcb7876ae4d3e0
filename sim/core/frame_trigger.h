// When the ISP sends a frame: by itself, or on demand.
#pragma once

#include <cstdint>

#include "sim/core/register_file.h"

namespace zevo_sim
{

/// A sensor that streams by itself gives frames whatever the trigger registers say. A sensor at
/// rest gives one frame a trigger, if the trigger is in force: mode 3, and the chip's input, sync
/// mode, second control register and stalling threshold set for it. Triggers come from the line
/// that the program drives; nothing is connected to the line outside.
class FrameTrigger final
{
public:
    void Reset() { *this = {}; }

    /// Bits of the sensor's mode register.
    static constexpr std::uint16_t kSensorModeRegister = 0x301A;
    static constexpr std::uint16_t kSensorStreams = 0x0004;
    void SetSensorMode(std::uint16_t mode) { isSensorFree_ = (mode & kSensorStreams) != 0; }

    /// The program has written the level of its line. A high level is a trigger each time; with
    /// the polarity bit set a low one behind a high one is.
    void WriteLine(bool isHigh, bool isStreaming, const RegisterFile& registers);
    /// Triggers that wait are lost when the stream stops.
    void Drop() { pending_ = 0; }

    bool IsOnDemand() const { return !isSensorFree_; }
    bool CanSend() const { return isSensorFree_ || pending_ != 0; }
    /// Uses up one trigger if frames come on demand.
    void TakeFrame();

private:
    static bool IsInForce(const RegisterFile& registers);

    bool isSensorFree_ = true;
    bool isLineHigh_ = false;
    unsigned pending_ = 0;
};

} // namespace zevo_sim
