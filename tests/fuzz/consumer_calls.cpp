// The functions of the interface as the consumer calls them, in the order of the header.
#include "check.h"
#include "consumer.h"

namespace fuzz
{

template <typename Function>
void Consumer::produce(Kind kind, Function call)
{
    const auto slot = std::make_unique<void*>(nullptr);
    if (known(call(isNull() ? nullptr : slot.get())) != 0 || !*slot)
        return;
    if (handles_[kind].size() == kMostHandles)
        handles_[kind].erase(handles_[kind].begin());
    handles_[kind].push_back(*slot);
}

template <typename Function>
std::optional<std::string> Consumer::answer(Function call)
{
    const std::size_t room = size();
    const Memory memory(new std::uint8_t[room]());
    const auto told = std::make_unique<std::size_t>(room);
    void* buffer = isNull() ? nullptr : memory.get();
    const GC_ERROR result = known(call(buffer, isNull() ? nullptr : told.get()));
    if (result != 0 || !buffer)
        return std::nullopt;
    require(*told <= room, "more bytes than there was room for");
    return std::string(reinterpret_cast<const char*>(memory.get()), *told);
}

template <typename Function>
void Consumer::inform(Function call)
{
    const std::int32_t command = number();
    const auto type = std::make_unique<INFO_DATATYPE>(0);
    INFO_DATATYPE* typeOrNull = isNull() ? nullptr : type.get();
    const auto value = answer(
        [&](void* buffer, std::size_t* size) { return call(command, typeOrNull, buffer, size); });
    if (value && typeOrNull && *type == INFO_DATATYPE_STRING)
        require(!value->empty() && value->back() == '\0', "a text without its end");
}

template <typename T, typename Function>
void Consumer::count(Function call)
{
    const auto number = std::make_unique<T>(0);
    known(call(isNull() ? nullptr : number.get()));
}

template <typename Function>
void Consumer::learn(Function call)
{
    auto text = answer(call);
    if (text && ids_.size() < 16)
        ids_.emplace_back(text->c_str());
}

template <typename Function>
void Consumer::stack(Function call)
{
    void* target = port();
    std::size_t entryCount = in_.byte() % 4;
    const std::unique_ptr<PORT_REGISTER_STACK_ENTRY[]> entries(
        new PORT_REGISTER_STACK_ENTRY[entryCount]);
    std::vector<Memory> memories;
    for (std::size_t i = 0; i < entryCount; ++i) {
        const std::uint64_t place = address();
        const std::size_t length = size();
        memories.emplace_back(new std::uint8_t[length]());
        in_.fill(memories.back().get(), std::min<std::size_t>(length, 8));
        entries[i].Address = place;
        entries[i].pBuffer = isNull() ? nullptr : memories.back().get();
        entries[i].Size = length;
    }
    PORT_REGISTER_STACK_ENTRY* list = isNull() ? nullptr : entries.get();
    known(call(target, list, isNull() ? nullptr : &entryCount));
}

void Consumer::callGCGetInfo()
{
    inform([](auto... arguments) { return ::GCGetInfo(arguments...); });
}

void Consumer::callGCGetLastError()
{
    const auto code = std::make_unique<GC_ERROR>(0);
    answer([&](void* buffer, std::size_t* size) {
        return ::GCGetLastError(isNull() ? nullptr : code.get(), static_cast<char*>(buffer), size);
    });
}

void Consumer::callGCInitLib()
{
    known(::GCInitLib());
}

void Consumer::callGCCloseLib()
{
    known(::GCCloseLib());
}

void Consumer::callGCReadPort()
{
    void* target = port();
    const std::uint64_t place = address();
    answer(
        [&](void* buffer, std::size_t* size) { return ::GCReadPort(target, place, buffer, size); });
}

void Consumer::callGCWritePort()
{
    void* target = port();
    const std::uint64_t place = address();
    answer([&](void* buffer, std::size_t* size) {
        if (buffer)
            in_.fill(buffer, size ? std::min<std::size_t>(*size, 16) : 0);
        return ::GCWritePort(target, place, buffer, size);
    });
}

void Consumer::callGCGetPortURL()
{
    void* target = port();
    answer([&](void* buffer, std::size_t* size) {
        return ::GCGetPortURL(target, static_cast<char*>(buffer), size);
    });
}

void Consumer::callGCGetPortInfo()
{
    void* target = port();
    inform([&](auto... arguments) { return ::GCGetPortInfo(target, arguments...); });
}

void Consumer::callGCRegisterEvent()
{
    void* source = port();
    const std::int32_t type = number();
    produce(Event, [&](void** event) { return ::GCRegisterEvent(source, type, event); });
}

void Consumer::callGCUnregisterEvent()
{
    void* source = port();
    known(::GCUnregisterEvent(source, number()));
}

void Consumer::callGCGetNumPortURLs()
{
    void* target = port();
    count<std::uint32_t>([&](auto* number) { return ::GCGetNumPortURLs(target, number); });
}

void Consumer::callGCGetPortURLInfo()
{
    void* target = port();
    const auto index = static_cast<std::uint32_t>(in_.byte() % 4);
    inform([&](auto... arguments) { return ::GCGetPortURLInfo(target, index, arguments...); });
}

void Consumer::callGCReadPortStacked()
{
    stack(::GCReadPortStacked);
}

void Consumer::callGCWritePortStacked()
{
    stack(::GCWritePortStacked);
}

void Consumer::callEventGetData()
{
    void* event = handle(Event);
    const std::uint64_t timeoutMs = in_.byte() % 4;
    if (in_.isOneIn(2))
        board_.pushFrame();
    answer([&](void* buffer, std::size_t* size) {
        return ::EventGetData(event, buffer, size, timeoutMs);
    });
}

void Consumer::callEventGetDataInfo()
{
    void* event = handle(Event);
    const std::size_t length = in_.byte() % 32;
    const Memory data(new std::uint8_t[length]());
    in_.fill(data.get(), length);
    const std::uint8_t* dataOrNull = isNull() ? nullptr : data.get();
    inform([&](auto... arguments) {
        return ::EventGetDataInfo(event, dataOrNull, length, arguments...);
    });
}

void Consumer::callEventGetInfo()
{
    void* event = handle(Event);
    inform([&](auto... arguments) { return ::EventGetInfo(event, arguments...); });
}

void Consumer::callEventFlush()
{
    known(::EventFlush(handle(Event)));
}

void Consumer::callEventKill()
{
    known(::EventKill(handle(Event)));
}

void Consumer::callTLOpen()
{
    produce(System, ::TLOpen);
}

void Consumer::callTLClose()
{
    known(::TLClose(handle(System)));
}

void Consumer::callTLGetInfo()
{
    void* system = handle(System);
    inform([&](auto... arguments) { return ::TLGetInfo(system, arguments...); });
}

void Consumer::callTLGetNumInterfaces()
{
    void* system = handle(System);
    count<std::uint32_t>([&](auto* number) { return ::TLGetNumInterfaces(system, number); });
}

void Consumer::callTLGetInterfaceID()
{
    void* system = handle(System);
    const auto index = static_cast<std::uint32_t>(number());
    learn([&](void* buffer, std::size_t* size) {
        return ::TLGetInterfaceID(system, index, static_cast<char*>(buffer), size);
    });
}

void Consumer::callTLGetInterfaceInfo()
{
    void* system = handle(System);
    const char* name = id();
    inform([&](auto... arguments) { return ::TLGetInterfaceInfo(system, name, arguments...); });
}

void Consumer::callTLOpenInterface()
{
    void* system = handle(System);
    const char* name = id();
    produce(Interface, [&](void** opened) { return ::TLOpenInterface(system, name, opened); });
}

void Consumer::callTLUpdateInterfaceList()
{
    void* system = handle(System);
    count<bool8_t>([&](auto* changed) { return ::TLUpdateInterfaceList(system, changed, 1); });
}

void Consumer::callIFClose()
{
    known(::IFClose(handle(Interface)));
}

void Consumer::callIFGetInfo()
{
    void* interface = handle(Interface);
    inform([&](auto... arguments) { return ::IFGetInfo(interface, arguments...); });
}

void Consumer::callIFGetNumDevices()
{
    void* interface = handle(Interface);
    count<std::uint32_t>([&](auto* number) { return ::IFGetNumDevices(interface, number); });
}

void Consumer::callIFGetDeviceID()
{
    void* interface = handle(Interface);
    const auto index = static_cast<std::uint32_t>(number());
    learn([&](void* buffer, std::size_t* size) {
        return ::IFGetDeviceID(interface, index, static_cast<char*>(buffer), size);
    });
}

void Consumer::callIFUpdateDeviceList()
{
    void* interface = handle(Interface);
    count<bool8_t>([&](auto* changed) { return ::IFUpdateDeviceList(interface, changed, 1); });
}

void Consumer::callIFGetDeviceInfo()
{
    void* interface = handle(Interface);
    const char* name = id();
    inform([&](auto... arguments) { return ::IFGetDeviceInfo(interface, name, arguments...); });
}

void Consumer::callIFOpenDevice()
{
    void* interface = handle(Interface);
    const char* name = id();
    const DEVICE_ACCESS_FLAGS flags = number();
    produce(Device, [&](void** opened) { return ::IFOpenDevice(interface, name, flags, opened); });
}

void Consumer::callIFGetParentTL()
{
    void* interface = handle(Interface);
    produce(System, [&](void** parent) { return ::IFGetParentTL(interface, parent); });
}

void Consumer::callDevGetPort()
{
    void* device = handle(Device);
    produce(Remote, [&](void** remote) { return ::DevGetPort(device, remote); });
}

void Consumer::callDevGetNumDataStreams()
{
    void* device = handle(Device);
    count<std::uint32_t>([&](auto* number) { return ::DevGetNumDataStreams(device, number); });
}

void Consumer::callDevGetDataStreamID()
{
    void* device = handle(Device);
    const auto index = static_cast<std::uint32_t>(number());
    learn([&](void* buffer, std::size_t* size) {
        return ::DevGetDataStreamID(device, index, static_cast<char*>(buffer), size);
    });
}

void Consumer::callDevOpenDataStream()
{
    void* device = handle(Device);
    const char* name = id();
    produce(Stream, [&](void** stream) { return ::DevOpenDataStream(device, name, stream); });
}

void Consumer::callDevGetInfo()
{
    void* device = handle(Device);
    inform([&](auto... arguments) { return ::DevGetInfo(device, arguments...); });
}

void Consumer::callDevClose()
{
    known(::DevClose(handle(Device)));
}

void Consumer::callDevGetParentIF()
{
    void* device = handle(Device);
    produce(Interface, [&](void** parent) { return ::DevGetParentIF(device, parent); });
}

void Consumer::callDSAnnounceBuffer()
{
    void* stream = handle(Stream);
    if (frames_.size() == kMostHandles)
        return;
    const std::size_t length = in_.isOneIn(2) ? 256 * 104 * 2 : size();
    frames_.emplace_back(new std::uint8_t[length]);
    // In two calls out of three a buffer that is announced already, or a part of it.
    std::uint8_t* memory = frames_[in_.byte() % frames_.size()].get();
    const std::size_t told = memory == frames_.back().get() ? length : 1;
    void* memoryOrNull = isNull() ? nullptr : memory;
    produce(Buffer, [&](void** buffer) {
        return ::DSAnnounceBuffer(stream, memoryOrNull, told, this, buffer);
    });
}

void Consumer::callDSAllocAndAnnounceBuffer()
{
    void* stream = handle(Stream);
    const std::size_t length = in_.isOneIn(2) ? 256 * 104 * 2 : size();
    produce(Buffer, [&](void** buffer) {
        return ::DSAllocAndAnnounceBuffer(stream, length, nullptr, buffer);
    });
}

void Consumer::callDSFlushQueue()
{
    void* stream = handle(Stream);
    known(::DSFlushQueue(stream, number()));
}

void Consumer::callDSStartAcquisition()
{
    void* stream = handle(Stream);
    const ACQ_START_FLAGS flags = number();
    known(::DSStartAcquisition(stream, flags, in_.isOneIn(2) ? in_.byte() : GENTL_INFINITE));
}

void Consumer::callDSStopAcquisition()
{
    void* stream = handle(Stream);
    known(::DSStopAcquisition(stream, number()));
}

void Consumer::callDSGetInfo()
{
    void* stream = handle(Stream);
    inform([&](auto... arguments) { return ::DSGetInfo(stream, arguments...); });
}

void Consumer::callDSGetBufferID()
{
    void* stream = handle(Stream);
    const auto index = static_cast<std::uint32_t>(number());
    produce(Buffer, [&](void** buffer) { return ::DSGetBufferID(stream, index, buffer); });
}

void Consumer::callDSClose()
{
    known(::DSClose(handle(Stream)));
}

void Consumer::callDSRevokeBuffer()
{
    void* stream = handle(Stream);
    void* buffer = handle(Buffer);
    void* memory = nullptr;
    void* context = nullptr;
    known(::DSRevokeBuffer(stream, buffer, isNull() ? nullptr : &memory,
                           isNull() ? nullptr : &context));
}

void Consumer::callDSQueueBuffer()
{
    void* stream = handle(Stream);
    known(::DSQueueBuffer(stream, handle(Buffer)));
}

void Consumer::callDSGetBufferInfo()
{
    void* stream = handle(Stream);
    void* buffer = handle(Buffer);
    inform([&](auto... arguments) { return ::DSGetBufferInfo(stream, buffer, arguments...); });
}

void Consumer::callDSGetBufferChunkData()
{
    void* stream = handle(Stream);
    void* buffer = handle(Buffer);
    std::size_t chunks = in_.byte() % 4;
    const std::unique_ptr<SINGLE_CHUNK_DATA[]> list(new SINGLE_CHUNK_DATA[chunks]());
    SINGLE_CHUNK_DATA* listOrNull = isNull() ? nullptr : list.get();
    known(::DSGetBufferChunkData(stream, buffer, listOrNull, isNull() ? nullptr : &chunks));
}

void Consumer::callDSGetParentDev()
{
    void* stream = handle(Stream);
    produce(Device, [&](void** parent) { return ::DSGetParentDev(stream, parent); });
}

void Consumer::callDSGetNumBufferParts()
{
    void* stream = handle(Stream);
    void* buffer = handle(Buffer);
    count<std::uint32_t>(
        [&](auto* number) { return ::DSGetNumBufferParts(stream, buffer, number); });
}

void Consumer::callDSGetBufferPartInfo()
{
    void* stream = handle(Stream);
    void* buffer = handle(Buffer);
    const std::uint32_t index = in_.byte() % 2;
    inform([&](auto... arguments) {
        return ::DSGetBufferPartInfo(stream, buffer, index, arguments...);
    });
}

} // namespace fuzz
