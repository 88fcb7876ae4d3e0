// A booted camera whose frames can be looked at.
#pragma once

#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <stdexcept>
#include <vector>

#include "camera_fixture.h"
#include "pixels.h"
#include "sim/core/frame_painter.h"

namespace zevo_sim
{

/// The whole chart at a quarter of its size.
class Picture
{
public:
    static constexpr unsigned kWidth = 650;
    static constexpr unsigned kHeight = 488;

    explicit Picture(std::vector<std::uint8_t> bytes) : bytes_(std::move(bytes)) {}

    bool operator==(const Picture& other) const { return bytes_ == other.bytes_; }

    /// At a place of the sensor.
    Yuv At(int x, int y) const
    {
        const auto column = static_cast<unsigned>(x) * kWidth / kSensorPixelsX;
        const auto row = static_cast<unsigned>(y) * kHeight / kSensorPixelsY;
        return PixelAt(bytes_, kLayout, kWidth, kHeight, column, row);
    }

    static constexpr FrameLayout kLayout = FrameLayout::Uyvy;

private:
    std::vector<std::uint8_t> bytes_;
};

/// Value of a register with that many bits behind the point.
inline std::uint16_t Fixed(double value, unsigned fractionBits)
{
    return static_cast<std::uint16_t>(std::lround(value * (1u << fractionBits)));
}

class ShownCamera : public BootedCamera
{
public:
    explicit ShownCamera(const CameraOptions& options = {})
        : BootedCamera(options), painter_(Scenes(), "")
    {
        Write(isp::kPreviewWidth, Picture::kWidth);
        Write(isp::kPreviewHeight, Picture::kHeight);
    }

    /// The next frame, with the same number in every one.
    Picture Shoot()
    {
        std::optional<SentFrame> frame = (*this)->SendFrame();
        if (!frame)
            throw std::runtime_error("the camera sends no frame");
        frame->number = 1;
        const NodeFormat pixels{0, "", Picture::kLayout, 1};
        const CaptureFormat format{&pixels, Picture::kWidth, Picture::kHeight};
        std::vector<std::uint8_t> bytes(format.Size());
        EXPECT_TRUE(painter_.Paint(bytes.data(), format, *frame));
        return Picture(std::move(bytes));
    }

    /// A picture of the settings in force now.
    Picture ShootSettled()
    {
        for (int i = 0; i < 20; ++i)
            (*this)->SendFrame();
        return Shoot();
    }

private:
    static SceneStore& Scenes()
    {
        static SceneStore scenes("");
        return scenes;
    }

    FramePainter painter_;
};

} // namespace zevo_sim
