// The interface module, as the exported IF functions see it.
#pragma once

#include <string>

#include "modules/generic/imodule.h"

namespace GenTLProducer
{

class IInterface : public IModule
{
public:
    virtual GC_ERROR Open() = 0;
    virtual void Close() = 0;
    virtual GC_ERROR UpdateDeviceList(bool8_t* pbChanged, std::uint64_t iTimeout) = 0;
    virtual GC_ERROR GetNumDevices(std::uint32_t* piNumDevices) = 0;
    virtual GC_ERROR GetDeviceID(std::uint32_t iIndex, char* sID, std::size_t* piSize) = 0;
    virtual GC_ERROR GetDeviceInfo(const char* sDeviceID, std::int32_t iInfoCmd,
                                   INFO_DATATYPE* piType, void* pBuffer, std::size_t* piSize) = 0;
    virtual GC_ERROR OpenDevice(const char* sDeviceID, DEVICE_ACCESS_FLAGS iOpenFlags,
                                DEV_HANDLE* phDevice) = 0;
    virtual GC_ERROR CloseDevice(const char* sDeviceID) = 0;
    /// Identifier of this interface; empty once it is closed.
    virtual std::string GetId() const = 0;
};

} // namespace GenTLProducer
