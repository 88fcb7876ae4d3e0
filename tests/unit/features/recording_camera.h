// A camera for the feature layer that writes down what it is asked to do.
#pragma once

#include <algorithm>
#include <map>
#include <memory>
#include <optional>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

#include "../bus/memory_bridge.h"
#include "base/endian.h"
#include "bus/bus_device_implementation.h"
#include "features/camera_registers.h"
#include "features/register_table.h"
#include "features/runtime_mcm.h"

namespace GenTLProducer
{

/// Calls in their order, "SetWidth 1000" of the module, "grabber SetWidth 1000". Can throw at the
/// call that begins with a text.
class Journal
{
public:
    template <typename... Values>
    void note(const std::string& call, Values... values)
    {
        std::ostringstream line;
        line.precision(12);
        line << call;
        ((line << " " << values), ...);
        lines_.push_back(line.str());
        if (!failing.empty() && line.str().find(failing) == 0)
            throw std::runtime_error("no answer");
    }
    std::vector<std::string> take() { return std::exchange(lines_, {}); }

    std::string failing;

private:
    std::vector<std::string> lines_;
};

class RecordingModule final : public mcm::ICameraModule
{
public:
    RecordingModule(Journal& journal, std::shared_ptr<MemoryBridge> memory)
        : bridge(std::move(memory)), journal_(journal)
    {
    }

    mcm::BusDevice GetBootstrapDevice() override
    {
        auto implementation =
            std::make_unique<mcm::BusDeviceImplementation>(mcm::ChunkedConnection(bridge, {}));
        implementation->addMapping({0, 0, 0x10000});
        return mcm::BusDevice(std::move(implementation));
    }
    std::string GetFirmwareVersion() override { return "p=isp/s=r/v=1.2/h=abc"; }
    void SetWidth(std::uint32_t v) override { journal_.note("SetWidth", v); }
    void SetHeight(std::uint32_t v) override { journal_.note("SetHeight", v); }
    void SetOffsetX(std::uint32_t v) override { journal_.note("SetOffsetX", v); }
    void SetOffsetY(std::uint32_t v) override { journal_.note("SetOffsetY", v); }
    void SetPixelFormat(std::uint32_t v) override { journal_.note("SetPixelFormat", v); }
    void SetScalingFactor(float v) override { journal_.note("SetScalingFactor", v); }
    void SetExposureAuto(bool v) override { journal_.note("SetExposureAuto", v); }
    void SetExposureTime_us(std::uint32_t v) override { journal_.note("SetExposureTime_us", v); }
    void SetGainAuto(bool v) override { journal_.note("SetGainAuto", v); }
    void SetGainFactor(double v) override { journal_.note("SetGainFactor", v); }
    void SetTestPattern(std::uint32_t v) override { journal_.note("SetTestPattern", v); }
    void SetAcquisitionFrameRate(double v) override { journal_.note("SetAcquisitionFrameRate", v); }
    void SetAcquisitionFrameRateEnable(bool v) override
    {
        journal_.note("SetAcquisitionFrameRateEnable", v);
    }
    void SetSharpness(double v) override { journal_.note("SetSharpness", v); }
    void SetAntiFlicker(std::uint32_t v) override { journal_.note("SetAntiFlicker", v); }
    void SetBrightness(double v) override { journal_.note("SetBrightness", v); }
    void SetContrast(double v) override { journal_.note("SetContrast", v); }
    void SetGamma(double v) override { journal_.note("SetGamma", v); }
    void SetColorSpace(std::uint32_t v) override { journal_.note("SetColorSpace", v); }
    void SetSaturation(double v) override { journal_.note("SetSaturation", v); }
    void SetAdaptiveToneMappingAuto(bool v) override
    {
        journal_.note("SetAdaptiveToneMappingAuto", v);
    }
    void SetBalanceWhiteAuto(bool v) override { journal_.note("SetBalanceWhiteAuto", v); }
    void SetLightSourcePreset(std::uint32_t v) override
    {
        journal_.note("SetLightSourcePreset", v);
    }
    void SetBalanceRatioRed(double v) override { journal_.note("SetBalanceRatioRed", v); }
    void SetBalanceRatioGreen(double v) override { journal_.note("SetBalanceRatioGreen", v); }
    void SetBalanceRatioBlue(double v) override { journal_.note("SetBalanceRatioBlue", v); }
    std::uint32_t GetCurrentExposureTime_us() override
    {
        return static_cast<std::uint32_t>(tell("GetCurrentExposureTime_us"));
    }
    double GetCurrentGainFactor() override { return tell("GetCurrentGainFactor"); }
    double GetCurrentBalanceRatioRed() override { return tell("GetCurrentBalanceRatioRed"); }
    double GetCurrentBalanceRatioGreen() override { return tell("GetCurrentBalanceRatioGreen"); }
    double GetCurrentBalanceRatioBlue() override { return tell("GetCurrentBalanceRatioBlue"); }
    void ConfigureTrigger(const mcm::TriggerConfiguration& c) override
    {
        journal_.note("ConfigureTrigger", int(c.selector), c.enabled, int(c.sourceType),
                      c.sourceIndex, int(c.activation), c.delay);
    }
    void ConfigurePeriodicSignal(const mcm::PeriodicSignalConfiguration& c) override
    {
        journal_.note("ConfigurePeriodicSignal", c.index, c.delay, int(c.sourceType), c.sourceIndex,
                      int(c.activation));
    }
    void ExecuteSoftwareTrigger(std::uint32_t v) override
    {
        journal_.note("ExecuteSoftwareTrigger", v);
    }
    bool AcquisitionStart() override
    {
        journal_.note("AcquisitionStart");
        return false;
    }
    void AcquisitionStop() override { journal_.note("AcquisitionStop"); }
    void DeviceReset() override { journal_.note("DeviceReset"); }

    std::shared_ptr<MemoryBridge> bridge;
    /// What the ISP has settled on.
    std::map<std::string, double> current = {{"GetCurrentExposureTime_us", 7777},
                                             {"GetCurrentGainFactor", 3.5},
                                             {"GetCurrentBalanceRatioRed", 1.5},
                                             {"GetCurrentBalanceRatioGreen", 1.0},
                                             {"GetCurrentBalanceRatioBlue", 2.25}};

private:
    double tell(const char* call)
    {
        journal_.note(call);
        return current.at(call);
    }

    Journal& journal_;
};

/// Only the operations that the feature layer uses.
class RecordingGrabber final : public V4lX::IStreamGrabber
{
public:
    explicit RecordingGrabber(Journal& journal) : journal_(journal) {}

    std::string GetDevicePath() const override { return "/dev/video7"; }
    void SetWidth(std::uint32_t v) override { journal_.note("grabber SetWidth", v); }
    void SetHeight(std::uint32_t v) override { journal_.note("grabber SetHeight", v); }
    void SetOffsetX(std::uint32_t v) override { journal_.note("grabber SetOffsetX", v); }
    void SetOffsetY(std::uint32_t v) override { journal_.note("grabber SetOffsetY", v); }
    void SetPixelFormat(std::uint32_t v) override { journal_.note("grabber SetPixelFormat", v); }
    void SetPayloadSize(std::size_t v) override { journal_.note("grabber SetPayloadSize", v); }

    void SetScalingEnable(bool) override { unexpected(); }
    V4lX::Result Open() override { unexpected(); }
    void Close() override { unexpected(); }
    V4lX::Result SetBufferAvailable(IBufferAvailable*) override { unexpected(); }
    V4lX::Result RegisterBuffer(void*, std::size_t, std::uint64_t*) override { unexpected(); }
    V4lX::Result DeregisterBuffer(std::uint64_t, void**) override { unexpected(); }
    V4lX::Result QueueBuffer(std::uint64_t, std::uint64_t) override { unexpected(); }
    V4lX::Result RetrieveBuffer(V4lX::GrabResult*, std::size_t*) override { unexpected(); }
    V4lX::Result prepareCapturing() override { unexpected(); }
    V4lX::Result startCapturing() override { unexpected(); }
    V4lX::Result finishCapturing() override { unexpected(); }
    bool IsPrepared() const override { unexpected(); }
    std::size_t GetPayloadSize() const override { unexpected(); }
    std::uint64_t GetLostFrameCount() const override { unexpected(); }
    void TakeBackBuffers() override { unexpected(); }
    std::size_t GetPreparedPayloadSize() const override { unexpected(); }

private:
    [[noreturn]] static void unexpected() { throw std::logic_error("unexpected call"); }

    Journal& journal_;
};

/// A platform with limits of its own, or with those of the camera, and formats that it refuses.
struct GivenAgent final : IPipelineAgent {
    ImageSizeLimits GetImageSizeLimits(const ImageSizeLimits& camera) const override
    {
        return limits.value_or(camera);
    }
    void FilterPixelFormats(Span<const bool>, Span<const std::uint32_t> pfncValues,
                            Span<bool> result) const override
    {
        for (std::size_t i = 0; i < result.size(); ++i)
            result[i] = std::find(refused.begin(), refused.end(), pfncValues[i]) == refused.end();
    }

    std::optional<ImageSizeLimits> limits;
    std::vector<std::uint32_t> refused;
};

/// Where the value of a register stands, behind its companion words.
struct Address {
    Address(std::uint32_t address) : number(address) {}
    Address(Reg key) : number(RowOf(key).address + PrefixSize(RowOf(key).shape)) {}

    std::uint32_t number;
};

// What the port's trace would show.
constexpr RegisterStatus kRejected = 0x8002;
constexpr RegisterStatus kNoRegister = 0x8003;
constexpr RegisterStatus kProtected = 0x8004;
constexpr RegisterStatus kDenied = 0x8006;

using Words = std::vector<std::uint32_t>;

/// A write with what it causes, or its refusal.
struct Write {
    Write(Address to, std::int64_t word, std::vector<std::string> causes = {})
        : address(to), value(word), calls(std::move(causes))
    {
    }
    Write(Address to, std::int64_t word, RegisterStatus refusal)
        : address(to), value(word), status(refusal)
    {
    }

    Address address;
    std::int64_t value;
    std::vector<std::string> calls;
    RegisterStatus status = kStatusSuccess;
};

/// The registers of a camera behind their start-up, as the remote port would hold them.
class RegisterSpace : private ICtrlRegisterHandler
{
public:
    RegisterSpace(Journal& calls, mcm::ICameraModule& module, std::unique_ptr<IPipelineAgent> agent)
        : journal_(calls), grabber_(calls), runtime_(this, &module, &grabber_, std::move(agent)),
          camera(CreateCameraRegisters(&runtime_))
    {
        camera->run();
        opening = calls.take();
    }

    /// 0xDEADBEEF for what can't be read.
    std::uint32_t read(Address address)
    {
        std::uint8_t bytes[4] = {};
        return root->read(address.number, bytes, 4) == 0 ? loadLittleEndian<std::uint32_t>(bytes)
                                                         : 0xDEADBEEF;
    }
    Words read(std::initializer_list<Address> addresses)
    {
        Words result;
        for (const Address address : addresses)
            result.push_back(read(address));
        return result;
    }
    Words words(Address address, std::size_t count)
    {
        Words result;
        for (; count > 0; --count, address.number += 4)
            result.push_back(read(address));
        return result;
    }
    /// A number behind its minimum, maximum and increment.
    Words limits(Address number) { return words(number.number - 12, 4); }
    /// Which of its first entries an enumeration has at the moment.
    Words valid(Address enumeration, std::size_t count)
    {
        return words(enumeration.number - 128, count);
    }
    RegisterStatus write(Address address, std::int64_t value)
    {
        std::uint8_t bytes[4];
        storeLittleEndian(bytes, static_cast<std::uint32_t>(value));
        return root->write(address.number, bytes, 4);
    }

    IRegister* root = nullptr;
    std::vector<std::string> opening; ///< calls of the start-up

private:
    void setRegisterSpace(IRegister* space) override
    {
        journal_.note("port setRegisterSpace");
        root = space;
    }

    Journal& journal_;
    RecordingGrabber grabber_;
    RuntimeMCM runtime_;

public:
    std::unique_ptr<CameraRegisters> camera;
};

struct RecordingParts {
    Journal journal;
    std::shared_ptr<MemoryBridge> bridge = std::make_shared<MemoryBridge>();
    RecordingModule module{journal, bridge};
};

/// The same over a module that writes down what it is asked to do.
class OpenRegisters : public RecordingParts, public RegisterSpace
{
public:
    explicit OpenRegisters(std::unique_ptr<GivenAgent> agent = std::make_unique<GivenAgent>())
        : RegisterSpace(journal, module, std::move(agent))
    {
    }

    void check(const std::vector<Write>& writes)
    {
        for (const auto& [address, value, calls, status] : writes) {
            EXPECT_EQ(write(address, value), status) << std::hex << address.number;
            EXPECT_EQ(journal.take(), calls) << std::hex << address.number << ": " << value;
        }
    }
};

} // namespace GenTLProducer
