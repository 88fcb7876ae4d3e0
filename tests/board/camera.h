// A consumer's road to frames in a few words, for tests that want to be somewhere on it.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "producer.h"

constexpr char kInterfaceId[] = "Tolmen ZEVO GenTL Interface Module";

/// From GCInitLib to an open system; closed again at the end, from the top.
class OpenSystem
{
public:
    OpenSystem();
    ~OpenSystem();
    OpenSystem(const OpenSystem&) = delete;
    OpenSystem& operator=(const OpenSystem&) = delete;

    TL_HANDLE system = nullptr;

protected:
    /// A part of somebody else's, who closes it.
    explicit OpenSystem(TL_HANDLE opened) : system(opened), isOwner_(false) {}

private:
    bool isOwner_ = true;
};

/// An open interface that knows its devices.
class OpenInterface : public OpenSystem
{
public:
    OpenInterface();

    IF_HANDLE interface = nullptr;

    uint32_t numDevices() const;
    std::string deviceId(uint32_t index = 0) const;

protected:
    OpenInterface(TL_HANDLE system, IF_HANDLE opened) : OpenSystem(system), interface(opened) {}
};

/// An open device with its remote port.
class OpenDevice : public OpenInterface
{
public:
    explicit OpenDevice(DEVICE_ACCESS_FLAGS flags = DEVICE_ACCESS_EXCLUSIVE);
    /// One of several devices of an interface that outlives it; closed by nobody.
    OpenDevice(const OpenInterface& opened, uint32_t index);

    DEV_HANDLE device = nullptr;
    PORT_HANDLE port = nullptr;

    GC_ERROR write(uint64_t address, uint32_t value) const;
    uint32_t read(uint64_t address) const;
    void setSize(uint32_t width, uint32_t height) const;

private:
    void open(uint32_t index, DEVICE_ACCESS_FLAGS flags);
};

/// Value registers of the remote device.
namespace remote
{
constexpr uint64_t kPayloadSize = 0x10000264;
constexpr uint64_t kPixelFormat = 0x1000054c;
constexpr uint64_t kWidth = 0x10000a18;
constexpr uint64_t kHeight = 0x10000a28;
constexpr uint64_t kOffsetX = 0x10000a38;
constexpr uint64_t kOffsetY = 0x10000a48;
constexpr uint64_t kScalingFactor = 0x10000adc;
constexpr uint64_t kParamsLocked = 0x10000b90;
constexpr uint64_t kAcquisitionStart = 0x10001b58;
constexpr uint64_t kAcquisitionStop = 0x10001b64;
constexpr uint64_t kDeviceReset = 0xfffffff0;
} // namespace remote

/// An open stream with buffers, its event and a started acquisition.
class Streaming : public OpenDevice
{
public:
    using OpenDevice::OpenDevice;
    /// With pictures of this size.
    Streaming(uint32_t width, uint32_t height) { setSize(width, height); }

    void openStream();
    /// Announces and queues this many buffers of the payload size and starts both ends.
    void start(std::size_t buffers, uint64_t frames = GENTL_INFINITE);
    void stop();

    /// The next frame's buffer, or null with the result in lastResult. It comes within the first
    /// time, however slow the machine is.
    BUFFER_HANDLE take(uint64_t timeoutMs = 120'000);
    void giveBack(BUFFER_HANDLE buffer);

    uint64_t info(BUFFER_HANDLE buffer, BUFFER_INFO_CMD command) const;
    uint64_t streamInfo(STREAM_INFO_CMD command) const;
    const uint8_t* data(BUFFER_HANDLE buffer) const;
    /// As StreamLostFrameCount shows it.
    uint64_t lost() const;

    DS_HANDLE stream = nullptr;
    EVENT_HANDLE event = nullptr;
    GC_ERROR lastResult = 0;
    std::vector<BUFFER_HANDLE> buffers;
};
