// The functions of the system module.
#include "gentl/frame.h"

using namespace GenTLProducer;

GC_ERROR TLOpen(TL_HANDLE* phTL)
{
    GENTL_FRAME("phTL=%p", static_cast<void*>(phTL));
    return frame.RequireUnstored(Frame::State().systemInfo() != nullptr, GC_ERR_NOT_INITIALIZED)
        .Require(!Frame::State().isTLOpen(), GC_ERR_RESOURCE_IN_USE)
        .Require(phTL, GC_ERR_INVALID_PARAMETER)
        .Run([&] { return Frame::State().OpenSystem(phTL); });
}

GC_ERROR TLClose(TL_HANDLE hTL)
{
    GENTL_FRAME("hTL=%p", hTL);
    return frame.Require(Frame::State().isOpenSystem(hTL), GC_ERR_INVALID_HANDLE)
        .WithoutSuccessLine()
        .Run([] { return Frame::State().CloseSystem(); });
}

GC_ERROR TLGetInfo(TL_HANDLE hTL, TL_INFO_CMD iInfoCmd, INFO_DATATYPE* piType, void* pBuffer,
                   size_t* piSize)
{
    GENTL_FRAME("hTL=%p, iInfoCmd=%d, piType=%p, pBuffer=%p, piSize=%p", hTL, iInfoCmd,
                static_cast<void*>(piType), pBuffer, static_cast<void*>(piSize));
    return frame.RequireTLOpen(GC_ERR_NOT_INITIALIZED)
        .Require(Frame::State().isOpenSystem(hTL) && piType && piSize, GC_ERR_INVALID_PARAMETER)
        .RunOn<ISystem>(hTL, [&](ISystem& system) {
            return system.GetInfo(iInfoCmd, piType, pBuffer, piSize);
        });
}

GC_ERROR TLUpdateInterfaceList(TL_HANDLE hTL, bool8_t* pbChanged, uint64_t iTimeout)
{
    GENTL_FRAME("hTL=%p, pbChanged=%p, iTimeout=%lu", hTL, static_cast<void*>(pbChanged), iTimeout);
    return frame.RequireTLOpen(GC_ERR_NOT_INITIALIZED)
        .Require(Frame::State().isOpenSystem(hTL), GC_ERR_INVALID_HANDLE)
        .RunOn<ISystem>(
            hTL, [&](ISystem& system) { return system.UpdateInterfaceList(pbChanged, iTimeout); });
}

GC_ERROR TLGetNumInterfaces(TL_HANDLE hTL, uint32_t* piNumIfaces)
{
    GENTL_FRAME("hTL=%p, piNumIfaces=%p", hTL, static_cast<void*>(piNumIfaces));
    return frame.Count(piNumIfaces)
        .RequireTLOpen(GC_ERR_NOT_INITIALIZED)
        .Require(Frame::State().isOpenSystem(hTL), GC_ERR_INVALID_HANDLE)
        .Require(piNumIfaces, GC_ERR_INVALID_PARAMETER)
        .RunOn<ISystem>(hTL, [&](ISystem& system) { return system.GetNumInterfaces(piNumIfaces); });
}

GC_ERROR TLGetInterfaceID(TL_HANDLE hTL, uint32_t iIndex, char* sID, size_t* piSize)
{
    GENTL_FRAME("hTL=%p, iIndex=%d, sID=%p, piSize=%p", hTL, static_cast<int>(iIndex),
                static_cast<void*>(sID), static_cast<void*>(piSize));
    return frame.Require(Frame::State().isOpenSystem(hTL), GC_ERR_INVALID_HANDLE)
        .Require(piSize, GC_ERR_INVALID_PARAMETER)
        .RunOn<ISystem>(
            hTL, [&](ISystem& system) { return system.GetInterfaceID(iIndex, sID, piSize); });
}

GC_ERROR TLGetInterfaceInfo(TL_HANDLE hTL, const char* sIfaceID, INTERFACE_INFO_CMD iInfoCmd,
                            INFO_DATATYPE* piType, void* pBuffer, size_t* piSize)
{
    GENTL_FRAME("hTL=%p, sIfaceID='%s', iInfoCmd=%d, piType=%p, pBuffer=%p, piSize=%p", hTL,
                Printable(sIfaceID), iInfoCmd, static_cast<void*>(piType), pBuffer,
                static_cast<void*>(piSize));
    return frame.Require(Frame::State().isOpenSystem(hTL), GC_ERR_INVALID_HANDLE)
        .Require(sIfaceID, GC_ERR_INVALID_ID)
        .Require(piType && piSize, GC_ERR_INVALID_PARAMETER)
        .RunOn<ISystem>(hTL, [&](ISystem& system) {
            return system.GetInterfaceInfo(sIfaceID, iInfoCmd, piType, pBuffer, piSize);
        });
}

GC_ERROR TLOpenInterface(TL_HANDLE hTL, const char* sIfaceID, IF_HANDLE* phIface)
{
    GENTL_FRAME("hTL=%p, phIface=%p", hTL, static_cast<void*>(phIface));
    return frame.Require(Frame::State().isOpenSystem(hTL), GC_ERR_INVALID_HANDLE)
        .Require(sIfaceID && phIface, GC_ERR_INVALID_PARAMETER)
        .RunOn<ISystem>(hTL,
                        [&](ISystem& system) { return system.OpenInterface(sIfaceID, phIface); });
}
