#include "sim/core/frame_trigger.h"

#include <utility>

#include "sim/core/ap1302_registers.h"

namespace zevo_sim
{

using namespace isp;

bool FrameTrigger::IsInForce(const RegisterFile& registers)
{
    constexpr unsigned byLine = 3;
    constexpr unsigned triggerInput = 8;
    return registers.Field(kTriggerControl, 0, 2) == byLine &&
           registers.Field(kTriggerControl, 2, 2) == 0 &&
           registers.Field(kTriggerControl, 4, 4) == triggerInput &&
           registers.Field(kTriggerControl2, 1, 1) == 0 &&
           registers.Get16(kTriggerStallingThreshold) == 0;
}

void FrameTrigger::WriteLine(bool isHigh, bool isStreaming, const RegisterFile& registers)
{
    const bool wasHigh = std::exchange(isLineHigh_, isHigh);
    const bool isInverted = registers.Field(kTriggerControl, 10, 1) != 0;
    const bool isTrigger = isInverted ? wasHigh && !isHigh : isHigh;
    if (isTrigger && isStreaming && !isSensorFree_ && IsInForce(registers))
        ++pending_;
}

void FrameTrigger::TakeFrame()
{
    if (!isSensorFree_ && pending_ != 0)
        --pending_;
}

} // namespace zevo_sim
