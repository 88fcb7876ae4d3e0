#include "camera.h"

#include <dlfcn.h>

#include <string>

namespace zevo_bench
{

namespace
{

Functions load()
{
    void* library = ::dlopen(ZEVO_PRODUCER, RTLD_NOW | RTLD_LOCAL);
    Require(library, "can't load the producer");
    Functions functions;
#define GENTL_FUNCTION(name)                                                                       \
    functions.name = reinterpret_cast<decltype(functions.name)>(::dlsym(library, #name));
#include <gentl/gentl_functions.inc>
#undef GENTL_FUNCTION
    return functions;
}

} // namespace

const Functions& Producer()
{
    static const Functions functions = load();
    return functions;
}

void Check(GC_ERROR result, const char* call)
{
    Require(result == GC_ERR_SUCCESS, std::string(call) + " gives " + std::to_string(result));
}

Camera::Camera()
{
    ZEVO_CHECK(GCInitLib());
    ZEVO_CHECK(TLOpen(&system));
    ZEVO_CHECK(TLUpdateInterfaceList(system, nullptr, 1000));
    char id[256];
    std::size_t size = sizeof id;
    ZEVO_CHECK(TLGetInterfaceID(system, 0, id, &size));
    ZEVO_CHECK(TLOpenInterface(system, id, &interface));
    ZEVO_CHECK(IFUpdateDeviceList(interface, nullptr, 1000));
}

Camera::~Camera()
{
    Producer().GCCloseLib();
}

void Camera::OpenDevice()
{
    char id[256];
    std::size_t size = sizeof id;
    ZEVO_CHECK(IFGetDeviceID(interface, 0, id, &size));
    ZEVO_CHECK(IFOpenDevice(interface, id, DEVICE_ACCESS_EXCLUSIVE, &device));
    ZEVO_CHECK(DevGetPort(device, &port));
}

void Camera::OpenStream()
{
    ZEVO_CHECK(DevOpenDataStream(device, "Stream0", &stream));
}

void Camera::Write(std::uint64_t address, std::uint32_t value) const
{
    std::size_t size = sizeof value;
    ZEVO_CHECK(GCWritePort(port, address, &value, &size));
}

void Camera::SetImage(std::uint32_t pixelFormat, unsigned width, unsigned height) const
{
    Write(remote::kPixelFormat, pixelFormat);
    Write(remote::kWidth, width);
    Write(remote::kHeight, height);
}

std::size_t Camera::PayloadSize() const
{
    std::size_t payload = 0;
    std::size_t size = sizeof payload;
    INFO_DATATYPE type = 0;
    ZEVO_CHECK(DSGetInfo(stream, STREAM_INFO_PAYLOAD_SIZE, &type, &payload, &size));
    return payload;
}

void Camera::Start(std::size_t buffers)
{
    for (std::size_t i = 0; i < buffers; ++i) {
        BUFFER_HANDLE buffer = nullptr;
        ZEVO_CHECK(DSAllocAndAnnounceBuffer(stream, PayloadSize(), nullptr, &buffer));
        ZEVO_CHECK(DSQueueBuffer(stream, buffer));
    }
    if (!event)
        ZEVO_CHECK(GCRegisterEvent(stream, EVENT_NEW_BUFFER, &event));
    ZEVO_CHECK(DSStartAcquisition(stream, ACQ_START_FLAGS_DEFAULT, GENTL_INFINITE));
    Write(remote::kAcquisitionStart, 1);
}

// The buffers go: the next image may need others.
void Camera::Stop()
{
    Write(remote::kAcquisitionStop, 1);
    ZEVO_CHECK(DSStopAcquisition(stream, ACQ_STOP_FLAGS_DEFAULT));
    ZEVO_CHECK(DSFlushQueue(stream, ACQ_QUEUE_ALL_DISCARD));
    BUFFER_HANDLE buffer = nullptr;
    while (Producer().DSGetBufferID(stream, 0, &buffer) == GC_ERR_SUCCESS)
        ZEVO_CHECK(DSRevokeBuffer(stream, buffer, nullptr, nullptr));
}

BUFFER_HANDLE Camera::Take() const
{
    EVENT_NEW_BUFFER_DATA data{};
    std::size_t size = sizeof data;
    ZEVO_CHECK(EventGetData(event, &data, &size, 10000));
    return data.BufferHandle;
}

} // namespace zevo_bench
