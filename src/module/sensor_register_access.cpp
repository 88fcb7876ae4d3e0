#include "module/sensor_register_access.h"

#include <stdexcept>

#include "trace/camera_log.h"

namespace mcm
{

namespace
{

using namespace std::chrono_literals;

constexpr unsigned kIdleRounds = 100;
constexpr auto kIdlePause = 10ms;

constexpr std::uint32_t kDmaRead = 0x0032;  ///< mode 2, source 3
constexpr std::uint32_t kDmaWrite = 0x0301; ///< mode 1, destination 3
constexpr std::uint32_t kDmaIdle = 0;

} // namespace

SensorRegisterAccess::Link SensorRegisterAccess::readLink(const char* operation)
{
    const std::uint32_t sip = isp_.PRIMARY_SENSOR_SIP();
    const auto& wideData = isp_registers::Primary_sensor_sip_WIDE_DATA;
    const unsigned widthShift = sip >> wideData.low & wideData.maximum();
    if (widthShift == 0) {
        MCM_LOG(kLogWarning, kLogAlways)
            << operation << " Unexpected sensor data width of 1 byte. Expected: 2\n";
    }
    return {sip, widthShift};
}

bool SensorRegisterAccess::WaitForDmaIdle()
{
    std::uint32_t mode = kDmaIdle;
    for (unsigned round = 0; round < kIdleRounds; ++round) {
        mode = isp_.Dma_ctrl_MODE();
        if (mode == kDmaIdle)
            return true;
        clock_.sleep(kIdlePause);
    }
    MCM_LOG(kLogDebug, kLogModule)
        << "WaitForDmaIdle Timeout, ctrlMode=0x" << std::hex << mode << "\n";
    return false;
}

void SensorRegisterAccess::requireDmaIdle(const Operation& operation, unsigned wait)
{
    if (WaitForDmaIdle())
        return;
    MCM_LOG(kLogError, kLogAlways)
        << operation.name << "(0x" << std::hex << operation.address << std::dec << ") Timeout "
        << wait << ", waiting for DMA idle\n";
    throw std::runtime_error(operation.failure);
}

void SensorRegisterAccess::runDma(const Operation& operation, const Link& link,
                                  std::uint32_t source, std::uint32_t destination,
                                  std::uint32_t control)
{
    requireDmaIdle(operation, 1);
    isp_.DMA_SIZE(1U << link.widthShift);
    isp_.DMA_SRC(source);
    isp_.DMA_DST(destination);
    isp_.DMA_CTRL(control);
    requireDmaIdle(operation, 2);
}

void SensorRegisterAccess::WriteSensorReg(std::uint16_t address, std::uint16_t value)
{
    const Operation operation = {"WriteSensorReg", "Cannot write sensor register", address};
    MCM_LOG(kLogDebug, kLogModule)
        << operation.name << "(0x" << std::hex << address << ":0x" << value << ")\n";
    const Link link = readLink(operation.name);
    runDma(operation, link, value, link.addressOf(address), kDmaWrite);
}

std::uint16_t SensorRegisterAccess::ReadSensorReg(std::uint16_t address)
{
    const Operation operation = {"ReadSensorReg", "Cannot read sensor register", address};
    MCM_LOG(kLogDebug, kLogModule) << operation.name << "(0x" << std::hex << address << ")\n";
    const Link link = readLink(operation.name);
    // The word comes into the destination register itself, left-aligned.
    runDma(operation, link, link.addressOf(address), isp_registers::DMA_DST.address, kDmaRead);
    const auto value = static_cast<std::uint16_t>(isp_.DMA_DST() >> (link.widthShift ? 16 : 24));
    MCM_LOG(kLogDebug, kLogModule)
        << operation.name << "(0x" << std::hex << address << ") returns 0x" << value << "\n";
    return value;
}

} // namespace mcm
