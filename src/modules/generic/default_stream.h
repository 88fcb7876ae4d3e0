// The generic data stream: buffers, their five queues and the logic of the DS functions.
#pragma once

#include <vector>

#include <boost/enable_shared_from_this.hpp>
#include <boost/shared_ptr.hpp>

#include "modules/generic/default_module.h"
#include "modules/generic/default_stream_buffer.h"
#include "modules/generic/event_new_buffer.h"
#include "registers/space/iregister_space.h"

namespace GenTLProducer
{

/// Names of the queues between which buffers move; also the bits of MoveQueues.
enum QueueId : std::uint32_t {
    kUnqueued = 1, ///< announced, in the consumer's hands
    kInput = 2,    ///< waiting to be handed to the low level
    kToFill = 4,   ///< held by the low level, in its order
    kOutput = 8,   ///< filled, waiting for delivery
    kAllQueues = kUnqueued | kInput | kToFill | kOutput,
};

/// Owns every buffer object and leaves what touches hardware to the LowLevel operations. Buffers
/// move on a consumer's call alone, under the module's lock; whoever fills them only rings a
/// pipe. A slot is reused after a revoke, so buffer objects live as long as the open stream.
/// Must be held by a boost::shared_ptr.
class CDefaultStream : public CDefaultModule<IStream>,
                       public IRegisterSpace,
                       public boost::enable_shared_from_this<CDefaultStream>
{
public:
    CDefaultStream(InfoPtr streamInfo, Handle parent);

    GC_ERROR Open() override;
    void Close() override;
    GC_ERROR AllocAndAnnounceBuffer(std::size_t iSize, void* pPrivate,
                                    BUFFER_HANDLE* phBuffer) override;
    GC_ERROR AnnounceBuffer(void* pBuffer, std::size_t iSize, void* pPrivate,
                            BUFFER_HANDLE* phBuffer) override;
    GC_ERROR RevokeBuffer(BUFFER_HANDLE hBuffer, void** ppBuffer, void** ppPrivate) override;
    GC_ERROR GetBufferID(std::uint32_t iIndex, BUFFER_HANDLE* phBuffer) override;
    GC_ERROR GetInfo(std::int32_t iInfoCmd, INFO_DATATYPE* piType, void* pBuffer,
                     std::size_t* piSize) override;
    GC_ERROR QueueBuffer(BUFFER_HANDLE hBuffer) override;
    GC_ERROR FlushQueue(ACQ_QUEUE_TYPE iOperation) override;
    GC_ERROR StartAcquisition(ACQ_START_FLAGS iStartFlags, std::uint64_t iNumToAcquire) override;
    GC_ERROR StopAcquisition(ACQ_STOP_FLAGS iStopFlags) override;
    GC_ERROR GetBufferInfo(BUFFER_HANDLE hBuffer, std::int32_t iInfoCmd, INFO_DATATYPE* piType,
                           void* pBuffer, std::size_t* piSize) override;
    GC_ERROR GetBufferChunkData(BUFFER_HANDLE hBuffer, SINGLE_CHUNK_DATA* pChunkData,
                                std::size_t* piNumChunks) override;
    GC_ERROR TakeNewBufferEvent(void* pBuffer, std::size_t* piSize) override;
    GC_ERROR GetNumBufferParts(BUFFER_HANDLE hBuffer, std::uint32_t* piNumParts) override;
    GC_ERROR GetBufferPartInfo(BUFFER_HANDLE hBuffer, std::uint32_t iPartIndex,
                               std::int32_t iInfoCmd, INFO_DATATYPE* piType, void* pBuffer,
                               std::size_t* piSize) override;
    std::string GetId() const override;
    GC_ERROR RegisterEvent(std::int32_t iEventID, EVENT_HANDLE* phEvent) override;
    GC_ERROR UnregisterEvent(std::int32_t iEventID) override;

    bool OnRegisterWrite(std::uint64_t address, const std::uint32_t* pUiRegisterData,
                         std::size_t uiRegisterDataSize) override;
    bool OnRegisterRead(std::uint64_t address, std::uint32_t* pUiRegisterData,
                        std::size_t uiRegisterDataSize) override;

protected:
    using BufferPtr = boost::shared_ptr<CDefaultStreamBuffer>;

    // What a concrete stream does. All run under the module's lock.

    /// A new buffer object with this slot index and this stream as parent.
    virtual BufferPtr LowLevelCreateBuffer(std::size_t index) = 0;
    /// 0 when the low level can accept buffers and start.
    virtual GC_ERROR LowLevelPrepareCapture() = 0;
    /// Takes every buffer of the to-fill queue back and moves it to that queue.
    virtual GC_ERROR LowLevelFlushToFill(QueueId destination) = 0;
    /// Gives the capture resources back; also when nothing is prepared.
    virtual GC_ERROR LowLevelUnprepare() = 0;
    virtual GC_ERROR LowLevelStartCapture() = 0;
    /// Frames stop, and the to-fill queue gets empty.
    virtual GC_ERROR LowLevelStopCapture() = 0;
    /// Makes the memory known to the low level; a non-zero code refuses the announcement.
    virtual GC_ERROR LowLevelRegisterBuffer(CDefaultStreamBuffer& buffer) = 0;
    /// The reverse; a non-zero code keeps the buffer announced.
    virtual GC_ERROR LowLevelDeregisterBuffer(CDefaultStreamBuffer& buffer) = 0;
    /// Takes the buffer into the to-fill queue, or into the output queue if it can't be used.
    virtual GC_ERROR LowLevelQueueBuffer(CDefaultStreamBuffer& buffer) = 0;
    /// Readable when finished buffers may be waiting; may be null.
    virtual PipeEvent* LowLevelGetWakePipe() = 0;
    /// Moves finished buffers from to-fill to output, and input buffers to to-fill.
    virtual GC_ERROR LowLevelUpdateQueues() = 0;
    /// Bytes of one image with the present settings.
    virtual std::size_t LowLevelGetPayloadSize() = 0;

    /// Throws std::invalid_argument for anything but one of the four names.
    StreamQueue& GetQueue(std::uint32_t queueId);
    StreamQueue& GetQueue(std::uint32_t queueId) const
    {
        return const_cast<CDefaultStream*>(this)->GetQueue(queueId);
    }
    /// Moves the buffers of the queues in the mask, output first, to-fill through the low level.
    GC_ERROR MoveQueues(std::uint32_t sourceMask, QueueId destination);

    static CDefaultStreamBuffer& BufferOf(CQueueableStreamBuffer& element)
    {
        return static_cast<CDefaultStreamBuffer&>(element);
    }

    std::uint64_t underrun_ = 0; ///< lost frames, as last asked for

private:
    // What a consumer can't change.
    static constexpr std::size_t kAnnounceMinimum = 1;
    static constexpr std::size_t kAlignment = 1;

    void DeclareRegisters();
    void ReleaseEvent();
    BufferPtr FindAnnounced(BUFFER_HANDLE hBuffer) const;
    std::size_t BufferHandleToIndex(BUFFER_HANDLE hBuffer) const;
    CDefaultStreamBuffer& TakeFreeBuffer();
    bool hasAnnouncedBuffers() const;
    GC_ERROR StopAfterLastBuffer();

    InfoPtr streamInfo_;
    std::vector<BufferPtr> slots_; ///< outlives the queues, which link what is in it
    StreamQueue freeQueue_;        ///< slots without an announced buffer
    StreamQueue unqueuedQueue_;
    StreamQueue outputQueue_; ///< has a pipe
    StreamQueue inputQueue_;
    StreamQueue toFillQueue_;

    std::uint64_t numToAcquire_ = 0;
    std::uint64_t payloadSize_ = 0; ///< as last shown by its register
    std::uint64_t delivered_ = 0;
    bool isGrabbing_ = false;
    bool announceAnytime_ = false;
    bool autoBufferProperties_ = true;
    std::uint32_t maxNumBuffers_ = 100;
    std::uint32_t maxBufferSize_ = 1;
    boost::shared_ptr<CEventNewBuffer> newBufferEvent_;
};

} // namespace GenTLProducer
