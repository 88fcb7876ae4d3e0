#include "modules/generic/event_new_buffer.h"

#include <algorithm>
#include <cstring>

#include <boost/shared_ptr.hpp>

#include "modules/generic/info_value.h"

namespace GenTLProducer
{

GC_ERROR CEventNewBuffer::Attach(boost::weak_ptr<IStream> stream, Span<PipeEvent* const> pipes)
{
    {
        const std::lock_guard<std::mutex> lock(streamMutex_);
        stream_ = std::move(stream);
    }
    return Init(pipes);
}

boost::shared_ptr<IStream> CEventNewBuffer::Stream() const
{
    const std::lock_guard<std::mutex> lock(streamMutex_);
    return stream_.lock();
}

GC_ERROR CEventNewBuffer::GetDataImpl(void* pBuffer, std::size_t* piSize)
{
    const boost::shared_ptr<IStream> stream = Stream();
    return stream ? stream->TakeNewBufferEvent(pBuffer, piSize) : GC_ERR_NOT_INITIALIZED;
}

GC_ERROR CEventNewBuffer::Flush()
{
    const boost::shared_ptr<IStream> stream = Stream();
    return stream ? stream->FlushQueue(ACQ_QUEUE_OUTPUT_DISCARD) : GC_ERR_NOT_INITIALIZED;
}

void CEventNewBuffer::Close()
{
    {
        const std::lock_guard<std::mutex> lock(streamMutex_);
        stream_.reset();
    }
    CDefaultEvent::Close();
}

GC_ERROR CEventNewBuffer::GetInfo(std::int32_t iInfoCmd, INFO_DATATYPE* piType, void* pBuffer,
                                  std::size_t* piSize)
{
    const boost::shared_ptr<IStream> stream = Stream();
    if (!stream)
        return GC_ERR_NOT_INITIALIZED;
    InfoValue value;
    switch (iInfoCmd) {
    case EVENT_EVENT_TYPE:
        value = InfoValue::Int32("EVENT_EVENT_TYPE", EVENT_NEW_BUFFER);
        break;
    case EVENT_NUM_IN_QUEUE:
        return stream->GetInfo(STREAM_INFO_NUM_AWAIT_DELIVERY, piType, pBuffer, piSize);
    case EVENT_NUM_FIRED:
        value = InfoValue::Uint64("EVENT_NUM_FIRED", fired());
        break;
    case EVENT_SIZE_MAX:
        value = InfoValue::SizeT("EVENT_SIZE_MAX", sizeof(EVENT_NEW_BUFFER_DATA));
        break;
    case EVENT_INFO_DATA_SIZE_MAX:
        value = InfoValue::SizeT("EVENT_INFO_DATA_SIZE_MAX", sizeof(void*));
        break;
    default:
        break;
    }
    return value.Answer(piType, pBuffer, piSize);
}

GC_ERROR CEventNewBuffer::GetDataInfo(const void* pInBuffer, std::size_t iInSize,
                                      std::int32_t iInfoCmd, INFO_DATATYPE* piType,
                                      void* pOutBuffer, std::size_t* piOutSize)
{
    EVENT_NEW_BUFFER_DATA data{};
    if (iInSize < sizeof data.BufferHandle)
        return GC_ERR_INVALID_PARAMETER;
    if (iInfoCmd == EVENT_DATA_VALUE && iInSize < sizeof data)
        return GC_ERR_INVALID_PARAMETER;
    std::memcpy(&data, pInBuffer, std::min(iInSize, sizeof data));

    InfoValue value;
    switch (iInfoCmd) {
    case EVENT_DATA_ID:
        value = InfoValue::Pointer(data.BufferHandle);
        break;
    case EVENT_DATA_VALUE:
        value = InfoValue::Pointer(data.pUserPointer);
        break;
    case EVENT_DATA_NUMID:
        value = InfoValue::Uint64("EVENT_DATA_NUMID",
                                  reinterpret_cast<std::uintptr_t>(data.BufferHandle));
        break;
    default:
        break;
    }
    return value.Answer(piType, pOutBuffer, piOutSize);
}

} // namespace GenTLProducer
