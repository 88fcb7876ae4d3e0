// Boot of the ISP: firmware upload and CSI set-up in one procedure.
#pragma once

#include "bus/csi_configuration.h"
#include "module/clock.h"
#include "module/isp_sensor.h"

namespace mcm
{

class IspFirmware final
{
public:
    /// Brings the clocks to the lane data rate of the board, or to that of the environment
    /// variable ISP_LANE_DATARATE in Mbps, and the firmware up. False if the firmware was running
    /// already; nothing is written then. Throws std::runtime_error and leaves the ISP where it
    /// stood; nothing is tried again. Blocks for as long as the link needs, and up to two seconds
    /// for each boot stage and the checksum.
    static bool loadIspFirmware(IspSensor& isp, const CsiConfiguration& csi,
                                const IClock& clock = steadyClock());
};

} // namespace mcm
