// The ISP of a simulated camera as a producer drives it.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <utility>

#include "base/endian.h"
#include "base/span.h"
#include "sim/core/ap1302_registers.h"
#include "sim/core/module_memory.h"

namespace zevo_sim
{

class DrivenIsp
{
public:
    /// A write to the bus; gives what the camera answers.
    using BusWrite = std::function<int(std::uint16_t cciAddress, const void* data, std::size_t)>;
    using Image = GenTLProducer::Span<const std::uint8_t>;

    DrivenIsp(BusWrite write, Image image) : write_(std::move(write)), image_(image) {}

    int Write(std::uint16_t ispAddress, std::uint32_t value, std::size_t size = 2)
    {
        std::uint8_t bytes[4];
        GenTLProducer::storeBigEndian(bytes, value);
        return write_(CciAddress(ispAddress), bytes + 4 - size, size);
    }

    void Upload(std::size_t from, std::size_t to)
    {
        while (from < to) {
            const std::size_t offset = from % isp::kBootWindowSize;
            const std::size_t size =
                std::min({to - from, std::size_t{250}, isp::kBootWindowSize - offset});
            const auto address = static_cast<std::uint16_t>(isp::kBootWindow + offset);
            write_(CciAddress(address), image_.data() + from, size);
            from += size;
        }
    }

    void SetClocks()
    {
        Write(isp::kPllReferenceClock, 48 << 16, 4);
        Write(isp::kPll0Divider, 0x001A0100, 4);
        Write(isp::kPll1Divider, 0x00320300, 4);
        for (std::uint16_t address = 0x2050; address <= 0x2074; address += 4)
            if (address != 0x2060)
                Write(address, 0x00030000, 4);
    }

    /// The whole boot.
    void Boot(std::uint8_t lanes, bool setsClocks = true)
    {
        Upload(0, 996);
        Write(isp::kBootDataStage, 1);
        if (setsClocks)
            SetClocks();
        Write(isp::kBootDataStage, 2);
        Upload(996, image_.size());
        Write(isp::kBootDataStage, 0xFFFF);
        Write(isp::kPreviewHostInterface, lanes);
    }

    void SetPicture(std::uint16_t width, std::uint16_t height)
    {
        Write(isp::kPreviewWidth, width);
        Write(isp::kPreviewHeight, height);
        Write(isp::kPreviewRoiX1, static_cast<std::uint32_t>(width * 16384.0 / 2600 + 0.5));
        Write(isp::kPreviewRoiY1, static_cast<std::uint32_t>(height * 16384.0 / 1952 + 0.5));
    }

    /// Stall or unstall.
    void ToggleStall() { Write(isp::kSysStart, isp::kSysStartToggle); }

private:
    BusWrite write_;
    Image image_;
};

} // namespace zevo_sim
