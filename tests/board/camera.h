// A consumer's road to frames in a few words, for tests that want to be somewhere on it.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "producer.h"

/// From GCInitLib to an open interface; closed again at the end, from the top.
class OpenInterface
{
public:
    OpenInterface();
    ~OpenInterface();
    OpenInterface(const OpenInterface&) = delete;
    OpenInterface& operator=(const OpenInterface&) = delete;

    TL_HANDLE system = nullptr;
    IF_HANDLE interface = nullptr;

    uint32_t numDevices() const;
    std::string deviceId(uint32_t index = 0) const;
};

/// An open device with its remote port.
class OpenDevice : public OpenInterface
{
public:
    explicit OpenDevice(DEVICE_ACCESS_FLAGS flags = DEVICE_ACCESS_EXCLUSIVE);

    DEV_HANDLE device = nullptr;
    PORT_HANDLE port = nullptr;

    GC_ERROR write(uint64_t address, uint32_t value) const;
    uint32_t read(uint64_t address) const;
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
    /// Announces and queues this many buffers of the payload size and starts both ends.
    void start(std::size_t buffers, uint64_t frames = GENTL_INFINITE);
    void stop();

    /// The next frame's buffer, or null with the result in lastResult. It comes within the first
    /// time, however slow the machine is.
    BUFFER_HANDLE take(uint64_t timeoutMs = 120'000);
    void giveBack(BUFFER_HANDLE buffer);

    uint64_t info(BUFFER_HANDLE buffer, BUFFER_INFO_CMD command) const;
    uint64_t info(STREAM_INFO_CMD command) const;
    const uint8_t* data(BUFFER_HANDLE buffer) const;
    /// As StreamLostFrameCount shows it.
    uint64_t lost() const;

    DS_HANDLE stream = nullptr;
    EVENT_HANDLE event = nullptr;
    GC_ERROR lastResult = 0;
    std::vector<BUFFER_HANDLE> buffers;
};
