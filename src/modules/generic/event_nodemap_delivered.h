// The event of a device: data for the node map of its description.
#pragma once

#include <deque>
#include <mutex>
#include <vector>

#include "modules/generic/default_event.h"

namespace GenTLProducer
{

/// Keeps the records that its owner pushes until a consumer fetches them. A record is the marker
/// and the event identifier, 4 bytes each in the machine's byte order, and the payload,
/// zero-filled to the largest one.
class CNodemapDeliveredEvent final : public CDefaultEvent
{
public:
    explicit CNodemapDeliveredEvent(std::size_t largestPayload);
    ~CNodemapDeliveredEvent() override;

    /// Makes the pipe and starts to wait on it. GC_ERR_RESOURCE_IN_USE when open already.
    GC_ERROR OpenEvent();

    /// Adds a record; a payload above the largest is dropped. Any thread.
    void Push(std::uint32_t id, const void* data, std::size_t size);

    GC_ERROR GetInfo(std::int32_t iInfoCmd, INFO_DATATYPE* piType, void* pBuffer,
                     std::size_t* piSize) override;
    GC_ERROR GetDataInfo(const void* pInBuffer, std::size_t iInSize, std::int32_t iInfoCmd,
                         INFO_DATATYPE* piType, void* pOutBuffer, std::size_t* piOutSize) override;
    GC_ERROR Flush() override;
    void Close() override;

private:
    GC_ERROR GetDataImpl(void* pBuffer, std::size_t* piSize) override;
    std::size_t recordSize() const noexcept;

    const std::size_t largestPayload_;
    std::mutex recordsMutex_; // leaf
    std::deque<std::vector<std::uint8_t>> records_;
    std::unique_ptr<PipeEvent> recordsWaiting_; ///< readable while records_ isn't empty
};

} // namespace GenTLProducer
