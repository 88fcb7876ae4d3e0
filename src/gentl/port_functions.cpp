// The functions of ports and event sources.
#include "gentl/frame.h"

using namespace GenTLProducer;

namespace
{

// The checks of the port functions, in their order.
Frame& requirePort(Frame& frame, PORT_HANDLE hPort, bool arePointersSet)
{
    return frame.Require(hPort, GC_ERR_INVALID_HANDLE)
        .Require(arePointersSet, GC_ERR_INVALID_PARAMETER)
        .RequireTLOpen(GC_ERR_INVALID_HANDLE)
        .Require(!IsBufferHandle(ToHandle(hPort)), GC_ERR_NOT_IMPLEMENTED);
}

boost::shared_ptr<IPort> findPort(PORT_HANDLE hPort)
{
    return HandleRegistry::Instance()->GetPort(ToHandle(hPort));
}

// The entries in order, up to the first that fails. done counts those that didn't.
template <typename Access>
GC_ERROR accessStack(PORT_HANDLE hPort, PORT_REGISTER_STACK_ENTRY* pEntries, size_t count,
                     size_t& done, Access access)
{
    return Frame::Apply(findPort(hPort), [&](IPort& port) {
        for (; done < count; ++done) {
            // The records are packed: no member may be bound to a reference or pointer.
            PORT_REGISTER_STACK_ENTRY entry;
            std::memcpy(&entry, pEntries + done, sizeof entry);
            if (!entry.pBuffer)
                return static_cast<GC_ERROR>(GC_ERR_INVALID_PARAMETER);
            size_t size = entry.Size;
            const GC_ERROR result = access(port, entry.Address, entry.pBuffer, &size);
            if (size != entry.Size)
                std::memcpy(reinterpret_cast<char*>(pEntries + done) +
                                offsetof(PORT_REGISTER_STACK_ENTRY, Size),
                            &size, sizeof size);
            if (result != GC_ERR_SUCCESS)
                return result;
        }
        return static_cast<GC_ERROR>(GC_ERR_SUCCESS);
    });
}

} // namespace

GC_ERROR GCGetPortInfo(PORT_HANDLE hPort, PORT_INFO_CMD iInfoCmd, INFO_DATATYPE* piType,
                       void* pBuffer, size_t* piSize)
{
    GENTL_FRAME("hPort=%p, iInfoCmd=%d, piType=%p, pBuffer=%p, piSize=%p", hPort, iInfoCmd,
                static_cast<void*>(piType), pBuffer, static_cast<void*>(piSize));
    return requirePort(frame, hPort, piType && piSize).Run([&] {
        return Frame::Apply(findPort(hPort), [&](IPort& port) {
            return port.GetPortInfo(iInfoCmd, piType, pBuffer, piSize);
        });
    });
}

GC_ERROR GCGetPortURL(PORT_HANDLE hPort, char* sURL, size_t* piSize)
{
    GENTL_FRAME("hPort=%p, sURL=%p, piSize=%p", hPort, static_cast<void*>(sURL),
                static_cast<void*>(piSize));
    return requirePort(frame, hPort, piSize).Run([&] {
        return Frame::Apply(findPort(hPort),
                            [&](IPort& port) { return port.GetPortURL(sURL, piSize); });
    });
}

GC_ERROR GCGetNumPortURLs(PORT_HANDLE hPort, uint32_t* piNumURLs)
{
    GENTL_FRAME("hPort=%p, piNumURLs=%p", hPort, static_cast<void*>(piNumURLs));
    frame.Count(piNumURLs);
    return requirePort(frame, hPort, piNumURLs).Run([&] {
        return Frame::Apply(findPort(hPort),
                            [&](IPort& port) { return port.GetNumPortURLs(piNumURLs); });
    });
}

GC_ERROR GCGetPortURLInfo(PORT_HANDLE hPort, uint32_t iURLIndex, URL_INFO_CMD iInfoCmd,
                          INFO_DATATYPE* piType, void* pBuffer, size_t* piSize)
{
    GENTL_FRAME("hPort=%p, iURLIndex=%u, iInfoCmd=%d, piType=%p, pBuffer=%p, piSize=%p", hPort,
                iURLIndex, iInfoCmd, static_cast<void*>(piType), pBuffer,
                static_cast<void*>(piSize));
    return requirePort(frame, hPort, piType && piSize).Run([&] {
        return Frame::Apply(findPort(hPort), [&](IPort& port) {
            return port.GetPortURLInfo(iURLIndex, iInfoCmd, piType, pBuffer, piSize);
        });
    });
}

GC_ERROR GCReadPort(PORT_HANDLE hPort, uint64_t iAddress, void* pBuffer, size_t* piSize)
{
    GENTL_FRAME("hPort=%p, iAddress=0x%lx, pBuffer=%p, iSize=%d", hPort, iAddress, pBuffer,
                piSize ? static_cast<int>(*piSize) : -1);
    return requirePort(frame, hPort, piSize && pBuffer).RunRegisterAccess([&] {
        return Frame::Apply(findPort(hPort),
                            [&](IPort& port) { return port.ReadPort(iAddress, pBuffer, piSize); });
    });
}

GC_ERROR GCWritePort(PORT_HANDLE hPort, uint64_t iAddress, const void* pBuffer, size_t* piSize)
{
    GENTL_FRAME("hPort=%p, iAddress=0x%lx, pBuffer=%p, iSize=%d", hPort, iAddress, pBuffer,
                piSize ? static_cast<int>(*piSize) : -1);
    return requirePort(frame, hPort, piSize && pBuffer).RunRegisterAccess([&] {
        return Frame::Apply(findPort(hPort),
                            [&](IPort& port) { return port.WritePort(iAddress, pBuffer, piSize); });
    });
}

GC_ERROR GCReadPortStacked(PORT_HANDLE hPort, PORT_REGISTER_STACK_ENTRY* pEntries,
                           size_t* piNumEntries)
{
    GENTL_FRAME("hPort=%p, pEntries=%p, piNumEntries=%p", hPort, static_cast<void*>(pEntries),
                static_cast<void*>(piNumEntries));
    frame.Require(!IsBufferHandle(ToHandle(hPort)), GC_ERR_NOT_IMPLEMENTED)
        .Require(hPort && Frame::State().isTLOpen(), GC_ERR_INVALID_HANDLE)
        .Require(pEntries && piNumEntries, GC_ERR_INVALID_PARAMETER);
    const size_t count = piNumEntries ? *piNumEntries : 0;
    size_t done = 0;
    const GC_ERROR result = frame.RunRegisterAccess([&] {
        return accessStack(hPort, pEntries, count, done,
                           [](IPort& port, uint64_t address, void* buffer, size_t* size) {
                               return port.ReadPort(address, buffer, size);
                           });
    });
    if (piNumEntries && Frame::State().isInitialised())
        *piNumEntries = done;
    return result;
}

GC_ERROR GCWritePortStacked(PORT_HANDLE hPort, PORT_REGISTER_STACK_ENTRY* pEntries,
                            size_t* piNumEntries)
{
    GENTL_FRAME("hPort=%p, pEntries=%p, piNumEntries=%p", hPort, static_cast<void*>(pEntries),
                static_cast<void*>(piNumEntries));
    return frame.Require(hPort && Frame::State().isTLOpen(), GC_ERR_INVALID_HANDLE)
        .Require(pEntries && piNumEntries, GC_ERR_INVALID_PARAMETER)
        .Require(!IsBufferHandle(ToHandle(hPort)), GC_ERR_NOT_IMPLEMENTED)
        .RunRegisterAccess([&] {
            size_t done = 0;
            return accessStack(hPort, pEntries, *piNumEntries, done,
                               [](IPort& port, uint64_t address, void* buffer, size_t* size) {
                                   return port.WritePort(address, buffer, size);
                               });
        });
}

GC_ERROR GCRegisterEvent(EVENTSRC_HANDLE hEventSrc, EVENT_TYPE iEventID, EVENT_HANDLE* phEvent)
{
    GENTL_FRAME("hEventSrc=%p, iEventID=%d, phEvent=%p", hEventSrc, iEventID,
                static_cast<void*>(phEvent));
    return frame.Require(hEventSrc && Frame::State().isTLOpen(), GC_ERR_INVALID_HANDLE)
        .Require(phEvent, GC_ERR_INVALID_PARAMETER)
        .Require(!IsBufferHandle(ToHandle(hEventSrc)), GC_ERR_NOT_IMPLEMENTED)
        .Run([&] {
            return Frame::Apply(
                HandleRegistry::Instance()->GetEventSource(ToHandle(hEventSrc)),
                [&](IEventSource& source) { return source.RegisterEvent(iEventID, phEvent); });
        });
}

GC_ERROR GCUnregisterEvent(EVENTSRC_HANDLE hEventSrc, EVENT_TYPE iEventID)
{
    GENTL_FRAME("hEventSrc=%p, iEventID=%d", hEventSrc, iEventID);
    return frame.Require(hEventSrc && Frame::State().isTLOpen(), GC_ERR_INVALID_HANDLE)
        .Require(!IsBufferHandle(ToHandle(hEventSrc)), GC_ERR_NOT_IMPLEMENTED)
        .Run([&] {
            return Frame::Apply(
                HandleRegistry::Instance()->GetEventSource(ToHandle(hEventSrc)),
                [&](IEventSource& source) { return source.UnregisterEvent(iEventID); });
        });
}
