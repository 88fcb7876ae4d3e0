#include "consumer.h"

#include <iterator>

#include "check.h"
#include "features/register_table.h"

namespace fuzz
{

namespace
{

constexpr std::uint64_t kWidth = 0x10000a18;
constexpr std::uint64_t kHeight = 0x10000a28;
constexpr std::uint64_t kAcquisitionStart = 0x10001b58;

} // namespace

const Consumer::Call Consumer::kCalls[] = {
#define GENTL_FUNCTION(name) &Consumer::call##name,
#include <gentl/gentl_functions.inc>
#undef GENTL_FUNCTION
};
const std::size_t Consumer::kCallCount = std::size(kCalls);

Consumer::~Consumer()
{
    known(::GCCloseLib());
    board_.requireAllReleased();
}

void Consumer::callAny()
{
    const std::uint8_t choice = in_.byte();
    if (choice < 4 * kCallCount) {
        (this->*kCalls[choice % kCallCount])();
    } else if (choice < 0xF0) {
        board_.pushFrame();
    } else if (choice < 0xF8) {
        openAll();
    } else if (choice < 0xFE) {
        startStreaming();
    } else if (choice == 0xFE) {
        takeFrame(50);
    } else {
        board_.unplug();
    }
}

void Consumer::callPort()
{
    static constexpr Call kPortCalls[] = {
        &Consumer::callGCReadPort,        &Consumer::callGCWritePort,
        &Consumer::callGCReadPortStacked, &Consumer::callGCWritePortStacked,
        &Consumer::callGCGetPortInfo,     &Consumer::callGCGetPortURL,
        &Consumer::callGCGetPortURLInfo,  &Consumer::callGCGetNumPortURLs,
    };
    const std::uint8_t choice = in_.byte();
    if (choice < 0xF0)
        (this->*kPortCalls[choice % std::size(kPortCalls)])();
    else if (choice < 0xF8)
        startStreaming();
    else if (choice < 0xFC)
        callDSStopAcquisition();
    else
        takeFrame(10);
}

void Consumer::openAll()
{
    known(::GCInitLib());
    void* opened = nullptr;
    if (known(::TLOpen(&opened)) == 0)
        handles_[System].push_back(opened);
    known(::TLUpdateInterfaceList(newest(System), nullptr, 0));
    if (known(::TLOpenInterface(newest(System), ids_[1].c_str(), &opened)) == 0)
        handles_[Interface].push_back(opened);
    known(::IFUpdateDeviceList(newest(Interface), nullptr, 0));
    char device[128] = {};
    std::size_t size = sizeof device;
    if (known(::IFGetDeviceID(newest(Interface), 0, device, &size)) == 0 && ids_.size() < 16)
        ids_.emplace_back(device);
    if (known(::IFOpenDevice(newest(Interface), device, DEVICE_ACCESS_EXCLUSIVE, &opened)) == 0)
        handles_[Device].push_back(opened);
    if (known(::DevGetPort(newest(Device), &opened)) == 0)
        handles_[Remote].push_back(opened);
    if (known(::DevOpenDataStream(newest(Device), "Stream0", &opened)) == 0)
        handles_[Stream].push_back(opened);
    write(kWidth, 256);
    write(kHeight, 104);
}

void Consumer::startStreaming()
{
    void* stream = newest(Stream);
    std::size_t payload = 0;
    std::size_t size = sizeof payload;
    INFO_DATATYPE type = 0;
    known(::DSGetInfo(stream, STREAM_INFO_PAYLOAD_SIZE, &type, &payload, &size));
    for (int i = 0; i < 3 && handles_[Buffer].size() < kMostHandles; ++i) {
        void* buffer = nullptr;
        if (known(::DSAllocAndAnnounceBuffer(stream, payload, nullptr, &buffer)) == 0)
            handles_[Buffer].push_back(buffer);
    }
    known(::DSFlushQueue(stream, ACQ_QUEUE_ALL_TO_INPUT));
    void* event = nullptr;
    if (known(::GCRegisterEvent(stream, EVENT_NEW_BUFFER, &event)) == 0)
        handles_[Event].push_back(event);
    known(::DSStartAcquisition(stream, ACQ_START_FLAGS_DEFAULT, GENTL_INFINITE));
    write(kAcquisitionStart, 1);
}

void Consumer::write(std::uint64_t registerAddress, std::uint32_t value)
{
    std::size_t size = sizeof value;
    known(::GCWritePort(newest(Remote), registerAddress, &value, &size));
}

void Consumer::takeFrame(std::uint64_t timeoutMs)
{
    board_.pushFrame();
    EVENT_NEW_BUFFER_DATA data{};
    std::size_t size = sizeof data;
    if (known(::EventGetData(newest(Event), &data, &size, timeoutMs)) == 0)
        known(::DSQueueBuffer(newest(Stream), data.BufferHandle));
}

// Arguments.

void* Consumer::newest(Kind kind) const
{
    return handles_[kind].empty() ? nullptr : handles_[kind].back();
}

void* Consumer::handle(Kind kind)
{
    const std::uint8_t choice = in_.byte();
    const std::vector<void*>& list = handles_[kind];
    if (choice < 0xE0)
        return list.empty() ? nullptr : list[list.size() - 1 - choice % list.size()];
    if (choice < 0xF8)
        return newest(static_cast<Kind>(choice % Kinds));
    if (choice < 0xFC)
        return nullptr;
    return reinterpret_cast<void*>(in_.take<std::uintptr_t>()); // NOLINT: made up
}

void* Consumer::port()
{
    static constexpr Kind kPorts[] = {Remote, Remote, System, Interface, Device, Stream, Buffer};
    return handle(in_.pick(kPorts));
}

const char* Consumer::id()
{
    const std::uint8_t choice = in_.byte();
    if (choice < 0xE0)
        return ids_[choice % ids_.size()].c_str();
    if (choice < 0xF0)
        return nullptr;
    text_ = in_.text();
    return text_.c_str();
}

std::size_t Consumer::size()
{
    static constexpr std::size_t kSizes[] = {4, 8, 1, 2, 16, 64, 128, 236, 255, 1024, 0x20000};
    const std::uint8_t choice = in_.byte();
    return choice < 0x80 ? in_.pick(kSizes) : choice - std::size_t{0x80};
}

std::uint64_t Consumer::address()
{
    const std::uint8_t choice = in_.byte();
    if (choice < 0xA0)
        return in_.pick(GenTLProducer::DeviceRegisterRows()).address + in_.byte() % 16 * 4u;
    if (choice < 0xC0)
        return in_.pick(GenTLProducer::DeviceRegisterRows()).address + in_.byte();
    if (choice < 0xF0)
        return in_.take<std::uint16_t>();
    return in_.take<std::uint64_t>();
}

std::int32_t Consumer::number()
{
    const std::uint8_t choice = in_.byte();
    if (choice < 0xE0)
        return choice % 32;
    return choice < 0xF0 ? 1000 + choice % 8 : in_.take<std::int32_t>();
}

} // namespace fuzz
