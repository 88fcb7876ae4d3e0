#include "sim/core/sensor_port.h"

#include <utility>

#include "sim/core/ap1302_registers.h"

namespace zevo_sim
{

using namespace isp;

namespace
{

constexpr std::pair<std::uint16_t, std::uint16_t> kSensorReset[] = {
    {0x3000, 0x1457}, // identity
    {0x301A, 0x205C}, // reset and mode word; bit 2: the sensor streams
};

constexpr unsigned kToSensor = 1;
constexpr unsigned kFromSensor = 2;
constexpr unsigned kSensorSide = 3;

} // namespace

void SensorPort::Reset()
{
    sensor_.clear();
    for (const auto& [address, value] : kSensorReset)
        sensor_[address] = value;
}

std::uint16_t SensorPort::Get(std::uint16_t address) const
{
    const auto found = sensor_.find(address);
    return found == sensor_.end() ? std::uint16_t{0} : found->second;
}

void SensorPort::Transfer(RegisterFile& registers)
{
    const unsigned mode = registers.Field(kDmaControl, 0, 3);
    const unsigned source = registers.Field(kDmaControl, 4, 4);
    const unsigned destination = registers.Field(kDmaControl, 8, 4);
    const std::uint32_t from = registers.Get32(kDmaSource);
    const std::uint32_t to = registers.Get32(kDmaDestination);
    const std::uint32_t size = registers.Get32(kDmaSize);
    const auto isSensor = [&](std::uint32_t address) {
        return address >> 16 == registers.Get16(kPrimarySensorSip);
    };
    if (size != 1 && size != 2)
        return;
    if (mode == kFromSensor && source == kSensorSide && destination == 0 && isSensor(from)) {
        const std::uint32_t value = Get(static_cast<std::uint16_t>(from));
        registers.Set32(static_cast<std::uint16_t>(to),
                        size == 2 ? value << 16 : (value & 0xFF) << 24);
    } else if (mode == kToSensor && destination == kSensorSide && source == 0 && isSensor(to)) {
        Set(static_cast<std::uint16_t>(to),
            static_cast<std::uint16_t>(size == 2 ? from : from & 0xFF));
    }
}

} // namespace zevo_sim
