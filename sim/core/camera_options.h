// What a simulated camera is and how it misbehaves.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

#include "base/span.h"
#include "sim/core/fault_injector.h"
#include "sim/core/light.h"
#include "sim/core/misbehaviour.h"

namespace zevo_sim
{

/// In which of its two calling forms the kernel camera driver answers.
enum class RequestForm : std::uint8_t { Native, Controls };

/// Major and minor number of an interface.
struct InterfaceVersion {
    std::uint16_t major;
    std::uint16_t minor;

    std::uint32_t AsWord() const { return std::uint32_t{major} << 16 | minor; }
};

struct CameraOptions {
    // As the module's bootstrap registers and the driver's device information show them.
    std::string manufacturerName = "Vant";
    std::string modelName = "zvK1800-45tqr";
    std::string familyName = "ZEVO MIPI";
    std::string deviceVersion = "1.2.0";
    std::string manufacturerInfo = "Simulated camera";
    std::string serialNumber = "ZEVO:SIM0001";
    std::string userDefinedName;

    // Kernel driver.
    RequestForm form = RequestForm::Native;
    InterfaceVersion driverVersion{1, 1};
    InterfaceVersion informationVersion{1, 0};
    std::uint32_t deviceInformationMagic = 0x050991B0;
    std::uint8_t laneCount = 4;
    std::array<std::uint8_t, 4> laneAssignment{1, 2, 3, 4};
    std::uint64_t laneRateBps = 1'200'000'000;

    // Module control block.
    InterfaceVersion moduleVersion{2, 0};
    std::string moduleFirmware = "p=zevo/s=r/v=2.1/h=5f3a9c1e";
    std::uint32_t maxWriteLength = 256; ///< bytes a transfer, 0 for no limit
    std::uint32_t maxReadLength = 256;

    // ISP.
    /// What the boot loader takes as the right image. Not copied: must outlive the camera.
    GenTLProducer::Span<const std::uint8_t> firmware;
    std::uint16_t firmwareChecksum = 0xE3C8;
    std::size_t firstStageSize = 996;
    std::uint16_t tuningRevision = 430;
    bool isRunning = false; ///< the firmware runs from the start
    Light light;            ///< on the scene

    Misbehaviour misbehaviour;
    std::shared_ptr<FaultInjector> faults; ///< null for none
    unsigned index = 0;                    ///< on its board
    bool logsTransfers = true;             ///< keep the transfer log; grows with every transfer
};

} // namespace zevo_sim
