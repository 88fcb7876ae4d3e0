// The image sensor's registers behind the ISP, and the engine that moves words to and fro.
#pragma once

#include <cstdint>
#include <map>

#include "sim/core/register_file.h"

namespace zevo_sim
{

/// The engine's registers are read when a transfer is done. A transfer that names another sensor,
/// another port or another mode moves nothing, and ends all the same.
class SensorPort final
{
public:
    void Reset();

    std::uint16_t Get(std::uint16_t address) const;
    void Set(std::uint16_t address, std::uint16_t value) { sensor_[address] = value; }

    /// Carries out what the engine's registers ask for.
    void Transfer(RegisterFile& registers);

private:
    std::map<std::uint16_t, std::uint16_t> sensor_;
};

} // namespace zevo_sim
