// The image sensor's registers, through the ISP.
#pragma once

#include <cstdint>

#include "module/clock.h"
#include "module/isp_sensor.h"

namespace mcm
{

/// Moves single 16-bit words between the ISP's registers and the sensor by the ISP's DMA engine,
/// which is waited for before and behind each move. Throws std::runtime_error when it stays busy
/// for a second, and what a failing transfer throws; nothing is tried again. Blocks for up to two
/// seconds. One thread at a time: a move is a sequence of transfers.
class SensorRegisterAccess final
{
public:
    /// ISP and clock stay the caller's and must outlive this object.
    SensorRegisterAccess(IspSensor& isp, const IClock& clock) noexcept : isp_(isp), clock_(clock) {}

    void WriteSensorReg(std::uint16_t address, std::uint16_t value);
    std::uint16_t ReadSensorReg(std::uint16_t address);

private:
    /// How the ISP reaches the sensor.
    struct Link {
        std::uint32_t sip;   ///< the whole of PRIMARY_SENSOR_SIP
        unsigned widthShift; ///< a data word has 1 << widthShift bytes

        std::uint32_t addressOf(std::uint16_t sensorRegister) const noexcept
        {
            return sip << 16 | sensorRegister;
        }
    };
    /// The operation in progress, as its log lines and its exception tell of it.
    struct Operation {
        const char* name;
        const char* failure;
        std::uint16_t address;
    };

    Link readLink(const char* operation);
    bool WaitForDmaIdle();
    void requireDmaIdle(const Operation& operation, unsigned wait);
    void runDma(const Operation& operation, const Link& link, std::uint32_t source,
                std::uint32_t destination, std::uint32_t control);

    IspSensor& isp_;
    const IClock& clock_;
};

} // namespace mcm
