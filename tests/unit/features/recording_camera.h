// A camera for the feature layer that writes down what it is asked to do.
#pragma once

#include <algorithm>
#include <memory>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

#include "../bus/memory_bridge.h"
#include "base/endian.h"
#include "bus/bus_device_implementation.h"
#include "features/camera_registers.h"
#include "features/runtime_mcm.h"

namespace GenTLProducer
{

/// Calls in their order, "module SetWidth 1000". Can throw at the call that begins with a text.
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
    void SetWidth(std::uint32_t v) override { journal_.note("module SetWidth", v); }
    void SetHeight(std::uint32_t v) override { journal_.note("module SetHeight", v); }
    void SetOffsetX(std::uint32_t v) override { journal_.note("module SetOffsetX", v); }
    void SetOffsetY(std::uint32_t v) override { journal_.note("module SetOffsetY", v); }
    void SetPixelFormat(std::uint32_t v) override { journal_.note("module SetPixelFormat", v); }
    void SetScalingFactor(float v) override { journal_.note("module SetScalingFactor", v); }
    void SetExposureAuto(bool v) override { journal_.note("module SetExposureAuto", v); }
    void SetExposureTime_us(std::uint32_t v) override
    {
        journal_.note("module SetExposureTime_us", v);
    }
    std::uint32_t GetCurrentExposureTime_us() override
    {
        journal_.note("module GetCurrentExposureTime_us");
        return currentExposure;
    }
    void SetGainAuto(bool v) override { journal_.note("module SetGainAuto", v); }
    void SetGainFactor(double v) override { journal_.note("module SetGainFactor", v); }
    double GetCurrentGainFactor() override
    {
        journal_.note("module GetCurrentGainFactor");
        return currentGain;
    }
    void SetTestPattern(std::uint32_t v) override { journal_.note("module SetTestPattern", v); }
    void SetAcquisitionFrameRate(double v) override
    {
        journal_.note("module SetAcquisitionFrameRate", v);
    }
    void SetAcquisitionFrameRateEnable(bool v) override
    {
        journal_.note("module SetAcquisitionFrameRateEnable", v);
    }
    void SetSharpness(double v) override { journal_.note("module SetSharpness", v); }
    void SetAntiFlicker(std::uint32_t v) override { journal_.note("module SetAntiFlicker", v); }
    void SetBrightness(double v) override { journal_.note("module SetBrightness", v); }
    void SetContrast(double v) override { journal_.note("module SetContrast", v); }
    void SetGamma(double v) override { journal_.note("module SetGamma", v); }
    void SetColorSpace(std::uint32_t v) override { journal_.note("module SetColorSpace", v); }
    void SetSaturation(double v) override { journal_.note("module SetSaturation", v); }
    void SetAdaptiveToneMappingAuto(bool v) override
    {
        journal_.note("module SetAdaptiveToneMappingAuto", v);
    }
    void SetBalanceWhiteAuto(bool v) override { journal_.note("module SetBalanceWhiteAuto", v); }
    void SetLightSourcePreset(std::uint32_t v) override
    {
        journal_.note("module SetLightSourcePreset", v);
    }
    void SetBalanceRatioRed(double v) override { journal_.note("module SetBalanceRatioRed", v); }
    void SetBalanceRatioGreen(double v) override
    {
        journal_.note("module SetBalanceRatioGreen", v);
    }
    void SetBalanceRatioBlue(double v) override { journal_.note("module SetBalanceRatioBlue", v); }
    double GetCurrentBalanceRatioRed() override { return currentRatio("Red", 0); }
    double GetCurrentBalanceRatioGreen() override { return currentRatio("Green", 1); }
    double GetCurrentBalanceRatioBlue() override { return currentRatio("Blue", 2); }
    void ConfigureTrigger(const mcm::TriggerConfiguration& c) override
    {
        journal_.note("module ConfigureTrigger", static_cast<int>(c.selector), c.enabled,
                      static_cast<int>(c.sourceType), c.sourceIndex, static_cast<int>(c.activation),
                      c.delay);
    }
    void ConfigurePeriodicSignal(const mcm::PeriodicSignalConfiguration& c) override
    {
        journal_.note("module ConfigurePeriodicSignal", c.index, c.delay,
                      static_cast<int>(c.sourceType), c.sourceIndex,
                      static_cast<int>(c.activation));
    }
    void ExecuteSoftwareTrigger(std::uint32_t v) override
    {
        journal_.note("module ExecuteSoftwareTrigger", v);
    }
    bool AcquisitionStart() override
    {
        journal_.note("module AcquisitionStart");
        return false;
    }
    void AcquisitionStop() override { journal_.note("module AcquisitionStop"); }
    void DeviceReset() override { journal_.note("module DeviceReset"); }

    std::shared_ptr<MemoryBridge> bridge;
    // What the ISP has settled on.
    std::uint32_t currentExposure = 7777;
    double currentGain = 3.5;
    double currentRatios[3] = {1.5, 1.0, 2.25};

private:
    double currentRatio(const char* color, int index)
    {
        journal_.note(std::string("module GetCurrentBalanceRatio") + color);
        return currentRatios[index];
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

    void SetScalingEnable(bool) override { unused(); }
    V4lX::Result Open() override { return unused(); }
    void Close() override { unused(); }
    V4lX::Result SetBufferAvailable(IBufferAvailable*) override { return unused(); }
    V4lX::Result RegisterBuffer(void*, std::size_t, std::uint64_t*) override { return unused(); }
    V4lX::Result DeregisterBuffer(std::uint64_t, void**) override { return unused(); }
    V4lX::Result QueueBuffer(std::uint64_t, std::uint64_t) override { return unused(); }
    V4lX::Result RetrieveBuffer(V4lX::GrabResult*, std::size_t*) override { return unused(); }
    V4lX::Result prepareCapturing() override { return unused(); }
    V4lX::Result startCapturing() override { return unused(); }
    V4lX::Result finishCapturing() override { return unused(); }
    bool IsPrepared() const override { throw std::logic_error("unexpected call"); }
    std::size_t GetPayloadSize() const override { throw std::logic_error("unexpected call"); }
    std::uint64_t GetLostFrameCount() const override { throw std::logic_error("unexpected call"); }
    void TakeBackBuffers() override { unused(); }
    std::size_t GetPreparedPayloadSize() const override
    {
        throw std::logic_error("unexpected call");
    }

private:
    static V4lX::Result unused() { throw std::logic_error("unexpected call"); }

    Journal& journal_;
};

/// A platform that answers with what it is given.
class GivenAgent final : public IPipelineAgent
{
public:
    ImageSizeLimits GetImageSizeLimits(const ImageSizeLimits& camera) const override
    {
        asked = camera;
        return limits;
    }
    void FilterPixelFormats(Span<const bool> offered, Span<const std::uint32_t> pfncValues,
                            Span<bool> result) const override
    {
        for (std::size_t i = 0; i < result.size(); ++i) {
            if (offered[i])
                candidates.push_back(pfncValues[i]);
            result[i] = std::find(refused.begin(), refused.end(), pfncValues[i]) == refused.end();
        }
    }

    ImageSizeLimits limits{96, 2592, 8, 104, 1944, 8};
    std::vector<std::uint32_t> refused;
    mutable ImageSizeLimits asked{};
    mutable std::vector<std::uint32_t> candidates;
};

/// The registers of a camera, as the remote port would hold them.
class Registers : private ICtrlRegisterHandler
{
public:
    explicit Registers(std::unique_ptr<GivenAgent> agent = std::make_unique<GivenAgent>())
        : platform(*agent), runtime_(this, &module, &grabber, std::move(agent)),
          camera(CreateCameraRegisters(&runtime_))
    {
    }

    /// Runs the start-up and forgets its calls.
    Registers& open()
    {
        camera->run();
        journal.take();
        return *this;
    }

    RegisterStatus read(std::uint32_t address, void* buffer, std::uint32_t size)
    {
        return root->read(address, buffer, size);
    }
    std::uint32_t read32(std::uint32_t address)
    {
        std::uint8_t bytes[4] = {};
        return root->read(address, bytes, 4) == 0 ? loadLittleEndian<std::uint32_t>(bytes)
                                                  : 0xDEADBEEF;
    }
    std::vector<std::uint32_t> words(std::uint32_t address, std::size_t count)
    {
        std::vector<std::uint32_t> result;
        for (; count > 0; --count, address += 4)
            result.push_back(read32(address));
        return result;
    }
    RegisterStatus write32(std::uint32_t address, std::uint32_t value)
    {
        std::uint8_t bytes[4];
        storeLittleEndian(bytes, value);
        return root->write(address, bytes, 4);
    }

    Journal journal;
    std::shared_ptr<MemoryBridge> bridge = std::make_shared<MemoryBridge>();
    RecordingModule module{journal, bridge};
    RecordingGrabber grabber{journal};
    GivenAgent& platform;
    IRegister* root = nullptr;

private:
    void setRegisterSpace(IRegister* space) override
    {
        journal.note("port setRegisterSpace");
        root = space;
    }

    RuntimeMCM runtime_;

public:
    std::unique_ptr<CameraRegisters> camera;
};

/// Behind their start-up.
class OpenRegisters final : public Registers
{
public:
    OpenRegisters() { open(); }

    struct Write {
        std::uint32_t address;
        std::int64_t value;
        RegisterStatus status;
        std::vector<std::string> calls; ///< that it causes
    };
    void check(const std::vector<Write>& writes)
    {
        for (const Write& write : writes) {
            EXPECT_EQ(write32(write.address, static_cast<std::uint32_t>(write.value)), write.status)
                << std::hex << write.address;
            EXPECT_EQ(journal.take(), write.calls) << std::hex << write.address;
        }
    }
};

// Value addresses.
constexpr std::uint32_t kPixelSize = 0x10000004;
constexpr std::uint32_t kScaledSensorWidth = 0x10000014;
constexpr std::uint32_t kStreamingStartAvailable = 0x10000020;
constexpr std::uint32_t kStreamingEndAvailable = 0x1000002c;
constexpr std::uint32_t kStartAvailable = 0x10000038;
constexpr std::uint32_t kStopAvailable = 0x10000044;
constexpr std::uint32_t kAbortAvailable = 0x10000050;
constexpr std::uint32_t kWidthMax = 0x10000058;
constexpr std::uint32_t kHeightMax = 0x1000005c;
constexpr std::uint32_t kPayloadSize = 0x10000264;
constexpr std::uint32_t kPixelFormatLocked = 0x10000268;
constexpr std::uint32_t kWidthLocked = 0x100002bc;
constexpr std::uint32_t kHeightLocked = 0x100002c8;
constexpr std::uint32_t kTLParamsLockedLocked = 0x10000310;
constexpr std::uint32_t kPixelFormatValid = 0x100004cc;
constexpr std::uint32_t kPixelFormat = 0x1000054c;
constexpr std::uint32_t kWidth = 0x10000a18;
constexpr std::uint32_t kHeight = 0x10000a28;
constexpr std::uint32_t kOffsetX = 0x10000a38;
constexpr std::uint32_t kOffsetY = 0x10000a48;
constexpr std::uint32_t kScalingFactor = 0x10000adc;
constexpr std::uint32_t kTLParamsLocked = 0x10000b90;
constexpr std::uint32_t kStreamingStart = 0x10001b40;
constexpr std::uint32_t kStreamingEnd = 0x10001b4c;
constexpr std::uint32_t kAcquisitionStart = 0x10001b58;
constexpr std::uint32_t kAcquisitionStop = 0x10001b64;
constexpr std::uint32_t kAcquisitionAbort = 0x10001b70;
constexpr std::uint32_t kCenterX = 0x10001b98;
constexpr std::uint32_t kCenterY = 0x10001ba4;
constexpr std::uint32_t kDeviceReset = 0xfffffff0;

// What the port's trace would show.
constexpr RegisterStatus kRejected = 0x8002;
constexpr RegisterStatus kNoRegister = 0x8003;
constexpr RegisterStatus kProtected = 0x8004;
constexpr RegisterStatus kDenied = 0x8006;

} // namespace GenTLProducer
