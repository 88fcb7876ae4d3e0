// The functions of event objects.
#include "gentl/frame.h"

using namespace GenTLProducer;

namespace
{

Frame& requireHandle(Frame& frame, EVENT_HANDLE hEvent)
{
    return frame.Require(hEvent && Frame::State().isTLOpen(), GC_ERR_INVALID_HANDLE);
}

template <typename Operation>
GC_ERROR runOnEvent(Frame& frame, EVENT_HANDLE hEvent, Operation operation)
{
    return frame.Run([&] {
        return Frame::Apply(HandleRegistry::Instance()->GetEvent(ToHandle(hEvent)), operation);
    });
}

} // namespace

GC_ERROR EventGetData(EVENT_HANDLE hEvent, void* pBuffer, size_t* piSize, uint64_t iTimeout)
{
    GENTL_FRAME("hEvent=%p, pBuffer=%p, piSize=%p, iTimeout=%lu", hEvent, pBuffer,
                static_cast<void*>(piSize), iTimeout);
    requireHandle(frame, hEvent).Require(piSize, GC_ERR_INVALID_PARAMETER);
    return runOnEvent(frame, hEvent,
                      [&](IEvent& event) { return event.GetData(pBuffer, piSize, iTimeout); });
}

GC_ERROR EventGetDataInfo(EVENT_HANDLE hEvent, const void* pInBuffer, size_t iInSize,
                          EVENT_DATA_INFO_CMD iInfoCmd, INFO_DATATYPE* piType, void* pOutBuffer,
                          size_t* piOutSize)
{
    GENTL_FRAME("hEvent=%p, pInBuffer=%p, iInSize=%lu, iInfoCmd=%d, piType=%p, pOutBuffer=%p, "
                "piOutSize=%p",
                hEvent, pInBuffer, iInSize, iInfoCmd, static_cast<void*>(piType), pOutBuffer,
                static_cast<void*>(piOutSize));
    requireHandle(frame, hEvent)
        .Require(piOutSize && pInBuffer && piType && iInSize != 0, GC_ERR_INVALID_PARAMETER);
    return runOnEvent(frame, hEvent, [&](IEvent& event) {
        return event.GetDataInfo(pInBuffer, iInSize, iInfoCmd, piType, pOutBuffer, piOutSize);
    });
}

GC_ERROR EventGetInfo(EVENT_HANDLE hEvent, EVENT_INFO_CMD iInfoCmd, INFO_DATATYPE* piType,
                      void* pBuffer, size_t* piSize)
{
    GENTL_FRAME("hEvent=%p, iInfoCmd=%d, piType=%p, pBuffer=%p, piSize=%p", hEvent, iInfoCmd,
                static_cast<void*>(piType), pBuffer, static_cast<void*>(piSize));
    requireHandle(frame, hEvent).Require(piSize && piType, GC_ERR_INVALID_PARAMETER);
    return runOnEvent(frame, hEvent, [&](IEvent& event) {
        return event.GetInfo(iInfoCmd, piType, pBuffer, piSize);
    });
}

GC_ERROR EventFlush(EVENT_HANDLE hEvent)
{
    GENTL_FRAME("hEvent=%p", hEvent);
    return runOnEvent(requireHandle(frame, hEvent), hEvent,
                      [](IEvent& event) { return event.Flush(); });
}

GC_ERROR EventKill(EVENT_HANDLE hEvent)
{
    GENTL_FRAME("hEvent=%p", hEvent);
    return runOnEvent(requireHandle(frame, hEvent), hEvent,
                      [](IEvent& event) { return event.Kill(); });
}
