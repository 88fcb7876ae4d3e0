// What every GenTL module is to the exported functions: a port, an event source, a handle.
#pragma once

#include <cstddef>
#include <cstdint>

#include <gentl/gentl.h>

namespace GenTLProducer
{

/// A handle is a number with the kind of its object in the low four bits; see HandleRegistry.
using Handle = std::int64_t;

/// A register space with its description. All operations give a GC_ERROR; the port operations
/// may throw, which the exported functions turn into results.
class IPort
{
public:
    virtual ~IPort() = default;
    virtual GC_ERROR GetNumPortURLs(std::uint32_t* piNumURLs) = 0;
    virtual GC_ERROR GetPortInfo(std::int32_t iInfoCmd, INFO_DATATYPE* piType, void* pBuffer,
                                 std::size_t* piSize) = 0;
    virtual GC_ERROR GetPortURL(char* sURL, std::size_t* piSize) = 0;
    virtual GC_ERROR GetPortURLInfo(std::uint32_t iURLIndex, std::int32_t iInfoCmd,
                                    INFO_DATATYPE* piType, void* pBuffer, std::size_t* piSize) = 0;
    virtual GC_ERROR WritePort(std::uint64_t iAddress, const void* pBuffer,
                               std::size_t* piSize) = 0;
    virtual GC_ERROR ReadPort(std::uint64_t iAddress, void* pBuffer, std::size_t* piSize) = 0;
};

class IEventSource
{
public:
    virtual ~IEventSource() = default;
    virtual GC_ERROR RegisterEvent(std::int32_t iEventID, EVENT_HANDLE* phEvent) = 0;
    virtual GC_ERROR UnregisterEvent(std::int32_t iEventID) = 0;
};

class IModule : public IPort, public IEventSource
{
public:
    virtual Handle GetParent() const = 0;
    virtual Handle GetHandle() const = 0;
    virtual void SetHandle(Handle handle) = 0;
};

} // namespace GenTLProducer
