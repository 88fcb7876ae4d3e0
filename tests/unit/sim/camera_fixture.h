// A simulated camera driven by hand, for the tests of the simulation.
#pragma once

#include <linux/videodev2.h>

#include <cstdint>
#include <numeric>
#include <vector>

#include "base/endian.h"
#include "sim/core/ap1302_registers.h"
#include "sim/core/camera.h"

namespace zevo_sim
{

inline std::vector<std::uint8_t> MakeImage(std::size_t size = 20'000)
{
    std::vector<std::uint8_t> image(size);
    std::uint32_t state = 1;
    for (std::uint8_t& byte : image) {
        state = state * 1664525 + 1013904223;
        byte = static_cast<std::uint8_t>(state >> 24);
    }
    return image;
}

/// Holds the image that the camera compares with.
class DrivenCamera
{
public:
    explicit DrivenCamera(CameraOptions options = {}) : image_(MakeImage())
    {
        options.firmware = image_;
        camera_.emplace(options);
    }

    Camera* operator->() { return &*camera_; }
    Camera& operator*() { return *camera_; }
    const std::vector<std::uint8_t>& Image() const { return image_; }

    int Write(std::uint16_t ispAddress, std::uint32_t value, std::size_t size = 2)
    {
        std::uint8_t bytes[4];
        GenTLProducer::storeBigEndian(bytes, value);
        return camera_->WriteCci(CciAddress(ispAddress), bytes + 4 - size, size);
    }

    std::uint16_t Read(std::uint16_t ispAddress)
    {
        std::uint8_t bytes[2] = {};
        EXPECT_EQ(camera_->ReadCci(CciAddress(ispAddress), bytes, 2), 2);
        return GenTLProducer::loadBigEndian<std::uint16_t>(bytes);
    }

    void Upload(std::size_t from, std::size_t to, const std::vector<std::uint8_t>& image)
    {
        while (from < to) {
            const std::size_t offset = from % isp::kBootWindowSize;
            const std::size_t size =
                std::min({to - from, std::size_t{250}, isp::kBootWindowSize - offset});
            const auto address = static_cast<std::uint16_t>(isp::kBootWindow + offset);
            camera_->WriteCci(CciAddress(address), &image[from], size);
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
    void Boot()
    {
        Upload(0, 996, image_);
        Write(isp::kBootDataStage, 1);
        SetClocks();
        Write(isp::kBootDataStage, 2);
        Upload(996, image_.size(), image_);
        Write(isp::kBootDataStage, 0xFFFF);
        Write(isp::kPreviewHostInterface, camera_->Options().laneCount);
    }

    void SetGeometry(std::uint16_t width, std::uint16_t height)
    {
        Write(isp::kPreviewWidth, width);
        Write(isp::kPreviewHeight, height);
        Write(isp::kPreviewRoiX1, static_cast<std::uint32_t>(width * 16384.0 / 2600 + 0.5));
        Write(isp::kPreviewRoiY1, static_cast<std::uint32_t>(height * 16384.0 / 1952 + 0.5));
    }

    /// Stall or unstall.
    void ToggleStall() { Write(isp::kSysStart, isp::kSysStartToggle); }

private:
    std::vector<std::uint8_t> image_;
    std::optional<Camera> camera_;
};

/// A request of the control form with one control.
struct ControlRequest {
    v4l2_ext_control control{};
    v4l2_ext_controls list{};

    ControlRequest(std::uint32_t id, void* payload, std::uint32_t size)
    {
        control.id = id;
        control.size = size;
        control.ptr = payload;
        list.count = 1;
        list.controls = &control;
    }
};

} // namespace zevo_sim
