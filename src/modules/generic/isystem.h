// The system module, as the exported TL functions see it.
#pragma once

#include "modules/generic/imodule.h"

namespace GenTLProducer
{

class ISystem : public IModule
{
public:
    virtual GC_ERROR Open() = 0;
    virtual void Close() = 0;
    virtual GC_ERROR GetInfo(std::int32_t iInfoCmd, INFO_DATATYPE* piType, void* pBuffer,
                             std::size_t* piSize) = 0;
    virtual GC_ERROR UpdateInterfaceList(bool8_t* pbChanged, std::uint64_t iTimeout) = 0;
    virtual GC_ERROR GetNumInterfaces(std::uint32_t* piNumIfaces) = 0;
    virtual GC_ERROR GetInterfaceID(std::uint32_t iIndex, char* sID, std::size_t* piSize) = 0;
    virtual GC_ERROR GetInterfaceInfo(const char* sIfaceID, std::int32_t iInfoCmd,
                                      INFO_DATATYPE* piType, void* pBuffer,
                                      std::size_t* piSize) = 0;
    virtual GC_ERROR OpenInterface(const char* sIfaceID, IF_HANDLE* phIface) = 0;
    virtual GC_ERROR CloseInterface(const char* sIfaceID) = 0;
};

} // namespace GenTLProducer
