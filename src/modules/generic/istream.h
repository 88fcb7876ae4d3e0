// The data stream module, as the exported DS functions see it.
#pragma once

#include <string>

#include "modules/generic/imodule.h"

namespace GenTLProducer
{

class IStream : public IModule
{
public:
    virtual GC_ERROR Open() = 0;
    virtual void Close() = 0;
    virtual GC_ERROR AllocAndAnnounceBuffer(std::size_t iSize, void* pPrivate,
                                            BUFFER_HANDLE* phBuffer) = 0;
    virtual GC_ERROR AnnounceBuffer(void* pBuffer, std::size_t iSize, void* pPrivate,
                                    BUFFER_HANDLE* phBuffer) = 0;
    virtual GC_ERROR RevokeBuffer(BUFFER_HANDLE hBuffer, void** ppBuffer, void** ppPrivate) = 0;
    virtual GC_ERROR GetBufferID(std::uint32_t iIndex, BUFFER_HANDLE* phBuffer) = 0;
    virtual GC_ERROR GetInfo(std::int32_t iInfoCmd, INFO_DATATYPE* piType, void* pBuffer,
                             std::size_t* piSize) = 0;
    virtual GC_ERROR QueueBuffer(BUFFER_HANDLE hBuffer) = 0;
    virtual GC_ERROR FlushQueue(ACQ_QUEUE_TYPE iOperation) = 0;
    virtual GC_ERROR StartAcquisition(ACQ_START_FLAGS iStartFlags, std::uint64_t iNumToAcquire) = 0;
    virtual GC_ERROR StopAcquisition(ACQ_STOP_FLAGS iStopFlags) = 0;
    virtual GC_ERROR GetBufferInfo(BUFFER_HANDLE hBuffer, std::int32_t iInfoCmd,
                                   INFO_DATATYPE* piType, void* pBuffer, std::size_t* piSize) = 0;
    virtual GC_ERROR GetBufferChunkData(BUFFER_HANDLE hBuffer, SINGLE_CHUNK_DATA* pChunkData,
                                        std::size_t* piNumChunks) = 0;
    /// Delivers the oldest filled buffer as EVENT_NEW_BUFFER_DATA: what EventGetData gives.
    virtual GC_ERROR TakeNewBufferEvent(void* pBuffer, std::size_t* piSize) = 0;
    virtual GC_ERROR GetNumBufferParts(BUFFER_HANDLE hBuffer, std::uint32_t* piNumParts) = 0;
    virtual GC_ERROR GetBufferPartInfo(BUFFER_HANDLE hBuffer, std::uint32_t iPartIndex,
                                       std::int32_t iInfoCmd, INFO_DATATYPE* piType, void* pBuffer,
                                       std::size_t* piSize) = 0;
    /// Identifier of this stream; empty once it is closed.
    virtual std::string GetId() const = 0;
};

} // namespace GenTLProducer
