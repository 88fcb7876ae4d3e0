#include "gentl/frame.h"

namespace GenTLProducer
{

Frame::~Frame()
{
    if (!IsGenTLTraced(kTraceCalls, 4))
        return;
    GenTLTrace("<-- Exit from %s:", name_);
    if (hasCount_)
        GenTLTrace("Status = 0x%08x  Num=%u", static_cast<unsigned>(result_),
                   number_ ? *number_ : 0);
    else
        GenTLTrace("Status = 0x%08x", static_cast<unsigned>(result_));
}

Frame& Frame::RequireUnstored(bool condition, GC_ERROR code)
{
    if (!isFailed() && !condition) {
        GENTL_TRACE(kTraceResults, 1, "%s", ErrorText(code));
        result_ = code;
    }
    return *this;
}

Frame& Frame::Require(bool condition, GC_ERROR code)
{
    if (!isFailed() && !condition) {
        RequireUnstored(false, code);
        SetLastError(code);
    }
    return *this;
}

Frame& Frame::Count(const std::uint32_t* number)
{
    hasCount_ = true;
    number_ = number;
    return *this;
}

Frame& Frame::WithoutSuccessLine()
{
    hasSuccessLine_ = false;
    return *this;
}

GC_ERROR Frame::Finish(GC_ERROR code)
{
    if (code != GC_ERR_SUCCESS || hasSuccessLine_)
        GENTL_TRACE(kTraceResults, code != GC_ERR_SUCCESS ? 1 : 4, "%s", ErrorText(code));
    if (code < 0)
        SetLastError(code);
    return result_ = code;
}

GC_ERROR Frame::Fail(const char* text, GC_ERROR code)
{
    GENTL_TRACE(kTraceResults, 1, "%s", text);
    SetLastError(code);
    return result_ = code;
}

} // namespace GenTLProducer
