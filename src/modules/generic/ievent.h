// An event object, as the exported Event functions see it.
#pragma once

#include "modules/generic/imodule.h"

namespace GenTLProducer
{

class IEvent
{
public:
    virtual ~IEvent() = default;
    /// Blocks up to iTimeout milliseconds, GENTL_INFINITE for ever, or until Kill.
    virtual GC_ERROR GetData(void* pBuffer, std::size_t* piSize, std::uint64_t iTimeout) = 0;
    virtual GC_ERROR GetInfo(std::int32_t iInfoCmd, INFO_DATATYPE* piType, void* pBuffer,
                             std::size_t* piSize) = 0;
    virtual GC_ERROR GetDataInfo(const void* pInBuffer, std::size_t iInSize, std::int32_t iInfoCmd,
                                 INFO_DATATYPE* piType, void* pOutBuffer,
                                 std::size_t* piOutSize) = 0;
    virtual GC_ERROR Flush() = 0;
    virtual GC_ERROR Kill() = 0;
    /// Ends the event for good: sends waiting threads home and removes the handle.
    virtual void Close() = 0;
};

} // namespace GenTLProducer
