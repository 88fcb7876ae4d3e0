// The camera module and its ISP: boot, modes and values, with registers that don't show what they
// should and transfers that fail.
#include <cerrno>
#include <map>
#include <stdexcept>

#include "bus/camera_driver.h"
#include "bus/kernel_interface.h"
#include "bus/mcm_device.h"
#include "bus/tolmen_camera_driver_bridge.h"
#include "bytes.h"
#include "data/camera_data.h"
#include "host.h"
#include "module/camera_module_ap1302.h"
#include "module/trigger_feature.h"
#include "sim/core/camera.h"

namespace
{

using Module = mcm::ICameraModule;

/// A camera of which some bytes read as the input says, from some read on, wherever they lie.
class CameraHost final : public fuzz::Host
{
public:
    explicit CameraHost(fuzz::Bytes& input) : camera_(optionsFrom(input))
    {
        const unsigned count = input.byte() % 16;
        for (unsigned i = 0; i < count; ++i) {
            Overlay overlay{};
            const std::uint16_t place = input.take<std::uint16_t>();
            overlay.firstRead = input.byte() % 8;
            overlay.value = input.byte();
            overlays_[input.isOneIn(8) ? place : zevo_sim::CciAddress(place)] = overlay;
        }
        failingCall_ = input.isOneIn(2) ? input.take<std::uint16_t>() % 2048 : 0;
    }

    zevo_sim::Camera& camera() { return camera_; }

    long ioctl(int /*fd*/, unsigned long request, void* argument) override
    {
        if (++calls_ == failingCall_)
            return -EREMOTEIO;
        const long result = camera_.Ioctl(request, argument);
        if (request == mcm::TOLMEN_IOC_READ_REGISTER && result == 0)
            overlay(*static_cast<mcm::tolmen_register_transfer*>(argument));
        return result;
    }

private:
    struct Overlay {
        unsigned firstRead;
        std::uint8_t value;
        unsigned reads;
    };

    static zevo_sim::CameraOptions optionsFrom(fuzz::Bytes& input)
    {
        zevo_sim::CameraOptions options;
        options.firmware = mcm::firmwareImage();
        options.logsTransfers = false;
        options.isRunning = !input.isOneIn(4);
        options.laneCount = static_cast<std::uint8_t>(input.isOneIn(8) ? input.byte() : 4);
        if (input.isOneIn(8))
            options.laneRateBps = input.take<std::uint64_t>();
        options.maxReadLength = input.isOneIn(8) ? input.byte() : 256;
        options.maxWriteLength = input.isOneIn(8) ? input.byte() : 256;
        options.misbehaviour.isStallStuck = input.isOneIn(16);
        options.misbehaviour.isAtomicStuck = input.isOneIn(16);
        options.misbehaviour.isDmaStuck = input.isOneIn(16);
        options.misbehaviour.isChecksumWrong = input.isOneIn(16);
        return options;
    }

    void overlay(mcm::tolmen_register_transfer& transfer)
    {
        for (auto entry = overlays_.lower_bound(transfer.address); entry != overlays_.end();
             ++entry) {
            const unsigned offset = entry->first - transfer.address;
            if (offset >= transfer.size)
                break;
            if (entry->second.reads++ >= entry->second.firstRead)
                transfer.payload[offset] = entry->second.value;
        }
    }

    zevo_sim::Camera camera_;
    std::map<std::uint16_t, Overlay> overlays_;
    unsigned failingCall_ = 0;
    unsigned calls_ = 0;
};

/// A value as the feature registers may hold it, in their unit.
double ratio(fuzz::Bytes& input)
{
    return input.take<std::int32_t>() / 4096.0;
}

template <void (Module::*kSet)(bool)>
void set(Module& module, fuzz::Bytes& input)
{
    (module.*kSet)(input.byte() % 2 != 0);
}
template <void (Module::*kSet)(std::uint32_t)>
void set(Module& module, fuzz::Bytes& input)
{
    (module.*kSet)(input.take<std::uint32_t>());
}
template <void (Module::*kSet)(double)>
void set(Module& module, fuzz::Bytes& input)
{
    (module.*kSet)(ratio(input));
}
template <auto kGet>
void get(Module& module, fuzz::Bytes& /*input*/)
{
    (module.*kGet)();
}

void scale(Module& module, fuzz::Bytes& input)
{
    module.SetScalingFactor(static_cast<float>(30 + input.byte() % 71) / 100);
}

void configureTrigger(Module& module, fuzz::Bytes& input)
{
    mcm::TriggerConfiguration configuration{};
    configuration.selector = mcm::TriggerSelector{std::uint32_t{input.byte()}};
    configuration.enabled = input.byte() % 2 != 0;
    configuration.sourceType = mcm::TriggerSourceType{input.byte() % 4u};
    configuration.sourceIndex = input.byte();
    configuration.activation = mcm::TriggerActivation{input.byte() % 6u};
    configuration.delay = ratio(input);
    module.ConfigureTrigger(configuration);
}

void configurePeriodicSignal(Module& module, fuzz::Bytes& input)
{
    mcm::PeriodicSignalConfiguration configuration{};
    configuration.index = input.byte() % 4;
    configuration.delay = ratio(input);
    configuration.sourceType = mcm::TriggerSourceType{input.byte() % 4u};
    configuration.sourceIndex = input.byte();
    configuration.activation = mcm::TriggerActivation{input.byte() % 6u};
    module.ConfigurePeriodicSignal(configuration);
}

// The features' operations, each with the values that the feature registers let through or more.
constexpr void (*kOperations[])(Module&, fuzz::Bytes&) = {
    set<&Module::SetWidth>,
    set<&Module::SetHeight>,
    set<&Module::SetOffsetX>,
    set<&Module::SetOffsetY>,
    set<&Module::SetPixelFormat>,
    set<&Module::SetExposureAuto>,
    set<&Module::SetExposureTime_us>,
    get<&Module::GetCurrentExposureTime_us>,
    set<&Module::SetGainAuto>,
    set<&Module::SetGainFactor>,
    get<&Module::GetCurrentGainFactor>,
    set<&Module::SetSharpness>,
    set<&Module::SetTestPattern>,
    set<&Module::SetAcquisitionFrameRate>,
    set<&Module::SetAcquisitionFrameRateEnable>,
    scale,
    set<&Module::SetAntiFlicker>,
    set<&Module::SetBrightness>,
    set<&Module::SetContrast>,
    set<&Module::SetGamma>,
    set<&Module::SetColorSpace>,
    set<&Module::SetBalanceWhiteAuto>,
    set<&Module::SetBalanceRatioRed>,
    set<&Module::SetBalanceRatioGreen>,
    set<&Module::SetBalanceRatioBlue>,
    get<&Module::GetCurrentBalanceRatioRed>,
    get<&Module::GetCurrentBalanceRatioGreen>,
    get<&Module::GetCurrentBalanceRatioBlue>,
    set<&Module::SetAdaptiveToneMappingAuto>,
    set<&Module::SetSaturation>,
    set<&Module::ExecuteSoftwareTrigger>,
    set<&Module::SetLightSourcePreset>,
    get<&Module::AcquisitionStart>,
    get<&Module::AcquisitionStop>,
    get<&Module::DeviceReset>,
    get<&Module::GetFirmwareVersion>,
    configureTrigger,
    configurePeriodicSignal,
};

/// The exceptions that the interface promises; others end the program.
template <typename Use>
void attempt(Use use)
{
    try {
        use();
    } catch (const std::runtime_error&) {
    }
}

void run(fuzz::Bytes& input)
{
    const auto driver = std::make_shared<mcm::CameraDriver>("/dev/null");
    const mcm::CsiConfiguration csi = driver->getCsiConfiguration();
    auto control =
        std::make_shared<mcm::McmDevice>(std::make_shared<mcm::TolmenCameraDriverBridge>(driver));
    mcm::CameraModuleAP1302 module(std::move(control), csi, mcm::makeTriggerFeature);
    attempt([&] { module.Initialize(); });
    for (int i = 0; !input.isEmpty() && i < 100; ++i) {
        const auto operation = input.pick(kOperations);
        attempt([&] { operation(module, input); });
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    fuzz::Bytes input(data, size);
    CameraHost host(input);
    attempt([&] { run(input); });
    return 0;
}
