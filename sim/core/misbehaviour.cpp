#include "sim/core/misbehaviour.h"

#include <algorithm>

namespace zevo_sim
{

Misbehaviour MisbehaviourOf(const std::vector<FaultRule>& faults, unsigned camera)
{
    Misbehaviour result;
    for (const FaultRule& fault : faults) {
        if (fault.camera && *fault.camera != camera)
            continue;
        const bool isStuck = fault.effect == FaultEffect::Stuck;
        const auto reads = static_cast<unsigned>(fault.value);
        switch (fault.place) {
        case FaultPlace::Stage:
            result.stageReads = reads;
            break;
        case FaultPlace::Checksum:
            result.isChecksumWrong = result.isChecksumWrong || fault.effect == FaultEffect::Wrong;
            result.checksumReads = std::max(result.checksumReads, reads);
            break;
        case FaultPlace::Stall:
            result.isStallStuck = result.isStallStuck || isStuck;
            result.stallReads = std::max(result.stallReads, reads);
            break;
        case FaultPlace::Atomic:
            result.isAtomicStuck = result.isAtomicStuck || isStuck;
            result.atomicReads = std::max(result.atomicReads, reads);
            break;
        case FaultPlace::Dma:
            result.isDmaStuck = result.isDmaStuck || isStuck;
            result.dmaReads = std::max(result.dmaReads, reads);
            break;
        default:
            break;
        }
    }
    return result;
}

} // namespace zevo_sim
