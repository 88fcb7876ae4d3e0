// The functions of the library itself.
#include <cstring>

#include "gentl/frame.h"

using namespace GenTLProducer;

namespace
{

// A pointer that some consumers pass for "none".
bool isAllOnes(const void* pointer)
{
    return reinterpret_cast<std::uintptr_t>(pointer) == ~std::uintptr_t{0};
}

GC_ERROR copyLastError(GC_ERROR* piErrorCode, char* sErrText, size_t* piSize)
{
    const LastError error = GetLastError();
    const size_t room = *piSize;
    *piErrorCode = error.code;
    *piSize = error.text.size() + 1;
    if (!sErrText)
        return GC_ERR_SUCCESS;
    const size_t copied = std::min(room, *piSize);
    if (copied > 0) {
        std::memcpy(sErrText, error.text.c_str(), copied);
        sErrText[copied - 1] = '\0';
    }
    return copied == *piSize ? GC_ERR_SUCCESS : GC_ERR_BUFFER_TOO_SMALL;
}

} // namespace

GC_ERROR GCInitLib(void)
{
    Frame frame(__func__);
    GENTL_TRACE(kTraceCalls, 3, "--> Entry to %s", __func__);
    frame.Require(!Frame::State().isInitialised(), GC_ERR_RESOURCE_IN_USE);
    return frame.RunUntraced([] { return Frame::State().Init(); });
}

GC_ERROR GCCloseLib(void)
{
    Frame frame(__func__);
    GENTL_TRACE(kTraceCalls, 3, "--> Entry to %s", __func__);
    frame.RequireUnstored(Frame::State().isInitialised(), GC_ERR_NOT_INITIALIZED);
    return frame.RunUntraced([] { return Frame::State().Close(); });
}

GC_ERROR GCGetInfo(TL_INFO_CMD iInfoCmd, INFO_DATATYPE* piType, void* pBuffer, size_t* piSize)
{
    GENTL_FRAME("iInfoCmd=%d, piType=%p, pBuffer=%p, piSize=%p", iInfoCmd,
                static_cast<void*>(piType), pBuffer, static_cast<void*>(piSize));
    const InfoPtr info = Frame::State().systemInfo();
    return frame.RequireUnstored(info != nullptr, GC_ERR_NOT_INITIALIZED)
        .Require(piType && piSize, GC_ERR_INVALID_PARAMETER)
        .Run([&] { return info->GetInfo(iInfoCmd, piType, pBuffer, piSize); });
}

GC_ERROR GCGetLastError(GC_ERROR* piErrorCode, char* sErrText, size_t* piSize)
{
    GENTL_FRAME("piErrorCode=%p, sErrText=%p, piSize=%p", static_cast<void*>(piErrorCode),
                static_cast<void*>(sErrText), static_cast<void*>(piSize));
    const bool areUsable = piErrorCode && piSize && !isAllOnes(piErrorCode) && !isAllOnes(piSize);
    return frame.RequireUnstored(areUsable, GC_ERR_INVALID_PARAMETER).RunUntraced([&] {
        const GC_ERROR result = copyLastError(piErrorCode, sErrText, piSize);
        if (result != GC_ERR_SUCCESS)
            GENTL_TRACE(kTraceResults, 1, "%s", ErrorText(result));
        return result;
    });
}
