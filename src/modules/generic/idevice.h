// The device module, as the exported Dev functions see it.
#pragma once

#include <string>

#include "modules/generic/imodule.h"

namespace GenTLProducer
{

class IDevice : public IModule
{
public:
    virtual GC_ERROR Open() = 0;
    virtual void Close() = 0;
    virtual GC_ERROR GetNumDataStreams(std::uint32_t* piNumDataStreams) = 0;
    virtual GC_ERROR GetDataStreamID(std::uint32_t iIndex, char* sDataStreamID,
                                     std::size_t* piSize) = 0;
    virtual GC_ERROR GetPort(PORT_HANDLE* phRemoteDev) = 0;
    virtual GC_ERROR OpenDataStream(const char* sDataStreamID, DS_HANDLE* phDataStream) = 0;
    virtual GC_ERROR CloseDataStream(const char* sDataStreamID) = 0;
    virtual DEVICE_ACCESS_STATUS GetAccessStatus() const = 0;
    /// Identifier of this device; empty once it is closed.
    virtual std::string GetId() const = 0;
};

} // namespace GenTLProducer
