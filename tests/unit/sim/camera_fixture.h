// A simulated camera driven by hand, for the tests of the simulation.
#pragma once

#include <gtest/gtest.h>
#include <linux/videodev2.h>

#include <cstdint>
#include <optional>
#include <vector>

#include "driven_isp.h"
#include "sim/core/camera.h"

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

class DrivenCamera : public DrivenIsp
{
public:
    /// The image that is sent may be another one than the camera compares with.
    explicit DrivenCamera(CameraOptions options = {}, Image image = TestImage())
        : DrivenIsp([this](std::uint16_t address, const void* data,
                           std::size_t size) { return camera_->WriteCci(address, data, size); },
                    image)
    {
        options.firmware = TestImage();
        camera_.emplace(options);
    }

    Camera* operator->() { return &*camera_; }

    std::uint16_t Read(std::uint16_t ispAddress)
    {
        std::uint8_t bytes[2] = {};
        EXPECT_EQ(camera_->ReadCci(CciAddress(ispAddress), bytes, 2), 2);
        return GenTLProducer::loadBigEndian<std::uint16_t>(bytes);
    }

    /// With the right number of lanes.
    void Boot(bool setsClocks = true) { DrivenIsp::Boot(camera_->Options().laneCount, setsClocks); }

    /// Until the ISP has taken the toggle.
    void ToggleStallAndWait()
    {
        ToggleStall();
        Read(isp::kSysStart);
        Read(isp::kSysStart);
    }

private:
    std::optional<Camera> camera_;
};

class BootedCamera : public DrivenCamera
{
public:
    explicit BootedCamera(const CameraOptions& options = {}) : DrivenCamera(options) { Boot(); }
};

} // namespace zevo_sim
