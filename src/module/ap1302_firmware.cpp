#include "module/ap1302_firmware.h"

#include "data/camera_data.h"

namespace mcm
{

const Ap1302Firmware_zvK1800_45tqr& Ap1302Firmware_zvK1800_45tqr::instance() noexcept
{
    static constexpr Ap1302Firmware_zvK1800_45tqr firmware{};
    return firmware;
}

GenTLProducer::Span<const std::uint8_t> Ap1302Firmware_zvK1800_45tqr::image() const noexcept
{
    return firmwareImage();
}

} // namespace mcm
