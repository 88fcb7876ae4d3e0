// The functions of the data stream and its buffers.
#include "gentl/frame.h"

using namespace GenTLProducer;

namespace
{

Frame& requireHandle(Frame& frame, DS_HANDLE hDataStream)
{
    return frame.Require(Frame::State().isTLOpen() && hDataStream, GC_ERR_INVALID_HANDLE);
}

const char* nameOf(ACQ_QUEUE_TYPE iOperation)
{
    static constexpr const char* kNames[] = {
        "ACQ_QUEUE_INPUT_TO_OUTPUT",   "ACQ_QUEUE_OUTPUT_DISCARD", "ACQ_QUEUE_ALL_TO_INPUT",
        "ACQ_QUEUE_UNQUEUED_TO_INPUT", "ACQ_QUEUE_ALL_DISCARD",
    };
    constexpr int kCount = sizeof kNames / sizeof kNames[0];
    return iOperation >= 0 && iOperation < kCount ? kNames[iOperation] : "<...>";
}

// Neither null nor the all-ones pointer that some consumers pass for "none".
bool isUsable(const void* pointer)
{
    return pointer && reinterpret_cast<std::uintptr_t>(pointer) != ~std::uintptr_t{0};
}

} // namespace

GC_ERROR DSClose(DS_HANDLE hDataStream)
{
    GENTL_FRAME("hDataStream=%p", hDataStream);
    return requireHandle(frame, hDataStream).RunOn<IStream>(hDataStream, [](IStream& stream) {
        const std::string identifier = stream.GetId();
        return Frame::Apply(
            Frame::FindModule<IDevice>(ToOpaque(stream.GetParent())),
            [&](IDevice& device) { return device.CloseDataStream(identifier.c_str()); });
    });
}

GC_ERROR DSGetInfo(DS_HANDLE hDataStream, STREAM_INFO_CMD iInfoCmd, INFO_DATATYPE* piType,
                   void* pBuffer, size_t* piSize)
{
    GENTL_FRAME("hDataStream=%p, iInfoCmd=%d, piType=%p, pBuffer=%p, piSize=%p", hDataStream,
                iInfoCmd, static_cast<void*>(piType), pBuffer, static_cast<void*>(piSize));
    return requireHandle(frame, hDataStream)
        .Require(piType && piSize, GC_ERR_INVALID_PARAMETER)
        .RunOn<IStream>(hDataStream, [&](IStream& stream) {
            return stream.GetInfo(iInfoCmd, piType, pBuffer, piSize);
        });
}

GC_ERROR DSAllocAndAnnounceBuffer(DS_HANDLE hDataStream, size_t iSize, void* pPrivate,
                                  BUFFER_HANDLE* phBuffer)
{
    GENTL_FRAME("hDataStream=%p, iSize=%lu, pPrivate=%p, phBuffer=%p", hDataStream, iSize, pPrivate,
                static_cast<void*>(phBuffer));
    return requireHandle(frame, hDataStream)
        .Require(phBuffer && iSize != 0, GC_ERR_INVALID_PARAMETER)
        .RunOn<IStream>(hDataStream, [&](IStream& stream) {
            return stream.AllocAndAnnounceBuffer(iSize, pPrivate, phBuffer);
        });
}

GC_ERROR DSAnnounceBuffer(DS_HANDLE hDataStream, void* pBuffer, size_t iSize, void* pPrivate,
                          BUFFER_HANDLE* phBuffer)
{
    GENTL_FRAME("hDataStream=%p, pBuffer=%p, iSize=%llu, pPrivate=%p, phBuffer=%p", hDataStream,
                pBuffer, static_cast<unsigned long long>(iSize), pPrivate,
                static_cast<void*>(phBuffer));
    return requireHandle(frame, hDataStream)
        .Require(phBuffer && pBuffer && iSize != 0, GC_ERR_INVALID_PARAMETER)
        .RunOn<IStream>(hDataStream, [&](IStream& stream) {
            return stream.AnnounceBuffer(pBuffer, iSize, pPrivate, phBuffer);
        });
}

GC_ERROR DSFlushQueue(DS_HANDLE hDataStream, ACQ_QUEUE_TYPE iOperation)
{
    GENTL_FRAME("hDataStream=%p, iOperation=%d:%s", hDataStream, iOperation, nameOf(iOperation));
    return requireHandle(frame, hDataStream).RunOn<IStream>(hDataStream, [&](IStream& stream) {
        return stream.FlushQueue(iOperation);
    });
}

GC_ERROR DSGetBufferID(DS_HANDLE hDataStream, uint32_t iIndex, BUFFER_HANDLE* phBuffer)
{
    GENTL_FRAME("hDataStream=%p, iIndex=%d, phBuffer=%p", hDataStream, static_cast<int>(iIndex),
                static_cast<void*>(phBuffer));
    return requireHandle(frame, hDataStream)
        .Require(phBuffer, GC_ERR_INVALID_PARAMETER)
        .RunOn<IStream>(hDataStream,
                        [&](IStream& stream) { return stream.GetBufferID(iIndex, phBuffer); });
}

GC_ERROR DSGetBufferInfo(DS_HANDLE hDataStream, BUFFER_HANDLE hBuffer, BUFFER_INFO_CMD iInfoCmd,
                         INFO_DATATYPE* piType, void* pBuffer, size_t* piSize)
{
    GENTL_FRAME("hDataStream=%p, hBuffer=%p, iInfoCmd=%d, piType=%p, pBuffer=%p, piSize=%p",
                hDataStream, hBuffer, iInfoCmd, static_cast<void*>(piType), pBuffer,
                static_cast<void*>(piSize));
    return requireHandle(frame, hDataStream)
        .Require(isUsable(piType) && isUsable(piSize), GC_ERR_INVALID_PARAMETER)
        .RunOn<IStream>(hDataStream, [&](IStream& stream) {
            return stream.GetBufferInfo(hBuffer, iInfoCmd, piType, pBuffer, piSize);
        });
}

GC_ERROR DSQueueBuffer(DS_HANDLE hDataStream, BUFFER_HANDLE hBuffer)
{
    GENTL_FRAME("hDataStream=%p, hBuffer=%p", hDataStream, hBuffer);
    return requireHandle(frame, hDataStream)
        .Require(hBuffer, GC_ERR_INVALID_HANDLE)
        .RunOn<IStream>(hDataStream, [&](IStream& stream) { return stream.QueueBuffer(hBuffer); });
}

GC_ERROR DSRevokeBuffer(DS_HANDLE hDataStream, BUFFER_HANDLE hBuffer, void** pBuffer,
                        void** pPrivate)
{
    GENTL_FRAME("hDataStream=%p, hBuffer=%p", hDataStream, hBuffer);
    return requireHandle(frame, hDataStream)
        .Require(hBuffer, GC_ERR_INVALID_PARAMETER)
        .RunOn<IStream>(hDataStream, [&](IStream& stream) {
            return stream.RevokeBuffer(hBuffer, pBuffer, pPrivate);
        });
}

GC_ERROR DSStartAcquisition(DS_HANDLE hDataStream, ACQ_START_FLAGS iStartFlags,
                            uint64_t iNumToAcquire)
{
    GENTL_FRAME("hDataStream=%p, iStartFlags%d, iNumToAcquire=%lu", hDataStream, iStartFlags,
                iNumToAcquire);
    return requireHandle(frame, hDataStream).RunOn<IStream>(hDataStream, [&](IStream& stream) {
        return stream.StartAcquisition(iStartFlags, iNumToAcquire);
    });
}

GC_ERROR DSStopAcquisition(DS_HANDLE hDataStream, ACQ_STOP_FLAGS iStopFlags)
{
    GENTL_FRAME("hDataStream=%p, iStopFlags=%d", hDataStream, iStopFlags);
    return requireHandle(frame, hDataStream).RunOn<IStream>(hDataStream, [&](IStream& stream) {
        return stream.StopAcquisition(iStopFlags);
    });
}

GC_ERROR DSGetBufferChunkData(DS_HANDLE hDataStream, BUFFER_HANDLE hBuffer,
                              SINGLE_CHUNK_DATA* pChunkData, size_t* piNumChunks)
{
    GENTL_FRAME("hDataStream=%p, hBuffer=%p, pChunkData=%p, piNumChunks=%p", hDataStream, hBuffer,
                static_cast<void*>(pChunkData), static_cast<void*>(piNumChunks));
    return requireHandle(frame, hDataStream)
        .Require(piNumChunks, GC_ERR_INVALID_PARAMETER)
        .RunOn<IStream>(hDataStream, [&](IStream& stream) {
            return stream.GetBufferChunkData(hBuffer, pChunkData, piNumChunks);
        });
}

GC_ERROR DSGetParentDev(DS_HANDLE hDataStream, DEV_HANDLE* phDevice)
{
    GENTL_FRAME("hDataStream=%p, phDevice=%p", hDataStream, static_cast<void*>(phDevice));
    return requireHandle(frame, hDataStream)
        .Require(phDevice, GC_ERR_INVALID_PARAMETER)
        .RunOn<IStream>(hDataStream, [&](IStream& stream) {
            *phDevice = ToOpaque(stream.GetParent());
            return GC_ERR_SUCCESS;
        });
}

GC_ERROR DSGetNumBufferParts(DS_HANDLE hDataStream, BUFFER_HANDLE hBuffer, uint32_t* piNumParts)
{
    GENTL_FRAME("hDataStream=%p, hBuffer=%p, piNumParts=%p", hDataStream, hBuffer,
                static_cast<void*>(piNumParts));
    return requireHandle(frame, hDataStream)
        .Require(piNumParts, GC_ERR_INVALID_PARAMETER)
        .RunOn<IStream>(hDataStream, [&](IStream& stream) {
            return stream.GetNumBufferParts(hBuffer, piNumParts);
        });
}

GC_ERROR DSGetBufferPartInfo(DS_HANDLE hDataStream, BUFFER_HANDLE hBuffer, uint32_t iPartIndex,
                             BUFFER_PART_INFO_CMD iInfoCmd, INFO_DATATYPE* piType, void* pBuffer,
                             size_t* piSize)
{
    GENTL_FRAME("hDataStream=%p, hBuffer=%p, iPartIndex=%d, iInfoCmd=%d, piType=%p, pBuffer=%p, "
                "piSize=%p",
                hDataStream, hBuffer, static_cast<int>(iPartIndex), iInfoCmd,
                static_cast<void*>(piType), pBuffer, static_cast<void*>(piSize));
    return requireHandle(frame, hDataStream)
        .Require(piType && piSize, GC_ERR_INVALID_PARAMETER)
        .RunOn<IStream>(hDataStream, [&](IStream& stream) {
            return stream.GetBufferPartInfo(hBuffer, iPartIndex, iInfoCmd, piType, pBuffer, piSize);
        });
}
