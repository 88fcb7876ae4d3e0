#include "modules/generic/default_stream.h"

#include <algorithm>
#include <stdexcept>
#include <utility>

#include <boost/make_shared.hpp>

#include "base/scope_exit.h"
#include "modules/generic/close_quietly.h"

namespace GenTLProducer
{

namespace
{

GC_ERROR firstFailure(GC_ERROR first, GC_ERROR second)
{
    return first != GC_ERR_SUCCESS ? first : second;
}

} // namespace

CDefaultStream::CDefaultStream(InfoPtr streamInfo, Handle parent)
    : CDefaultModule<IStream>(parent), streamInfo_(std::move(streamInfo))
{
}

GC_ERROR CDefaultStream::Open()
{
    const Lock lock(mutex_);
    OpenPort();
    DeclareRegisters();
    outputQueue_.CreatePipe();
    isOpen_ = true;
    return GC_ERR_SUCCESS;
}

void CDefaultStream::Close()
{
    const Lock lock(mutex_);
    if (isOpen_)
        LowLevelUnprepare();
    ReleaseEvent();
    for (StreamQueue* queue :
         {&freeQueue_, &unqueuedQueue_, &inputQueue_, &outputQueue_, &toFillQueue_})
        queue->UnlinkAll();
    slots_.clear();
    streamInfo_.reset();
    RemoveOwnHandle();
    CloseModule();
}

void CDefaultStream::ReleaseEvent()
{
    if (!newBufferEvent_)
        return;
    newBufferEvent_->Close();
    newBufferEvent_.reset();
}

StreamQueue& CDefaultStream::GetQueue(std::uint32_t queueId)
{
    switch (queueId) {
    case kUnqueued:
        return unqueuedQueue_;
    case kInput:
        return inputQueue_;
    case kToFill:
        return toFillQueue_;
    case kOutput:
        return outputQueue_;
    default:
        throw std::invalid_argument("Argument for GetQueue() is invalid.");
    }
}

std::size_t CDefaultStream::BufferHandleToIndex(BUFFER_HANDLE hBuffer) const
{
    const Handle handle = ToHandle(hBuffer);
    if (IsBufferHandle(handle))
        return static_cast<std::size_t>(BufferHandleIndex(handle));
    // A buffer under a handle of the registry: none of this system is, so that nothing matches.
    const auto module = HandleRegistry::Instance()->GetModule(handle);
    const auto buffer = boost::dynamic_pointer_cast<CDefaultStreamBuffer>(module);
    if (!buffer || buffer->GetParent() != GetHandle())
        return ~std::size_t{0};
    const std::size_t index = buffer->slotIndex();
    return index < slots_.size() && slots_[index] == buffer ? index : ~std::size_t{0};
}

CDefaultStream::BufferPtr CDefaultStream::FindAnnounced(BUFFER_HANDLE hBuffer) const
{
    const std::size_t index = BufferHandleToIndex(hBuffer);
    if (index >= slots_.size() || slots_[index]->queue() == &freeQueue_)
        return {};
    return slots_[index];
}

bool CDefaultStream::hasAnnouncedBuffers() const
{
    return freeQueue_.count() != slots_.size();
}

// ---- Announcing and revoking ----------------------------------------------------------------

CDefaultStreamBuffer& CDefaultStream::TakeFreeBuffer()
{
    if (freeQueue_.empty()) {
        slots_.reserve(slots_.size() + 1);
        slots_.push_back(LowLevelCreateBuffer(slots_.size()));
        freeQueue_.Append(*slots_.back());
    }
    return BufferOf(*freeQueue_.head());
}

GC_ERROR CDefaultStream::AnnounceBuffer(void* pBuffer, std::size_t iSize, void* pPrivate,
                                        BUFFER_HANDLE* phBuffer)
{
    const Lock lock(mutex_);
    if (!isOpen_)
        return GC_ERR_NOT_INITIALIZED;
    *phBuffer = GENTL_INVALID_HANDLE;
    if (!announceAnytime_ && isGrabbing_)
        return GC_ERR_BUSY;
    if (pBuffer && std::any_of(slots_.begin(), slots_.end(),
                               [&](const BufferPtr& slot) { return slot->GetData() == pBuffer; }))
        return GC_ERR_RESOURCE_IN_USE;

    CDefaultStreamBuffer& buffer = TakeFreeBuffer();
    const Handle handle = MakeBufferHandle(static_cast<std::int64_t>(buffer.slotIndex()));
    buffer.Assign(iSize, pBuffer, pPrivate);
    ScopeExit releaseOnFailure([&] { buffer.Release(); });
    if (const GC_ERROR result = LowLevelRegisterBuffer(buffer); result != GC_ERR_SUCCESS)
        return result;
    releaseOnFailure.release();
    unqueuedQueue_.Append(buffer);
    buffer.SetHandle(handle);
    *phBuffer = ToOpaque(handle);
    return GC_ERR_SUCCESS;
}

GC_ERROR CDefaultStream::AllocAndAnnounceBuffer(std::size_t iSize, void* pPrivate,
                                                BUFFER_HANDLE* phBuffer)
{
    return AnnounceBuffer(nullptr, iSize, pPrivate, phBuffer);
}

GC_ERROR CDefaultStream::RevokeBuffer(BUFFER_HANDLE hBuffer, void** ppBuffer, void** ppPrivate)
{
    const Lock lock(mutex_);
    if (!isOpen_)
        return GC_ERR_NOT_INITIALIZED;
    const std::size_t index = BufferHandleToIndex(hBuffer);
    if (index >= slots_.size())
        return GC_ERR_INVALID_HANDLE;
    CDefaultStreamBuffer& buffer = *slots_[index];
    if (buffer.queue() != &unqueuedQueue_)
        return GC_ERR_BUSY;
    if (const GC_ERROR result = LowLevelDeregisterBuffer(buffer); result != GC_ERR_SUCCESS)
        return result;
    if (ppPrivate)
        *ppPrivate = buffer.GetUserPtr();
    if (ppBuffer)
        *ppBuffer = buffer.IsOwned() ? nullptr : buffer.GetData();
    buffer.Release();
    freeQueue_.Append(buffer);
    return GC_ERR_SUCCESS;
}

GC_ERROR CDefaultStream::GetBufferID(std::uint32_t iIndex, BUFFER_HANDLE* phBuffer)
{
    const Lock lock(mutex_);
    if (!isOpen_)
        return GC_ERR_NOT_INITIALIZED;
    for (const BufferPtr& slot : slots_) {
        if (slot->queue() == &freeQueue_ || iIndex-- != 0)
            continue;
        *phBuffer = ToOpaque(slot->GetHandle());
        return GC_ERR_SUCCESS;
    }
    return GC_ERR_INVALID_INDEX;
}

// ---- Queues ---------------------------------------------------------------------------------

GC_ERROR CDefaultStream::QueueBuffer(BUFFER_HANDLE hBuffer)
{
    const Lock lock(mutex_);
    if (!isOpen_)
        return GC_ERR_NOT_INITIALIZED;
    const std::size_t index = BufferHandleToIndex(hBuffer);
    if (index >= slots_.size())
        return GC_ERR_INVALID_HANDLE;
    if (slots_[index]->queue() != &unqueuedQueue_)
        return GC_ERR_RESOURCE_IN_USE;
    return LowLevelQueueBuffer(*slots_[index]);
}

GC_ERROR CDefaultStream::MoveQueues(std::uint32_t sourceMask, QueueId destination)
{
    StreamQueue& target = GetQueue(destination);
    const auto isSource = [&](QueueId queue) {
        return (sourceMask & queue) != 0 && queue != destination;
    };
    const auto moveAll = [&](StreamQueue& source) {
        while (source.head())
            target.Append(*source.head());
    };

    GC_ERROR result = GC_ERR_SUCCESS;
    if (isSource(kOutput))
        moveAll(outputQueue_);
    if (isSource(kToFill))
        result = LowLevelFlushToFill(destination);
    if (isSource(kInput))
        moveAll(inputQueue_);
    if (isSource(kUnqueued))
        moveAll(unqueuedQueue_);
    return result;
}

GC_ERROR CDefaultStream::FlushQueue(ACQ_QUEUE_TYPE iOperation)
{
    const Lock lock(mutex_);
    if (!isOpen_)
        return GC_ERR_NOT_INITIALIZED;
    LowLevelUpdateQueues();
    GC_ERROR result = GC_ERR_SUCCESS;
    switch (iOperation) {
    case ACQ_QUEUE_INPUT_TO_OUTPUT:
        return MoveQueues(kInput | kToFill, kOutput);
    case ACQ_QUEUE_OUTPUT_DISCARD:
        return MoveQueues(kOutput, kUnqueued);
    case ACQ_QUEUE_ALL_TO_INPUT:
        result = MoveQueues(kUnqueued, kInput);
        result = firstFailure(result, MoveQueues(kToFill | kOutput, kInput));
        break;
    case ACQ_QUEUE_UNQUEUED_TO_INPUT:
        result = MoveQueues(kUnqueued, kInput);
        break;
    case ACQ_QUEUE_ALL_DISCARD:
        result = MoveQueues(kAllQueues, kUnqueued);
        break;
    default:
        return GC_ERR_NOT_IMPLEMENTED;
    }
    LowLevelUpdateQueues();
    return result;
}

// ---- Acquisition ----------------------------------------------------------------------------

GC_ERROR CDefaultStream::StartAcquisition(ACQ_START_FLAGS iStartFlags, std::uint64_t iNumToAcquire)
{
    const Lock lock(mutex_);
    if (!isOpen_)
        return GC_ERR_NOT_INITIALIZED;
    if (isGrabbing_)
        return GC_ERR_RESOURCE_IN_USE;
    if (iNumToAcquire == 0)
        return GC_ERR_INVALID_PARAMETER;
    if (!announceAnytime_ && !hasAnnouncedBuffers())
        return GC_ERR_INVALID_BUFFER;
    if (iStartFlags != ACQ_START_FLAGS_DEFAULT)
        return GC_ERR_NOT_IMPLEMENTED;

    const std::uint64_t numToAcquireBefore = std::exchange(numToAcquire_, iNumToAcquire);
    const std::uint64_t deliveredBefore = std::exchange(delivered_, 0);
    const bool hasInput = !inputQueue_.empty();
    isGrabbing_ = true;
    try {
        if (const GC_ERROR result = LowLevelPrepareCapture(); result != GC_ERR_SUCCESS)
            return result;
        LowLevelUpdateQueues();
        return LowLevelStartCapture();
    } catch (...) {
        // A failure leaves the acquisition to be stopped, an exception undoes the call.
        isGrabbing_ = false;
        numToAcquire_ = numToAcquireBefore;
        delivered_ = deliveredBefore;
        if (hasInput)
            CloseQuietly([this] { LowLevelUnprepare(); });
        throw;
    }
}

GC_ERROR CDefaultStream::StopAcquisition(ACQ_STOP_FLAGS iStopFlags)
{
    const Lock lock(mutex_);
    if (!isOpen_)
        return GC_ERR_NOT_INITIALIZED;
    if (!isGrabbing_)
        return GC_ERR_RESOURCE_IN_USE;
    LowLevelUpdateQueues();
    if (iStopFlags > ACQ_STOP_FLAGS_KILL)
        return GC_ERR_NOT_IMPLEMENTED;
    isGrabbing_ = false;
    const GC_ERROR stopped = LowLevelStopCapture();
    return firstFailure(stopped, LowLevelUnprepare());
}

GC_ERROR CDefaultStream::StopAfterLastBuffer()
{
    LowLevelUpdateQueues();
    const GC_ERROR stopped = LowLevelStopCapture();
    return firstFailure(stopped, LowLevelUnprepare());
}

GC_ERROR CDefaultStream::TakeNewBufferEvent(void* pBuffer, std::size_t* piSize)
{
    const Lock lock(mutex_);
    if (!isOpen_)
        return GC_ERR_NOT_INITIALIZED;
    if (!piSize)
        return GC_ERR_INVALID_PARAMETER;
    if (const GC_ERROR result = LowLevelUpdateQueues(); result != GC_ERR_SUCCESS)
        return result;
    if (outputQueue_.empty())
        return GC_ERR_NO_DATA;
    CDefaultStreamBuffer& buffer = BufferOf(*outputQueue_.head());
    const EVENT_NEW_BUFFER_DATA data{ToOpaque(buffer.GetHandle()), buffer.GetUserPtr()};
    if (pBuffer) {
        if (*piSize < sizeof data)
            return GC_ERR_BUFFER_TOO_SMALL;
        std::memcpy(pBuffer, &data, sizeof data);
    }
    *piSize = sizeof data;
    ++delivered_;
    const bool isLast = numToAcquire_ != GENTL_INFINITE && delivered_ == numToAcquire_;
    const GC_ERROR result = isLast ? StopAfterLastBuffer() : GC_ERR_SUCCESS;
    unqueuedQueue_.Append(buffer);
    return result;
}

// ---- Infos ----------------------------------------------------------------------------------

GC_ERROR CDefaultStream::GetInfo(std::int32_t iInfoCmd, INFO_DATATYPE* piType, void* pBuffer,
                                 std::size_t* piSize)
{
    const Lock lock(mutex_);
    if (!isOpen_)
        return GC_ERR_NOT_INITIALIZED;
    InfoValue value;
    switch (iInfoCmd) {
    case STREAM_INFO_ID:
    case STREAM_INFO_TLTYPE:
        return streamInfo_->GetInfo(iInfoCmd, piType, pBuffer, piSize);
    case STREAM_INFO_NUM_DELIVERED:
        value = InfoValue::Uint64("STREAM_INFO_NUM_DELIVERED", delivered_);
        break;
    case STREAM_INFO_NUM_UNDERRUN:
        value = InfoValue::Uint64("STREAM_INFO_NUM_UNDERRUN", underrun_);
        break;
    case STREAM_INFO_NUM_ANNOUNCED:
        value = InfoValue::SizeT("STREAM_INFO_NUM_ANNOUNCED",
                                 unqueuedQueue_.count() + outputQueue_.count() +
                                     inputQueue_.count() + toFillQueue_.count());
        break;
    case STREAM_INFO_NUM_QUEUED:
        LowLevelUpdateQueues();
        value =
            InfoValue::SizeT("STREAM_INFO_NUM_QUEUED", inputQueue_.count() + toFillQueue_.count());
        break;
    case STREAM_INFO_NUM_AWAIT_DELIVERY:
        LowLevelUpdateQueues();
        value = InfoValue::SizeT("STREAM_INFO_NUM_AWAIT_DELIVERY", outputQueue_.count());
        break;
    case STREAM_INFO_NUM_STARTED:
        value = InfoValue::Uint64("STREAM_INFO_NUM_STARTED", toFillQueue_.count());
        break;
    case STREAM_INFO_PAYLOAD_SIZE:
        value = InfoValue::SizeT("STREAM_INFO_PAYLOAD_SIZE", LowLevelGetPayloadSize());
        break;
    case STREAM_INFO_IS_GRABBING:
        value = InfoValue::Bool8("STREAM_INFO_IS_GRABBING", isGrabbing_);
        break;
    case STREAM_INFO_DEFINES_PAYLOADSIZE:
        value = InfoValue::Bool8("STREAM_INFO_DEFINES_PAYLOADSIZE", LowLevelGetPayloadSize() != 0);
        break;
    case STREAM_INFO_NUM_CHUNKS_MAX:
        value = InfoValue::SizeT("STREAM_INFO_NUM_CHUNKS_MAX", 0);
        break;
    case STREAM_INFO_BUF_ANNOUNCE_MIN:
        value = InfoValue::SizeT("STREAM_INFO_BUF_ANNOUNCE_MIN", kAnnounceMinimum);
        break;
    case STREAM_INFO_BUF_ALIGNMENT:
        value = InfoValue::SizeT("STREAM_INFO_BUF_ALIGNMENT", kAlignment);
        break;
    default:
        break;
    }
    return value.Answer(piType, pBuffer, piSize);
}

GC_ERROR CDefaultStream::GetBufferInfo(BUFFER_HANDLE hBuffer, std::int32_t iInfoCmd,
                                       INFO_DATATYPE* piType, void* pBuffer, std::size_t* piSize)
{
    const Lock lock(mutex_);
    if (!isOpen_)
        return GC_ERR_NOT_INITIALIZED;
    const BufferPtr buffer = FindAnnounced(hBuffer);
    if (!buffer)
        return GC_ERR_INVALID_HANDLE;
    const StreamQueue* const queue = buffer->queue();
    switch (iInfoCmd) {
    case BUFFER_INFO_IS_QUEUED:
        return InfoValue::Bool8("BUFFER_INFO_IS_QUEUED", queue == &inputQueue_ ||
                                                             queue == &toFillQueue_ ||
                                                             queue == &outputQueue_)
            .Answer(piType, pBuffer, piSize);
    case BUFFER_INFO_IS_ACQUIRING:
        return InfoValue::Bool8("BUFFER_INFO_IS_ACQUIRING", queue == &toFillQueue_)
            .Answer(piType, pBuffer, piSize);
    case BUFFER_INFO_TLTYPE:
        return streamInfo_->GetInfo(STREAM_INFO_TLTYPE, piType, pBuffer, piSize);
    default:
        return buffer->GetInfo(iInfoCmd, piType, pBuffer, piSize);
    }
}

GC_ERROR CDefaultStream::GetBufferChunkData(BUFFER_HANDLE hBuffer, SINGLE_CHUNK_DATA* pChunkData,
                                            std::size_t* piNumChunks)
{
    const Lock lock(mutex_);
    if (!isOpen_)
        return GC_ERR_NOT_INITIALIZED;
    const BufferPtr buffer = FindAnnounced(hBuffer);
    return buffer ? buffer->GetChunkData(pChunkData, piNumChunks) : GC_ERR_INVALID_HANDLE;
}

GC_ERROR CDefaultStream::GetNumBufferParts(BUFFER_HANDLE hBuffer, std::uint32_t* piNumParts)
{
    const Lock lock(mutex_);
    if (!isOpen_)
        return GC_ERR_NOT_INITIALIZED;
    const BufferPtr buffer = FindAnnounced(hBuffer);
    return buffer ? buffer->GetNumParts(piNumParts) : GC_ERR_INVALID_HANDLE;
}

GC_ERROR CDefaultStream::GetBufferPartInfo(BUFFER_HANDLE hBuffer, std::uint32_t iPartIndex,
                                           std::int32_t iInfoCmd, INFO_DATATYPE* piType,
                                           void* pBuffer, std::size_t* piSize)
{
    const Lock lock(mutex_);
    if (!isOpen_)
        return GC_ERR_NOT_INITIALIZED;
    const BufferPtr buffer = FindAnnounced(hBuffer);
    return buffer ? buffer->GetPartInfo(iPartIndex, iInfoCmd, piType, pBuffer, piSize)
                  : GC_ERR_INVALID_HANDLE;
}

std::string CDefaultStream::GetId() const
{
    const Lock lock(mutex_);
    return streamInfo_ ? streamInfo_->GetId() : std::string();
}

// ---- Events ---------------------------------------------------------------------------------

GC_ERROR CDefaultStream::RegisterEvent(std::int32_t iEventID, EVENT_HANDLE* phEvent)
{
    const Lock lock(mutex_);
    if (!isOpen_)
        return GC_ERR_NOT_INITIALIZED;
    if (iEventID != EVENT_NEW_BUFFER)
        return GC_ERR_NOT_IMPLEMENTED;
    if (newBufferEvent_)
        return GC_ERR_RESOURCE_IN_USE;

    // A queue without a pipe leaves a gap, which makes the registration fail.
    std::vector<PipeEvent*> pipes{outputQueue_.pipe()};
    if (PipeEvent* const wakePipe = LowLevelGetWakePipe())
        pipes.push_back(wakePipe);
    const auto event = boost::make_shared<CEventNewBuffer>();
    if (const GC_ERROR result = event->Attach(weak_from_this(), pipes); result != GC_ERR_SUCCESS)
        return result;
    const Handle handle = HandleRegistry::Instance()->AddEvent(event);
    event->SetHandle(handle);
    newBufferEvent_ = event;
    *phEvent = ToOpaque(handle);
    return GC_ERR_SUCCESS;
}

GC_ERROR CDefaultStream::UnregisterEvent(std::int32_t iEventID)
{
    const Lock lock(mutex_);
    if (!isOpen_)
        return GC_ERR_NOT_INITIALIZED;
    if (iEventID != EVENT_NEW_BUFFER)
        return GC_ERR_NOT_IMPLEMENTED;
    if (!newBufferEvent_)
        return GC_ERR_INVALID_PARAMETER;
    ReleaseEvent();
    return GC_ERR_SUCCESS;
}

} // namespace GenTLProducer
