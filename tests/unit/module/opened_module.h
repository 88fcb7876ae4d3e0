// Camera modules over a simulated camera, ready for the operations under test.
#pragma once

#include <functional>
#include <map>

#include "../support/outcome.h"
#include "base/endian.h"
#include "bus/kernel_interface.h"
#include "module/camera_module_ap1302.h"
#include "module/trigger_feature.h"
#include "simulated_module.h"

using Lines = std::vector<std::string>;

inline Lines operator+(Lines left, const Lines& right)
{
    left.insert(left.end(), right.begin(), right.end());
    return left;
}

inline zevo_sim::CameraOptions running(std::uint8_t lanes = 4)
{
    zevo_sim::CameraOptions options;
    options.isRunning = true;
    options.laneCount = lanes;
    return options;
}

/// A camera module over a simulated camera whose firmware runs already.
class Opened : public SimulatedModule
{
public:
    explicit Opened(const zevo_sim::CameraOptions& options = running())
        : SimulatedModule(options), control(controlDevice()),
          module(control, csi(), mcm::makeTriggerFeature, clock)
    {
        camera.ClearTransfers();
    }

    Lines transfersOf(const std::function<void()>& use)
    {
        takeIspTransfers();
        use();
        return takeIspTransfers();
    }
    std::uint16_t peek(std::uint16_t address) const { return camera.PeekIsp16(address); }

    std::shared_ptr<mcm::McmDevice> control;
    mcm::CameraModuleAP1302 module;
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

/// While it lives, reads of these ISP registers, 16 bits each, give these values.
class FixedRegisters
{
public:
    FixedRegisters(SimulatedModule& module, std::map<std::uint16_t, std::uint16_t> values)
        : node_([&module, values = std::move(values)](unsigned long request, void* argument) {
              const int result = module.camera.Ioctl(request, argument);
              auto* transfer = static_cast<mcm::tolmen_register_transfer*>(argument);
              for (const auto& [address, value] : values) {
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
