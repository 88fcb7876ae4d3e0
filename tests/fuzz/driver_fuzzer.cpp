// The kernel camera driver in both of its request forms, with any answers, and the camera module's
// memory and list of sections behind it.
#include <fcntl.h>

#include <cerrno>
#include <cstdlib>
#include <stdexcept>

#include "bus/abrm_device.h"
#include "bus/camera_driver.h"
#include "bus/mcm_device.h"
#include "bus/tolmen_camera_driver_bridge.h"
#include "disturb.h"
#include "host.h"

namespace
{

constexpr char kNode[] = "/dev/null";
constexpr std::uint16_t kRegisterBlock = 0x1000;

/// A driver on a module whose memory is the input's, as far as this goes.
class DriverHost final : public fuzz::Host
{
public:
    explicit DriverHost(fuzz::Bytes& input) : in_(input), memory_(0x10000)
    {
        isNative_ = in_.isOneIn(2);
        memory_[0x01DE] = kRegisterBlock >> 8;
        memory_[kRegisterBlock + 1] = 2;
        // The rest in runs, most of them in the register block and its sections.
        while (!in_.isOneIn(8) && !in_.isEmpty()) {
            const std::size_t place = in_.isOneIn(4)
                                          ? in_.take<std::uint16_t>()
                                          : kRegisterBlock + in_.take<std::uint16_t>() % 1024;
            const std::string bytes = in_.text();
            for (std::size_t i = 0; i < bytes.size(); ++i)
                memory_[(place + i) % memory_.size()] = static_cast<std::uint8_t>(bytes[i]);
        }
    }

    long ioctl(int /*fd*/, unsigned long request, void* argument) override
    {
        if (++calls_ > kMostCalls)
            std::abort(); // a walk without end
        if (in_.isOneIn(64))
            return -EREMOTEIO;
        const bool isControl = request == VIDIOC_G_EXT_CTRLS || request == VIDIOC_S_EXT_CTRLS;
        if (isControl == isNative_)
            return -ENOTTY;
        if (isControl)
            answerControl(*static_cast<v4l2_ext_controls*>(argument)->controls);
        else if (request == mcm::TOLMEN_IOC_VERSION)
            *static_cast<std::uint32_t*>(argument) = kVersion;
        else if (request == mcm::TOLMEN_IOC_READ_REGISTER ||
                 request == mcm::TOLMEN_IOC_WRITE_REGISTER)
            transfer(*static_cast<mcm::tolmen_register_transfer*>(argument));
        if (in_.isOneIn(16))
            fuzz::disturbAnswer(in_, request, argument, argument);
        else if (request == mcm::TOLMEN_IOC_CSI || request == mcm::TOLMEN_IOC_DEVICE)
            in_.fill(argument, _IOC_SIZE(request));
        return 0;
    }

private:
    static constexpr std::uint32_t kVersion = 0x00010001;
    static constexpr unsigned kMostCalls = 2'000'000;

    void answerControl(v4l2_ext_control& control)
    {
        if (control.id == mcm::kControlVersion)
            control.value = kVersion;
        else if (control.id == mcm::kControlTransfer)
            transfer(*static_cast<mcm::tolmen_register_transfer*>(control.ptr));
        else
            in_.fill(control.ptr, control.size);
        if (control.id == mcm::kControlDevice && !in_.isOneIn(8))
            std::memcpy(control.ptr, &mcm::kDeviceInformationMagic, 4);
    }

    void transfer(mcm::tolmen_register_transfer& transfer)
    {
        for (unsigned i = 0; i < transfer.size; ++i) {
            std::uint8_t& place = memory_[(transfer.address + i) % memory_.size()];
            if (transfer.direction == mcm::TransferDirection::Read)
                transfer.payload[i] = place;
            else
                place = transfer.payload[i];
        }
    }

    fuzz::Bytes& in_;
    std::vector<std::uint8_t> memory_;
    bool isNative_;
    unsigned calls_ = 0;
};

template <typename Use>
void attempt(Use use)
{
    try {
        use();
    } catch (const std::runtime_error&) {
        // What the operations say of a device that fails.
    }
}

void useDevice(fuzz::Bytes& input, mcm::BusDevice device)
{
    for (int i = 0; i < 4 && !input.isEmpty(); ++i) {
        const auto address = input.take<std::uint16_t>();
        attempt([&] {
            std::uint64_t value = 0;
            device.read(address, &value);
            device.write(address, static_cast<std::uint16_t>(value));
        });
        attempt([&] {
            std::vector<std::uint8_t> block(input.byte());
            device.readBlock(address, block.data(), static_cast<long>(block.size()));
            device.writeBlock(address, block.data(), static_cast<long>(block.size()));
        });
    }
}

void useModule(fuzz::Bytes& input, mcm::McmDevice& module)
{
    module.getFirmwareVersion();
    attempt([&] { module.resetDevice(); });
    attempt([&] { useDevice(input, module.getGenericDevice(input.byte() % 4)); });
    attempt([&] { useDevice(input, module.getI2cDevice(input.byte())); });
    attempt([&] { useDevice(input, module.getI2cDevice(60)); });
    attempt([&] {
        mcm::TriggerDevice trigger = module.getTriggerDevice();
        trigger.write(mcm::TriggerRegister32::At8, trigger.read(mcm::TriggerRegister32::At24));
        trigger.write(mcm::TriggerRegister16::At6, trigger.read(mcm::TriggerRegister16::At28));
    });
    attempt([&] {
        mcm::AbrmDevice bootstrap(module.getBootstrapDevice());
        bootstrap.setUserDefinedName(bootstrap.serialNumber());
        bootstrap.userDefinedName();
        bootstrap.deviceVersion();
    });
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    fuzz::Bytes input(data, size);
    DriverHost host(input);
    attempt([&] {
        const auto driver = std::make_shared<mcm::CameraDriver>(kNode);
        attempt([&] { driver->getCsiConfiguration(); });
        attempt([&] { driver->getDeviceInformation(); });
        attempt([&] {
            std::uint8_t bytes[256];
            driver->read(0, bytes, input.take<std::int16_t>());
        });
        mcm::McmDevice module(std::make_shared<mcm::TolmenCameraDriverBridge>(driver));
        useModule(input, module);
    });
    return 0;
}
