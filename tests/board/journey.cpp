#include "journey.h"

#include "camera.h"

namespace
{

constexpr uint64_t kMinWidth = remote::kWidth - 12;
constexpr uint32_t kHeight = 104;

} // namespace

void Journey::travel()
{
    MAKE(GCInitLib, ());
    if (open() && look() && prepare())
        stream();
    MAKE(GCCloseLib, ());
}

bool Journey::open()
{
    size_t size = 0;
    return MAKE(TLOpen, (&system_)) && MAKE(TLUpdateInterfaceList, (system_, nullptr, 0)) &&
           MAKE(TLOpenInterface, (system_, kInterfaceId, &interface_)) &&
           MAKE(IFUpdateDeviceList, (interface_, nullptr, 0)) &&
           MAKE(IFGetDeviceID, (interface_, 0, id_, &(size = sizeof id_))) &&
           MAKE(IFOpenDevice, (interface_, id_, DEVICE_ACCESS_EXCLUSIVE, &device_)) &&
           MAKE(DevGetPort, (device_, &port_));
}

// What a consumer asks that isn't told otherwise.
bool Journey::look()
{
    char text[256] = {};
    size_t size = 0;
    INFO_DATATYPE type = 0;
    uint32_t count = 0;
    return MAKE(TLGetInterfaceID, (system_, 0, text, &(size = sizeof text))) &&
           MAKE(TLGetInfo, (system_, TL_INFO_VENDOR, &type, text, &(size = sizeof text))) &&
           MAKE(IFGetDeviceInfo,
                (interface_, id_, DEVICE_INFO_MODEL, &type, text, &(size = sizeof text))) &&
           MAKE(GCGetNumPortURLs, (port_, &count)) &&
           MAKE(GCGetPortURLInfo, (port_, 0, URL_INFO_URL, &type, text, &(size = sizeof text))) &&
           MAKE(GCGetPortInfo, (port_, PORT_INFO_MODEL, &type, text, &(size = sizeof text))) &&
           MAKE(DevGetDataStreamID, (device_, 0, text, &(size = sizeof text)));
}

bool Journey::write(uint64_t address, uint32_t value)
{
    return make("GCWritePort", [&] { return writeRegister(port_, address, value); });
}

bool Journey::prepare()
{
    uint32_t width = 0;
    size_t size = sizeof width;
    return MAKE(GCReadPort, (port_, kMinWidth, &width, &size)) && write(remote::kWidth, width) &&
           write(remote::kHeight, kHeight) &&
           MAKE(DevOpenDataStream, (device_, "Stream0", &stream_)) && announce(width) &&
           MAKE(GCRegisterEvent, (stream_, EVENT_NEW_BUFFER, &event_)) &&
           MAKE(DSQueueBuffer, (stream_, buffers_[3])) &&
           MAKE(DSQueueBuffer, (stream_, buffers_[0])) &&
           MAKE(DSFlushQueue, (stream_, ACQ_QUEUE_ALL_TO_INPUT));
}

bool Journey::announce(uint32_t width)
{
    BUFFER_HANDLE buffer = nullptr;
    memory_.resize(width * kHeight * 2);
    for (int i = 0; i < 3; ++i) {
        if (!MAKE(DSAllocAndAnnounceBuffer, (stream_, memory_.size(), nullptr, &buffer)))
            return false;
        buffers_.push_back(buffer);
    }
    if (!MAKE(DSAnnounceBuffer, (stream_, memory_.data(), memory_.size(), nullptr, &buffer)))
        return false;
    buffers_.push_back(buffer);
    return true;
}

void Journey::stream()
{
    if (MAKE(DSStartAcquisition, (stream_, ACQ_START_FLAGS_DEFAULT, GENTL_INFINITE)) &&
        write(remote::kAcquisitionStart, 1)) {
        takeFrames();
        write(remote::kAcquisitionStop, 1);
    }
    MAKE(DSStopAcquisition, (stream_, ACQ_STOP_FLAGS_DEFAULT));
    MAKE(DSFlushQueue, (stream_, ACQ_QUEUE_ALL_DISCARD));
    MAKE(GCUnregisterEvent, (stream_, EVENT_NEW_BUFFER));
    MAKE(DSRevokeBuffer, (stream_, buffers_.back(), nullptr, nullptr));
    MAKE(DSClose, (stream_));
    MAKE(DevClose, (device_));
    MAKE(IFClose, (interface_));
    MAKE(TLClose, (system_));
}
