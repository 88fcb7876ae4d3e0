// The generic buffer of a data stream with everything that a consumer can ask about it.
#pragma once

#include <array>
#include <memory>
#include <string>

#include "modules/generic/imodule.h"
#include "modules/generic/info_value.h"
#include "modules/generic/stream_queue.h"

namespace GenTLProducer
{

/// Info commands of the producer's own: the grabber's error of an incomplete buffer. The code
/// stays when a later frame is good, so BUFFER_INFO_IS_INCOMPLETE is asked first.
constexpr std::int32_t BUFFER_INFO_TOLMEN_XAPI_ERROR_CODE = 1001;
constexpr std::int32_t BUFFER_INFO_TOLMEN_XAPI_ERROR_MSG = 1002;

/// A buffer, as the stream sees it.
class IStreamBuffer : public IModule
{
public:
    /// Takes the memory, or allocates iSize bytes, not cleared, for a null pBuffer. What the
    /// buffer had before is released first.
    virtual void Assign(std::size_t iSize, void* pBuffer, void* pPrivate) = 0;
    /// Frees allocated memory, forgets the consumer's.
    virtual void Release() = 0;
    virtual GC_ERROR GetInfo(std::int32_t iInfoCmd, INFO_DATATYPE* piType, void* pBuffer,
                             std::size_t* piSize) = 0;
    virtual GC_ERROR GetChunkData(SINGLE_CHUNK_DATA* pChunkData, std::size_t* piNumChunks) = 0;
    virtual GC_ERROR GetNumParts(std::uint32_t* piNumParts) = 0;
    virtual GC_ERROR GetPartInfo(std::uint32_t iPartIndex, std::int32_t iInfoCmd,
                                 INFO_DATATYPE* piType, void* pBuffer, std::size_t* piSize) = 0;
    virtual void* GetData() const = 0;
    virtual void* GetUserPtr() const = 0;
    /// The producer allocated the memory.
    virtual bool IsOwned() const = 0;
    /// Forgets the frame: every value as in a buffer that never held one.
    virtual void Reset() = 0;
};

/// One part of a multi-part payload. No frame of this camera has any.
struct BufferPartRecord {
    void* data;
    std::size_t dataSize;
    std::int32_t dataType;
    std::uint64_t sourceId;
    std::uint64_t dataFormat;
    std::size_t width;
    std::size_t height;
    std::size_t offsetX;
    std::size_t offsetY;
    std::size_t paddingX;
};

/// What a frame leaves in its buffer; the initial values are those of an empty one.
struct BufferFrame {
    std::size_t sizeFilled = 0;  ///< bytes
    std::size_t dataSize = 0;    ///< bytes
    std::uint64_t timestamp = 0; ///< nanoseconds
    bool newData = false;
    bool incomplete = false;
    std::size_t width = 1;
    std::size_t height = 1;
    std::size_t offsetX = 0;
    std::size_t offsetY = 0;
    std::size_t paddingX = 0;
    std::size_t paddingY = 0;
    std::uint64_t frameId = 0;
    bool imagePresent = true;
    std::size_t imageOffset = 0;
    std::size_t payloadType = PAYLOAD_TYPE_UNKNOWN;
    std::uint64_t pixelFormat = 0;
    std::uint64_t pixelFormatNamespace = PIXELFORMAT_NAMESPACE_UNKNOWN;
    std::int32_t pixelEndianness = PIXELENDIANNESS_UNKNOWN;
    std::size_t deliveredHeight = 0;
    std::size_t deliveredChunkPayloadSize = 0;
    std::uint64_t chunkLayoutId = 0;
    bool containsChunkData = false;
    std::size_t numParts = 0;
    std::array<BufferPartRecord, 10> parts{};
};

/// Its stream's lock covers every operation.
class CDefaultStreamBuffer : public IStreamBuffer, public CQueueableStreamBuffer
{
public:
    CDefaultStreamBuffer(std::size_t slotIndex, Handle parent);
    ~CDefaultStreamBuffer() override;

    // A buffer is a module without a port, an event or a description.
    GC_ERROR GetNumPortURLs(std::uint32_t* piNumURLs) override;
    GC_ERROR GetPortInfo(std::int32_t iInfoCmd, INFO_DATATYPE* piType, void* pBuffer,
                         std::size_t* piSize) override;
    GC_ERROR GetPortURL(char* sURL, std::size_t* piSize) override;
    GC_ERROR GetPortURLInfo(std::uint32_t iURLIndex, std::int32_t iInfoCmd, INFO_DATATYPE* piType,
                            void* pBuffer, std::size_t* piSize) override;
    GC_ERROR WritePort(std::uint64_t iAddress, const void* pBuffer, std::size_t* piSize) override;
    GC_ERROR ReadPort(std::uint64_t iAddress, void* pBuffer, std::size_t* piSize) override;
    GC_ERROR RegisterEvent(std::int32_t iEventID, EVENT_HANDLE* phEvent) override;
    GC_ERROR UnregisterEvent(std::int32_t iEventID) override;
    Handle GetParent() const override { return parent_; }
    Handle GetHandle() const override { return handle_; }
    void SetHandle(Handle handle) override { handle_ = handle; }

    void Assign(std::size_t iSize, void* pBuffer, void* pPrivate) override;
    void Release() override;
    GC_ERROR GetInfo(std::int32_t iInfoCmd, INFO_DATATYPE* piType, void* pBuffer,
                     std::size_t* piSize) override;
    GC_ERROR GetChunkData(SINGLE_CHUNK_DATA* pChunkData, std::size_t* piNumChunks) override;
    GC_ERROR GetNumParts(std::uint32_t* piNumParts) override;
    GC_ERROR GetPartInfo(std::uint32_t iPartIndex, std::int32_t iInfoCmd, INFO_DATATYPE* piType,
                         void* pBuffer, std::size_t* piSize) override;
    void* GetData() const override { return data_; }
    void* GetUserPtr() const override { return userPointer_; }
    bool IsOwned() const override { return owned_ != nullptr; }
    void Reset() override { frame_ = BufferFrame(); }

    std::size_t size() const noexcept { return size_; }
    const BufferFrame& frame() const noexcept { return frame_; }
    BufferFrame& frame() noexcept { return frame_; }

    /// Marks the buffer as come back without a good frame.
    void MarkIncomplete(std::uint32_t errorCode);

private:
    InfoValue Value(std::int32_t iInfoCmd) const;

    Handle handle_ = 0;
    const Handle parent_;
    void* data_ = nullptr;
    std::unique_ptr<std::uint8_t[]> owned_;
    void* userPointer_ = nullptr;
    std::size_t size_ = 0; ///< bytes
    BufferFrame frame_;
    std::uint32_t errorCode_ = 0;
    std::string errorText_;
};

} // namespace GenTLProducer
