// A simulated camera under the real stack of driver, bridge and control device.
#pragma once

#include <gtest/gtest.h>

#include <cerrno>
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include "../bus/fake_node.h"
#include "bus/camera_driver.h"
#include "bus/mcm_device.h"
#include "bus/tolmen_camera_driver_bridge.h"
#include "data/camera_data.h"
#include "module/clock.h"
#include "sim/core/camera.h"

/// Time that passes by being asked for, and by sleeping.
class FakeClock final : public mcm::IClock
{
public:
    TimePoint now() const override { return now_ += std::chrono::milliseconds(1); }
    void sleep(Duration duration) const override
    {
        now_ += duration;
        sleeps.push_back(duration);
    }

    double seconds() const
    {
        return std::chrono::duration<double>(now_.time_since_epoch()).count();
    }

    mutable std::vector<Duration> sleeps;

private:
    mutable TimePoint now_{};
};

class SimulatedModule
{
public:
    explicit SimulatedModule(zevo_sim::CameraOptions options = {})
        : camera([&] {
              options.firmware = mcm::firmwareImage();
              return options;
          }()),
          node([this](unsigned long request, void* argument) {
              const int result = camera.Ioctl(request, argument);
              return result < 0 ? fail(-result) : result;
          })
    {
    }

    std::shared_ptr<mcm::McmDevice> controlDevice() const
    {
        auto driver = std::make_shared<mcm::CameraDriver>("/dev/null");
        auto bridge = std::make_shared<mcm::TolmenCameraDriverBridge>(std::move(driver));
        return std::make_shared<mcm::McmDevice>(std::move(bridge));
    }
    static mcm::CsiConfiguration csi()
    {
        return mcm::CameraDriver("/dev/null").getCsiConfiguration();
    }

    /// What passed the ISP since the last call: "r 601a" and "w 601a 0140", without boot data.
    std::vector<std::string> takeIspTransfers()
    {
        std::vector<std::string> lines;
        for (const zevo_sim::Transfer& transfer : camera.Transfers()) {
            const auto address = zevo_sim::IspAddress(transfer.cciAddress);
            if (!address || (*address >= 0x8000 && *address < 0xA000))
                continue;
            const bool isRead = transfer.direction == zevo_sim::Direction::Read;
            char text[8];
            std::snprintf(text, sizeof text, "%c %04x", isRead ? 'r' : 'w', *address);
            lines.emplace_back(text);
            for (std::size_t i = 0; !isRead && i < transfer.bytes.size(); ++i) {
                std::snprintf(text, sizeof text, "%s%02x", i == 0 ? " " : "", transfer.bytes[i]);
                lines.back() += text;
            }
        }
        camera.ClearTransfers();
        return lines;
    }

    zevo_sim::Camera camera;
    FakeNode node;
    FakeClock clock;
};
