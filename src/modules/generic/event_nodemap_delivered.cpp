#include "modules/generic/event_nodemap_delivered.h"

#include <cstring>

#include "modules/generic/info_value.h"

namespace GenTLProducer
{

namespace
{

constexpr std::uint32_t kMarker = 0x84F29E31;

struct RecordHead {
    std::uint32_t marker;
    std::uint32_t id;
};
static_assert(sizeof(RecordHead) == 8, "the payload stands behind two words");

// The payload as it is, without a trace line: no other info has raw bytes.
GC_ERROR answerPayload(const std::uint8_t* payload, std::size_t size, INFO_DATATYPE* piType,
                       void* pBuffer, std::size_t* piSize)
{
    *piType = INFO_DATATYPE_BUFFER;
    if (pBuffer) {
        if (*piSize < size)
            return GC_ERR_BUFFER_TOO_SMALL;
        std::memmove(pBuffer, payload, size); // the consumer may pass one buffer for both
    }
    *piSize = size;
    return GC_ERR_SUCCESS;
}

} // namespace

CNodemapDeliveredEvent::CNodemapDeliveredEvent(std::size_t largestPayload)
    : largestPayload_(largestPayload)
{
}

CNodemapDeliveredEvent::~CNodemapDeliveredEvent() = default;

std::size_t CNodemapDeliveredEvent::recordSize() const noexcept
{
    return sizeof(RecordHead) + largestPayload_;
}

GC_ERROR CNodemapDeliveredEvent::OpenEvent()
{
    const std::lock_guard<std::mutex> lock(recordsMutex_);
    if (recordsWaiting_)
        return GC_ERR_RESOURCE_IN_USE;
    recordsWaiting_ = PipeEvent::Create();
    if (!recordsWaiting_)
        return GC_ERR_ERROR;
    PipeEvent* const sources[] = {recordsWaiting_.get()};
    return Init(sources);
}

void CNodemapDeliveredEvent::Push(std::uint32_t id, const void* data, std::size_t size)
{
    if (size > largestPayload_)
        return;
    const RecordHead head{kMarker, id};
    std::vector<std::uint8_t> record(recordSize());
    std::memcpy(record.data(), &head, sizeof head);
    if (size != 0)
        std::memcpy(record.data() + sizeof head, data, size);

    const std::lock_guard<std::mutex> lock(recordsMutex_);
    if (!recordsWaiting_)
        return;
    records_.push_back(std::move(record));
    countFired();
    recordsWaiting_->Signal();
}

GC_ERROR CNodemapDeliveredEvent::GetDataImpl(void* pBuffer, std::size_t* piSize)
{
    if (!piSize)
        return GC_ERR_INVALID_PARAMETER;
    const std::lock_guard<std::mutex> lock(recordsMutex_);
    if (records_.empty())
        return GC_ERR_NOT_AVAILABLE;
    const std::vector<std::uint8_t>& record = records_.front();
    if (!pBuffer) {
        *piSize = record.size();
        return GC_ERR_SUCCESS;
    }
    if (*piSize < record.size())
        return GC_ERR_BUFFER_TOO_SMALL;
    std::memcpy(pBuffer, record.data(), record.size());
    *piSize = record.size();
    records_.pop_front();
    if (records_.empty() && recordsWaiting_)
        recordsWaiting_->Clear();
    return GC_ERR_SUCCESS;
}

GC_ERROR CNodemapDeliveredEvent::Flush()
{
    const std::lock_guard<std::mutex> lock(recordsMutex_);
    records_.clear();
    if (recordsWaiting_)
        recordsWaiting_->Clear();
    return GC_ERR_SUCCESS;
}

void CNodemapDeliveredEvent::Close()
{
    Kill();
    Flush();
    CDefaultEvent::Close();
    const std::lock_guard<std::mutex> lock(recordsMutex_);
    recordsWaiting_.reset();
}

GC_ERROR CNodemapDeliveredEvent::GetInfo(std::int32_t iInfoCmd, INFO_DATATYPE* piType,
                                         void* pBuffer, std::size_t* piSize)
{
    const std::lock_guard<std::mutex> lock(recordsMutex_);
    InfoValue value;
    switch (iInfoCmd) {
    case EVENT_EVENT_TYPE:
        value = InfoValue::Int32("EVENT_EVENT_TYPE", EVENT_MODULE);
        break;
    case EVENT_NUM_IN_QUEUE:
        value = InfoValue::Uint64("EVENT_NUM_IN_QUEUE", records_.size());
        break;
    case EVENT_NUM_FIRED:
        value = InfoValue::Uint64("EVENT_NUM_FIRED", fired());
        break;
    case EVENT_SIZE_MAX:
        value = InfoValue::SizeT("EVENT_SIZE_MAX", recordSize());
        break;
    case EVENT_INFO_DATA_SIZE_MAX:
        value = InfoValue::SizeT("EVENT_INFO_DATA_SIZE_MAX", 4);
        break;
    default:
        break;
    }
    return value.Answer(piType, pBuffer, piSize);
}

GC_ERROR CNodemapDeliveredEvent::GetDataInfo(const void* pInBuffer, std::size_t iInSize,
                                             std::int32_t iInfoCmd, INFO_DATATYPE* piType,
                                             void* pOutBuffer, std::size_t* piOutSize)
{
    RecordHead head{};
    if (iInSize < sizeof head)
        return GC_ERR_INVALID_PARAMETER;
    std::memcpy(&head, pInBuffer, sizeof head);
    if (head.marker != kMarker)
        return GC_ERR_INVALID_BUFFER;

    switch (iInfoCmd) {
    case EVENT_DATA_ID:
        return InfoValue::Int32("EVENT_DATA_ID", static_cast<std::int32_t>(head.id))
            .Answer(piType, pOutBuffer, piOutSize);
    case EVENT_DATA_VALUE:
        return answerPayload(static_cast<const std::uint8_t*>(pInBuffer) + sizeof head,
                             iInSize - sizeof head, piType, pOutBuffer, piOutSize);
    case EVENT_DATA_NUMID:
        return InfoValue::Uint64("EVENT_DATA_NUMID", head.id).Answer(piType, pOutBuffer, piOutSize);
    default:
        return InfoValue().Answer(piType, pOutBuffer, piOutSize);
    }
}

} // namespace GenTLProducer
