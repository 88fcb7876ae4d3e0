#include "walk.h"

#include <algorithm>

#include <gtest/gtest.h>

#include "camera.h"
#include "support/allocations.h"

namespace
{

constexpr uint64_t kMinWidth = remote::kWidth - 12;
constexpr uint32_t kHeight = 104;

} // namespace

// What the producer allocates counts, what this program does is none of its business.
#define CALL(name, arguments)                                                                      \
    step(#name, [&] {                                                                              \
        const test::Allocations::Counted counted;                                                  \
        return producer().name arguments;                                                          \
    }())

std::string Walk::operator()()
{
    const test::Allocations::Exemption ours;
    CALL(GCInitLib, ());
    if (open())
        stream();
    CALL(GCCloseLib, ());
    return failure_;
}

bool Walk::step(const char* name, GC_ERROR result)
{
    if (result == GC_ERR_SUCCESS)
        return true;
    const std::string error = lastError();
    EXPECT_TRUE((result <= -1001 && result >= -1022) || result == -10001) << name << result;
    EXPECT_GT(error.size(), 6u) << name;
    if (failure_.empty())
        failure_ = std::string(name) + ": " + std::to_string(result) + ", " + error;
    return false;
}

bool Walk::open()
{
    return CALL(TLOpen, (&system_)) &&
           CALL(TLOpenInterface, (system_, "Tolmen ZEVO GenTL Interface Module", &interface_)) &&
           CALL(IFUpdateDeviceList, (interface_, nullptr, 0)) && find() &&
           CALL(IFOpenDevice, (interface_, id_, DEVICE_ACCESS_EXCLUSIVE, &device_)) &&
           CALL(DevGetPort, (device_, &port_));
}

bool Walk::find()
{
    size_t size = sizeof id_;
    return CALL(IFGetDeviceID, (interface_, 0, id_, &size));
}

bool Walk::write(uint64_t address, uint32_t value)
{
    size_t size = sizeof value;
    return CALL(GCWritePort, (port_, address, &value, &size));
}

void Walk::stream()
{
    if (!prepare())
        return;
    if (CALL(DSStartAcquisition, (stream_, ACQ_START_FLAGS_DEFAULT, GENTL_INFINITE)) &&
        write(remote::kAcquisitionStart, 1)) {
        take();
        write(remote::kAcquisitionStop, 1);
    }
    CALL(DSStopAcquisition, (stream_, ACQ_STOP_FLAGS_DEFAULT));
    CALL(DSClose, (stream_));
}

bool Walk::prepare()
{
    size_t size = sizeof width_;
    if (!CALL(GCReadPort, (port_, kMinWidth, &width_, &size)) || !write(remote::kWidth, width_) ||
        !write(remote::kHeight, kHeight) ||
        !CALL(DevOpenDataStream, (device_, "Stream0", &stream_)) ||
        !CALL(GCRegisterEvent, (stream_, EVENT_NEW_BUFFER, &event_)))
        return false;
    for (int i = 0; i < 3; ++i) {
        BUFFER_HANDLE buffer = nullptr;
        if (!CALL(DSAllocAndAnnounceBuffer, (stream_, width_ * kHeight * 2, nullptr, &buffer)) ||
            !CALL(DSQueueBuffer, (stream_, buffer)))
            return false;
    }
    return true;
}

void Walk::take()
{
    for (uint64_t i = 0; i < kFrames; ++i) {
        EVENT_NEW_BUFFER_DATA data{};
        size_t size = sizeof data;
        if (!CALL(EventGetData, (event_, &data, &size, timeoutMs_)))
            return;
        ++frames_;
        look(data.BufferHandle);
        CALL(DSQueueBuffer, (stream_, data.BufferHandle));
    }
}

void Walk::look(BUFFER_HANDLE buffer)
{
    bool8_t isIncomplete = 0;
    uint64_t id = 0;
    size_t size = sizeof isIncomplete;
    INFO_DATATYPE type = 0;
    CALL(DSGetBufferInfo,
         (stream_, buffer, BUFFER_INFO_IS_INCOMPLETE, &type, &isIncomplete, &size));
    if (isIncomplete) {
        ++incomplete_;
        return;
    }
    size = sizeof id;
    CALL(DSGetBufferInfo, (stream_, buffer, BUFFER_INFO_FRAMEID, &type, &id, &size));
    ++goodFrames_;
    lastId_ = std::max(lastId_, id);
}
