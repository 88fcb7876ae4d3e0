// How a simulated camera departs from good behaviour.
#pragma once

#include <cstdint>
#include <map>
#include <vector>

#include "sim/core/fault_rule.h"

namespace zevo_sim
{

/// Departures from good behaviour. Delays count reads of the register concerned, so that no test
/// depends on time.
struct Misbehaviour {
    unsigned stageReads = 0;      ///< reads of the boot stage that still show the old one
    unsigned checksumReads = 0;   ///< reads of the checksum that still show the upload's
    bool isChecksumWrong = false; ///< the right image ends in a wrong checksum, without firmware
    unsigned stallReads = 1;      ///< reads of SYS_START that still show the toggle request
    bool isStallStuck = false;    ///< the toggle is never carried out
    unsigned atomicReads = 0;     ///< reads of ATOMIC that still show a committed record
    bool isAtomicStuck = false;   ///< a record is never carried out
    unsigned dmaReads = 0;        ///< reads of DMA_CTRL that still show the engine busy
    bool isDmaStuck = false;      ///< the engine never gets idle
    /// By number of the transfer, from 1: the errno that it fails with.
    std::map<std::uint64_t, int> failingTransfers;
    /// By number of the transfer, from 1: the bytes that a read delivers.
    std::map<std::uint64_t, std::uint16_t> shortReads;
};

/// What the ISP itself of this camera does wrong, out of all that goes wrong on the board.
Misbehaviour MisbehaviourOf(const std::vector<FaultRule>& faults, unsigned camera);

} // namespace zevo_sim
