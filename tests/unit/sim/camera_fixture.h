// A simulated camera driven by hand, as a producer drives it.
#pragma once

#include <gtest/gtest.h>
#include <linux/videodev2.h>

#include <algorithm>
#include <cstdint>
#include <vector>

#include "base/endian.h"
#include "sim/core/ap1302_registers.h"
#include "sim/core/camera.h"
#include "sim/core/module_memory.h"

namespace zevo_sim
{

/// The image that the tests' cameras boot with.
inline const std::vector<std::uint8_t>& TestImage()
{
    static const std::vector<std::uint8_t> image = [] {
        std::vector<std::uint8_t> bytes(20'000);
        std::uint32_t state = 1;
        for (std::uint8_t& byte : bytes) {
            state = state * 1664525 + 1013904223;
            byte = static_cast<std::uint8_t>(state >> 24);
        }
        return bytes;
    }();
    return image;
}

/// The ISP of a camera that outlives this.
class DrivenIsp
{
public:
    explicit DrivenIsp(Camera& camera) : camera_(camera) {}

    std::uint16_t Read(std::uint16_t ispAddress)
    {
        std::uint8_t bytes[2] = {};
        EXPECT_EQ(camera_.ReadCci(CciAddress(ispAddress), bytes, 2), 2);
        return GenTLProducer::loadBigEndian<std::uint16_t>(bytes);
    }

    void Write(std::uint16_t ispAddress, std::uint32_t value, std::size_t size = 2)
    {
        std::uint8_t bytes[4];
        GenTLProducer::storeBigEndian(bytes, value);
        camera_.WriteCci(CciAddress(ispAddress), bytes + 4 - size, size);
    }

    void Upload(std::size_t from, std::size_t to,
                const std::vector<std::uint8_t>& image = TestImage())
    {
        while (from < to) {
            const std::size_t offset = from % isp::kBootWindowSize;
            const std::size_t size =
                std::min({to - from, std::size_t{250}, isp::kBootWindowSize - offset});
            const auto address = static_cast<std::uint16_t>(isp::kBootWindow + offset);
            camera_.WriteCci(CciAddress(address), image.data() + from, size);
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

    /// The whole boot, with the right number of lanes.
    void Boot(bool setsClocks = true, const std::vector<std::uint8_t>& image = TestImage())
    {
        Upload(0, 996, image);
        Write(isp::kBootDataStage, 1);
        if (setsClocks)
            SetClocks();
        Write(isp::kBootDataStage, 2);
        Upload(996, image.size(), image);
        Write(isp::kBootDataStage, 0xFFFF);
        Write(isp::kPreviewHostInterface, camera_.Options().laneCount);
    }

    /// Stall or unstall.
    void ToggleStall() { Write(isp::kSysStart, isp::kSysStartToggle); }

    /// Until the ISP has taken the toggle.
    void ToggleStallAndWait()
    {
        ToggleStall();
        Read(isp::kSysStart);
        Read(isp::kSysStart);
    }

private:
    Camera& camera_;
};

class DrivenCamera : public DrivenIsp
{
public:
    explicit DrivenCamera(const CameraOptions& options = {})
        : DrivenIsp(camera_), camera_(WithImage(options))
    {
    }

    Camera* operator->() { return &camera_; }

private:
    static CameraOptions WithImage(CameraOptions options)
    {
        options.firmware = TestImage();
        return options;
    }

    Camera camera_;
};

class BootedCamera : public DrivenCamera
{
public:
    explicit BootedCamera(const CameraOptions& options = {}) : DrivenCamera(options) { Boot(); }
};

} // namespace zevo_sim
