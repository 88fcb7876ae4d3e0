#include "camera.h"

OpenSystem::OpenSystem()
{
    EXPECT_OK(GCInitLib());
    EXPECT_OK(TLOpen(&system));
}

OpenSystem::~OpenSystem()
{
    if (isOwner_) {
        EXPECT_OK(GCCloseLib());
    }
}

OpenInterface::OpenInterface()
{
    EXPECT_OK(TLUpdateInterfaceList(system, nullptr, 1000));
    EXPECT_OK(TLOpenInterface(system, kInterfaceId, &interface));
    EXPECT_OK(IFUpdateDeviceList(interface, nullptr, 1000));
}

uint32_t OpenInterface::numDevices() const
{
    uint32_t number = 0;
    EXPECT_OK(IFGetNumDevices(interface, &number));
    return number;
}

std::string OpenInterface::deviceId(uint32_t index) const
{
    char id[256] = {};
    size_t size = sizeof id;
    EXPECT_OK(IFGetDeviceID(interface, index, id, &size));
    return id;
}

OpenDevice::OpenDevice(DEVICE_ACCESS_FLAGS flags)
{
    open(0, flags);
}

OpenDevice::OpenDevice(const OpenInterface& opened, uint32_t index)
    : OpenInterface(opened.system, opened.interface)
{
    open(index, DEVICE_ACCESS_EXCLUSIVE);
}

void OpenDevice::open(uint32_t index, DEVICE_ACCESS_FLAGS flags)
{
    EXPECT_OK(IFOpenDevice(interface, deviceId(index).c_str(), flags, &device));
    EXPECT_OK(DevGetPort(device, &port));
}

GC_ERROR OpenDevice::write(uint64_t address, uint32_t value) const
{
    return writeRegister(port, address, value);
}

uint32_t OpenDevice::read(uint64_t address) const
{
    return readRegister(port, address);
}

void OpenDevice::setSize(uint32_t width, uint32_t height) const
{
    EXPECT_EQ(write(remote::kWidth, width), GC_ERR_SUCCESS) << lastError();
    EXPECT_EQ(write(remote::kHeight, height), GC_ERR_SUCCESS) << lastError();
}

void Streaming::openStream()
{
    EXPECT_OK(DevOpenDataStream(device, "Stream0", &stream));
}

void Streaming::start(std::size_t count, uint64_t frames)
{
    if (!stream)
        openStream();
    const std::size_t payload = streamInfo(STREAM_INFO_PAYLOAD_SIZE);
    while (buffers.size() < count) {
        BUFFER_HANDLE buffer = nullptr;
        EXPECT_OK(DSAllocAndAnnounceBuffer(stream, payload, nullptr, &buffer));
        buffers.push_back(buffer);
    }
    EXPECT_OK(DSFlushQueue(stream, ACQ_QUEUE_ALL_TO_INPUT));
    if (!event) {
        EXPECT_OK(GCRegisterEvent(stream, EVENT_NEW_BUFFER, &event));
    }
    EXPECT_OK(DSStartAcquisition(stream, ACQ_START_FLAGS_DEFAULT, frames));
    EXPECT_EQ(write(remote::kAcquisitionStart, 1), GC_ERR_SUCCESS) << lastError();
}

void Streaming::stop()
{
    EXPECT_EQ(write(remote::kAcquisitionStop, 1), GC_ERR_SUCCESS) << lastError();
    EXPECT_OK(DSStopAcquisition(stream, ACQ_STOP_FLAGS_DEFAULT));
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
    EXPECT_OK(DSQueueBuffer(stream, buffer));
}

uint64_t Streaming::info(BUFFER_HANDLE buffer, BUFFER_INFO_CMD command) const
{
    uint64_t value = 0;
    size_t size = sizeof value;
    INFO_DATATYPE type = 0;
    EXPECT_OK(DSGetBufferInfo(stream, buffer, command, &type, &value, &size));
    return value;
}

uint64_t Streaming::streamInfo(STREAM_INFO_CMD command) const
{
    uint64_t value = 0;
    size_t size = sizeof value;
    INFO_DATATYPE type = 0;
    EXPECT_OK(DSGetInfo(stream, command, &type, &value, &size));
    return value;
}

const uint8_t* Streaming::data(BUFFER_HANDLE buffer) const
{
    return reinterpret_cast<const uint8_t*>(info(buffer, BUFFER_INFO_BASE));
}

uint64_t Streaming::lost() const
{
    constexpr uint64_t kLostFrameCount = 0xA10;
    return readRegister(stream, kLostFrameCount);
}
