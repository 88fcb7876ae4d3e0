#include "modules/generic/default_stream_buffer.h"

#include "modules/generic/handle_registry.h"
#include "trace/gentl_trace.h"

namespace GenTLProducer
{

namespace
{

bool needsFrame(std::int32_t iInfoCmd)
{
    return iInfoCmd == BUFFER_INFO_TIMESTAMP || iInfoCmd == BUFFER_INFO_FRAMEID ||
           iInfoCmd == BUFFER_INFO_DELIVERED_IMAGEHEIGHT ||
           iInfoCmd == BUFFER_INFO_DELIVERED_CHUNKPAYLOADSIZE;
}

// Values that a multi-part payload has for each part and not for the whole.
bool belongsToParts(std::int32_t iInfoCmd)
{
    switch (iInfoCmd) {
    case BUFFER_INFO_WIDTH:
    case BUFFER_INFO_HEIGHT:
    case BUFFER_INFO_XOFFSET:
    case BUFFER_INFO_YOFFSET:
    case BUFFER_INFO_XPADDING:
    case BUFFER_INFO_PIXELFORMAT:
    case BUFFER_INFO_PIXELFORMAT_NAMESPACE:
    case BUFFER_INFO_DELIVERED_IMAGEHEIGHT:
        return true;
    default:
        return false;
    }
}

} // namespace

CDefaultStreamBuffer::CDefaultStreamBuffer(std::size_t slotIndex, Handle parent)
    : CQueueableStreamBuffer(slotIndex), parent_(parent)
{
}

CDefaultStreamBuffer::~CDefaultStreamBuffer() = default;

void CDefaultStreamBuffer::Assign(std::size_t iSize, void* pBuffer, void* pPrivate)
{
    Release();
    if (!pBuffer) {
        owned_.reset(new std::uint8_t[iSize]);
        pBuffer = owned_.get();
    }
    data_ = pBuffer;
    size_ = iSize;
    userPointer_ = pPrivate;
}

void CDefaultStreamBuffer::Release()
{
    owned_.reset();
    data_ = nullptr;
    userPointer_ = nullptr;
    if (handle_ != 0 && !IsBufferHandle(handle_))
        HandleRegistry::Instance()->Remove(handle_);
    handle_ = 0;
    Reset();
}

void CDefaultStreamBuffer::MarkIncomplete(std::uint32_t errorCode)
{
    frame_.newData = false;
    frame_.incomplete = true;
    errorCode_ = errorCode;
}

GC_ERROR CDefaultStreamBuffer::GetInfo(std::int32_t iInfoCmd, INFO_DATATYPE* piType, void* pBuffer,
                                       std::size_t* piSize)
{
    if (!frame_.newData && needsFrame(iInfoCmd))
        return GC_ERR_NOT_AVAILABLE;
    if (frame_.payloadType == PAYLOAD_TYPE_MULTI_PART && belongsToParts(iInfoCmd))
        return GC_ERR_NO_DATA;
    if (iInfoCmd == BUFFER_INFO_TIMESTAMP_NS || iInfoCmd == BUFFER_INFO_DATA_LARGER_THAN_BUFFER)
        return GC_ERR_NOT_IMPLEMENTED;
    return Value(iInfoCmd).Answer(piType, pBuffer, piSize);
}

InfoValue CDefaultStreamBuffer::Value(std::int32_t iInfoCmd) const
{
    switch (iInfoCmd) {
    case BUFFER_INFO_BASE:
        return InfoValue::Pointer(data_);
    case BUFFER_INFO_SIZE:
        return InfoValue::SizeT("BUFFER_INFO_SIZE", size_);
    case BUFFER_INFO_USER_PTR:
        return InfoValue::Pointer(userPointer_);
    case BUFFER_INFO_TIMESTAMP:
        return InfoValue::Uint64("BUFFER_INFO_TIMESTAMP", frame_.timestamp);
    case BUFFER_INFO_NEW_DATA:
        return InfoValue::Bool8("BUFFER_INFO_NEW_DATA", frame_.newData);
    case BUFFER_INFO_IS_INCOMPLETE:
        return InfoValue::Bool8("BUFFER_INFO_IS_INCOMPLETE", frame_.incomplete);
    case BUFFER_INFO_SIZE_FILLED:
        return InfoValue::SizeT("BUFFER_INFO_SIZE_FILLED", frame_.sizeFilled);
    case BUFFER_INFO_WIDTH:
        return InfoValue::SizeT("BUFFER_INFO_WIDTH", frame_.width);
    case BUFFER_INFO_HEIGHT:
        return InfoValue::SizeT("BUFFER_INFO_HEIGHT", frame_.height);
    case BUFFER_INFO_XOFFSET:
        return InfoValue::SizeT("BUFFER_INFO_XOFFSET", frame_.offsetX);
    case BUFFER_INFO_YOFFSET:
        return InfoValue::SizeT("BUFFER_INFO_YOFFSET", frame_.offsetY);
    case BUFFER_INFO_XPADDING:
        return InfoValue::SizeT("BUFFER_INFO_XPADDING", frame_.paddingX);
    case BUFFER_INFO_YPADDING:
        return InfoValue::SizeT("BUFFER_INFO_YPADDING", frame_.paddingY);
    case BUFFER_INFO_FRAMEID:
        return InfoValue::Uint64("BUFFER_INFO_FRAMEID", frame_.frameId);
    case BUFFER_INFO_IMAGEPRESENT:
        return InfoValue::Bool8("BUFFER_INFO_IMAGEPRESENT", frame_.imagePresent);
    case BUFFER_INFO_IMAGEOFFSET:
        return InfoValue::SizeT("BUFFER_INFO_IMAGEOFFSET", frame_.imageOffset);
    case BUFFER_INFO_PAYLOADTYPE:
        return InfoValue::SizeT("BUFFER_INFO_PAYLOADTYPE", frame_.payloadType);
    case BUFFER_INFO_PIXELFORMAT:
        return InfoValue::Uint64("BUFFER_INFO_PIXELFORMAT", frame_.pixelFormat);
    case BUFFER_INFO_PIXELFORMAT_NAMESPACE:
        return InfoValue::Uint64("BUFFER_INFO_PIXELFORMAT_NAMESPACE", frame_.pixelFormatNamespace);
    case BUFFER_INFO_DELIVERED_IMAGEHEIGHT:
        return InfoValue::SizeT("BUFFER_INFO_DELIVERED_IMAGEHEIGHT", frame_.deliveredHeight);
    case BUFFER_INFO_DELIVERED_CHUNKPAYLOADSIZE:
        return InfoValue::SizeT("BUFFER_INFO_DELIVERED_CHUNKPAYLOADSIZE",
                                frame_.deliveredChunkPayloadSize);
    case BUFFER_INFO_CHUNKLAYOUTID:
        return InfoValue::Uint64("BUFFER_INFO_CHUNKLAYOUTID", frame_.chunkLayoutId);
    case BUFFER_INFO_PIXEL_ENDIANNESS:
        return InfoValue::Int32("BUFFER_INFO_PIXEL_ENDIANNESS", frame_.pixelEndianness);
    case BUFFER_INFO_DATA_SIZE:
        return InfoValue::SizeT("BUFFER_INFO_DATA_SIZE", frame_.dataSize);
    case BUFFER_INFO_CONTAINS_CHUNKDATA:
        return InfoValue::Bool8("BUFFER_INFO_CONTAINS_CHUNKDATA", frame_.containsChunkData);
    case BUFFER_INFO_TOLMEN_XAPI_ERROR_CODE:
        return InfoValue::Uint32("BUFFER_INFO_TOLMEN_XAPI_ERROR_CODE", errorCode_);
    case BUFFER_INFO_TOLMEN_XAPI_ERROR_MSG:
        return InfoValue::String("BUFFER_INFO_TOLMEN_XAPI_ERROR_MSG", errorText_);
    default:
        return {};
    }
}

GC_ERROR CDefaultStreamBuffer::GetChunkData(SINGLE_CHUNK_DATA*, std::size_t*)
{
    return GC_ERR_NOT_IMPLEMENTED;
}

GC_ERROR CDefaultStreamBuffer::GetNumParts(std::uint32_t* piNumParts)
{
    if (frame_.numParts == 0)
        return GC_ERR_NO_DATA;
    *piNumParts = static_cast<std::uint32_t>(frame_.numParts);
    return GC_ERR_SUCCESS;
}

GC_ERROR CDefaultStreamBuffer::GetPartInfo(std::uint32_t iPartIndex, std::int32_t iInfoCmd,
                                           INFO_DATATYPE* piType, void* pBuffer,
                                           std::size_t* piSize)
{
    if (frame_.numParts == 0)
        return GC_ERR_NO_DATA;
    if (iPartIndex >= frame_.numParts)
        return GC_ERR_INVALID_INDEX;
    const BufferPartRecord& part = frame_.parts[iPartIndex];
    InfoValue value;
    switch (iInfoCmd) {
    case BUFFER_PART_INFO_BASE:
        value = InfoValue::Pointer(part.data);
        break;
    case BUFFER_PART_INFO_DATA_SIZE:
        value = InfoValue::SizeT("BUFFER_PART_INFO_DATA_SIZE", part.dataSize);
        break;
    case BUFFER_PART_INFO_DATA_TYPE:
        value = InfoValue::Int32("BUFFER_PART_INFO_DATA_TYPE", part.dataType);
        break;
    case BUFFER_PART_INFO_DATA_FORMAT:
        value = InfoValue::Uint64("BUFFER_PART_INFO_DATA_FORMAT", part.dataFormat);
        break;
    case BUFFER_PART_INFO_DATA_FORMAT_NAMESPACE:
        value = InfoValue::Uint64("BUFFER_PART_INFO_DATA_FORMAT_NAMESPACE",
                                  PIXELFORMAT_NAMESPACE_PFNC_32BIT);
        break;
    case BUFFER_PART_INFO_WIDTH:
        value = InfoValue::SizeT("BUFFER_PART_INFO_WIDTH", part.width);
        break;
    case BUFFER_PART_INFO_HEIGHT:
        value = InfoValue::SizeT("BUFFER_PART_INFO_HEIGHT", part.height);
        break;
    case BUFFER_PART_INFO_XOFFSET:
        value = InfoValue::SizeT("BUFFER_PART_INFO_XOFFSET", part.offsetX);
        break;
    case BUFFER_PART_INFO_YOFFSET:
        value = InfoValue::SizeT("BUFFER_PART_INFO_YOFFSET", part.offsetY);
        break;
    case BUFFER_PART_INFO_XPADDING:
        value = InfoValue::SizeT("BUFFER_PART_INFO_XPADDING", part.paddingX);
        break;
    case BUFFER_PART_INFO_SOURCE_ID:
        value = InfoValue::Uint64("BUFFER_PART_INFO_SOURCE_ID", part.sourceId);
        break;
    default:
        GENTL_TRACE(kTraceCalls, 4, "<-- Exit from %s:", "GetBufferPartInfo");
        GENTL_TRACE(kTraceCalls, 4, "status = GC_ERR_NOT_IMPLEMENTED,Info not implemented");
        return GC_ERR_NOT_IMPLEMENTED;
    }
    return value.Answer(piType, pBuffer, piSize);
}

GC_ERROR CDefaultStreamBuffer::GetNumPortURLs(std::uint32_t*)
{
    return GC_ERR_NOT_IMPLEMENTED;
}

GC_ERROR CDefaultStreamBuffer::GetPortInfo(std::int32_t, INFO_DATATYPE*, void*, std::size_t*)
{
    return GC_ERR_NOT_IMPLEMENTED;
}

GC_ERROR CDefaultStreamBuffer::GetPortURL(char*, std::size_t*)
{
    return GC_ERR_NOT_IMPLEMENTED;
}

GC_ERROR CDefaultStreamBuffer::GetPortURLInfo(std::uint32_t, std::int32_t, INFO_DATATYPE*, void*,
                                              std::size_t*)
{
    return GC_ERR_NOT_IMPLEMENTED;
}

GC_ERROR CDefaultStreamBuffer::WritePort(std::uint64_t, const void*, std::size_t*)
{
    return GC_ERR_NOT_IMPLEMENTED;
}

GC_ERROR CDefaultStreamBuffer::ReadPort(std::uint64_t, void*, std::size_t*)
{
    return GC_ERR_NOT_IMPLEMENTED;
}

GC_ERROR CDefaultStreamBuffer::RegisterEvent(std::int32_t, EVENT_HANDLE*)
{
    return GC_ERR_NOT_IMPLEMENTED;
}

GC_ERROR CDefaultStreamBuffer::UnregisterEvent(std::int32_t)
{
    return GC_ERR_NOT_IMPLEMENTED;
}

} // namespace GenTLProducer
