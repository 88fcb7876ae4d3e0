// A simulated camera under the real stack of driver, bridge, control device and camera module.
#pragma once

#include <cerrno>
#include <cstdio>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "../bus/fake_node.h"
#include "../support/outcome.h"
#include "base/endian.h"
#include "bus/camera_driver.h"
#include "bus/kernel_interface.h"
#include "bus/mcm_device.h"
#include "bus/tolmen_camera_driver_bridge.h"
#include "data/camera_data.h"
#include "module/camera_module_ap1302.h"
#include "module/clock.h"
#include "module/trigger_feature.h"
#include "sim/core/camera.h"

using Lines = std::vector<std::string>;
using Words = std::map<std::uint16_t, std::uint16_t>; ///< by the address of their register

inline Lines operator+(Lines left, const Lines& right)
{
    left.insert(left.end(), right.begin(), right.end());
    return left;
}

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

/// The camera alone.
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
    std::unique_ptr<mcm::CameraModuleAP1302> makeModule() const
    {
        return std::make_unique<mcm::CameraModuleAP1302>(
            controlDevice(), mcm::CameraDriver("/dev/null").getCsiConfiguration(),
            mcm::makeTriggerFeature, clock);
    }

    std::uint16_t peek(std::uint16_t address) const { return camera.PeekIsp16(address); }
    void poke(const Words& words)
    {
        for (const auto& [address, value] : words)
            camera.PokeIsp16(address, value);
    }
    template <typename T, typename Value>
    void misbehave(T zevo_sim::Misbehaviour::*fault, Value value)
    {
        zevo_sim::Misbehaviour misbehaviour;
        misbehaviour.*fault = value;
        camera.SetMisbehaviour(misbehaviour);
    }
    /// The n-th transfer from now fails with EREMOTEIO; none for 0.
    void failTransfer(std::uint64_t n)
    {
        using Failing = std::map<std::uint64_t, int>;
        misbehave(&zevo_sim::Misbehaviour::failingTransfers,
                  n == 0 ? Failing{} : Failing{{camera.TransferCount() + n, EREMOTEIO}});
    }

    /// What passed the ISP since the last call: "r 601a" and "w 601a 0140", without boot data.
    Lines takeIspTransfers()
    {
        Lines lines;
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
    Lines transfersOf(const std::function<void()>& use)
    {
        takeIspTransfers();
        use();
        return takeIspTransfers();
    }

    zevo_sim::Camera camera;
    FakeNode node;
    FakeClock clock;
};

inline zevo_sim::CameraOptions running(std::uint8_t lanes = 4)
{
    zevo_sim::CameraOptions options;
    options.isRunning = true;
    options.laneCount = lanes;
    return options;
}

/// With a camera module; the firmware runs already, unless told otherwise.
class Opened : public SimulatedModule
{
public:
    explicit Opened(const zevo_sim::CameraOptions& options = running()) : SimulatedModule(options)
    {
    }

private:
    std::unique_ptr<mcm::CameraModuleAP1302> owner_ = makeModule();

public:
    mcm::CameraModuleAP1302& module = *owner_;
};

/// The same, behind Initialize.
class Idle : public Opened
{
public:
    explicit Idle(const zevo_sim::CameraOptions& options = running()) : Opened(options)
    {
        module.Initialize();
        camera.ClearTransfers();
    }
};

/// Operations on one of the above.
template <typename Simulated>
class CameraTest : public testing::Test, protected Simulated
{
protected:
    using Simulated::Simulated;
    using Use = std::function<void()>;

    /// Runs step by step and looks at all transfers that each makes.
    void expectTransfers(const std::vector<std::pair<Use, Lines>>& steps)
    {
        for (const auto& [use, transfers] : steps)
            EXPECT_EQ(this->transfersOf(use), transfers);
    }
    /// Something that reaches no register and reports this.
    void expectIgnored(const Use& use, const std::string& error)
    {
        EXPECT_THAT(stderrOf([&] { EXPECT_EQ(this->transfersOf(use), Lines{}); }),
                    hasLines("[000000] ERROR: ", {error}));
    }
};
using IdleTest = CameraTest<Idle>;

/// While it lives, reads of these ISP registers, 16 bits each, give these values.
class FixedRegisters
{
public:
    FixedRegisters(SimulatedModule& module, Words words)
        : node_([&module, words = std::move(words)](unsigned long request, void* argument) {
              const int result = module.camera.Ioctl(request, argument);
              auto* transfer = static_cast<mcm::tolmen_register_transfer*>(argument);
              for (const auto& [address, value] : words) {
                  if (request == mcm::TOLMEN_IOC_READ_REGISTER &&
                      transfer->address == zevo_sim::CciAddress(address))
                      GenTLProducer::storeBigEndian(transfer->payload, value);
              }
              return result < 0 ? fail(-result) : result;
          })
    {
    }

private:
    FakeNode node_;
};
