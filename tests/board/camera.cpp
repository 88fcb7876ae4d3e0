#include "camera.h"

#include <gtest/gtest.h>

namespace
{

void expectOk(GC_ERROR result, const char* what)
{
    EXPECT_EQ(result, GC_ERR_SUCCESS) << what << ": " << lastError();
}

} // namespace

#define OK(call) expectOk(producer().call, #call)

OpenInterface::OpenInterface()
{
    OK(GCInitLib());
    OK(TLOpen(&system));
    OK(TLUpdateInterfaceList(system, nullptr, 1000));
    OK(TLOpenInterface(system, "Tolmen ZEVO GenTL Interface Module", &interface));
    OK(IFUpdateDeviceList(interface, nullptr, 1000));
}

OpenInterface::~OpenInterface()
{
    OK(GCCloseLib());
}

uint32_t OpenInterface::numDevices() const
{
    uint32_t number = 0;
    OK(IFGetNumDevices(interface, &number));
    return number;
}

std::string OpenInterface::deviceId(uint32_t index) const
{
    char id[256] = {};
    size_t size = sizeof id;
    OK(IFGetDeviceID(interface, index, id, &size));
    return id;
}

OpenDevice::OpenDevice(DEVICE_ACCESS_FLAGS flags)
{
    OK(IFOpenDevice(interface, deviceId().c_str(), flags, &device));
    OK(DevGetPort(device, &port));
}

GC_ERROR OpenDevice::write(uint64_t address, uint32_t value) const
{
    size_t size = sizeof value;
    return producer().GCWritePort(port, address, &value, &size);
}

uint32_t OpenDevice::read(uint64_t address) const
{
    uint32_t value = 0;
    size_t size = sizeof value;
    OK(GCReadPort(port, address, &value, &size));
    return value;
}

void Streaming::start(std::size_t count, uint64_t frames)
{
    if (!stream)
        OK(DevOpenDataStream(device, "Stream0", &stream));
    const std::size_t payload = info(static_cast<STREAM_INFO_CMD>(STREAM_INFO_PAYLOAD_SIZE));
    while (buffers.size() < count) {
        BUFFER_HANDLE buffer = nullptr;
        OK(DSAllocAndAnnounceBuffer(stream, payload, nullptr, &buffer));
        buffers.push_back(buffer);
    }
    OK(DSFlushQueue(stream, ACQ_QUEUE_ALL_TO_INPUT));
    if (!event)
        OK(GCRegisterEvent(stream, EVENT_NEW_BUFFER, &event));
    OK(DSStartAcquisition(stream, ACQ_START_FLAGS_DEFAULT, frames));
    expectOk(write(remote::kAcquisitionStart, 1), "AcquisitionStart");
}

void Streaming::stop()
{
    expectOk(write(remote::kAcquisitionStop, 1), "AcquisitionStop");
    OK(DSStopAcquisition(stream, ACQ_STOP_FLAGS_DEFAULT));
}

BUFFER_HANDLE Streaming::take(uint64_t timeoutMs)
{
    EVENT_NEW_BUFFER_DATA data{};
    size_t size = sizeof data;
    lastResult = producer().EventGetData(event, &data, &size, timeoutMs);
    return lastResult == GC_ERR_SUCCESS ? data.BufferHandle : nullptr;
}

void Streaming::giveBack(BUFFER_HANDLE buffer)
{
    OK(DSQueueBuffer(stream, buffer));
}

uint64_t Streaming::info(BUFFER_HANDLE buffer, BUFFER_INFO_CMD command) const
{
    uint64_t value = 0;
    size_t size = sizeof value;
    INFO_DATATYPE type = 0;
    OK(DSGetBufferInfo(stream, buffer, command, &type, &value, &size));
    return value;
}

uint64_t Streaming::info(STREAM_INFO_CMD command) const
{
    uint64_t value = 0;
    size_t size = sizeof value;
    INFO_DATATYPE type = 0;
    OK(DSGetInfo(stream, command, &type, &value, &size));
    return value;
}

const uint8_t* Streaming::data(BUFFER_HANDLE buffer) const
{
    return reinterpret_cast<const uint8_t*>(info(buffer, BUFFER_INFO_BASE));
}

uint64_t Streaming::lost() const
{
    constexpr uint64_t kLostFrameCount = 0xA10;
    uint64_t value = 0;
    size_t size = sizeof value;
    OK(GCReadPort(stream, kLostFrameCount, &value, &size));
    return value;
}
