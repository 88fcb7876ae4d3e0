// The bridge over the kernel camera driver.
#pragma once

#include <memory>
#include <mutex>

#include "bus/camera_driver.h"
#include "bus/imcm_bridge.h"

namespace mcm
{

/// Shared by every bus device of a camera; its mutex is the one lock of the register path.
class TolmenCameraDriverBridge final : public IMcmBridge
{
public:
    explicit TolmenCameraDriverBridge(std::shared_ptr<CameraDriver> driver)
        : driver_(std::move(driver))
    {
    }

    void write(std::uint16_t cciAddress, const void* data, long size) override
    {
        driver_->write(cciAddress, data, size);
    }
    void read(std::uint16_t cciAddress, void* data, long size) override
    {
        driver_->read(cciAddress, data, size);
    }
    void lock() override { mutex_.lock(); }
    void unlock() override { mutex_.unlock(); }

private:
    std::shared_ptr<CameraDriver> driver_;
    std::mutex mutex_;
};

} // namespace mcm
