// From the consumer's opaque handles to the objects behind them.
#pragma once

#include <map>

#include <boost/shared_ptr.hpp>
#include <boost/thread/recursive_mutex.hpp>

#include "modules/generic/idevice.h"
#include "modules/generic/ievent.h"
#include "modules/generic/iinterface.h"
#include "modules/generic/istream.h"
#include "modules/generic/isystem.h"

namespace GenTLProducer
{

/// Kind of the object behind a handle: its low four bits. Above them stands a number that is
/// never used twice in a process, or, for a buffer, its slot in the stream.
enum class HandleKind : std::uint8_t {
    Module = 0,
    Port = 1,        ///< a port that is no module: the remote device's
    EventSource = 2, ///< an event source that is no module: none so far
    Event = 3,
    Buffer = 6, ///< not in the registry
};

constexpr HandleKind KindOf(Handle handle) noexcept
{
    return static_cast<HandleKind>(handle & 15);
}

inline Handle ToHandle(const void* opaque) noexcept
{
    return static_cast<Handle>(reinterpret_cast<std::intptr_t>(opaque));
}

inline void* ToOpaque(Handle handle) noexcept
{
    return reinterpret_cast<void*>(static_cast<std::intptr_t>(handle));
}

/// Throws std::runtime_error when the index doesn't fit.
Handle MakeBufferHandle(std::int64_t index);
constexpr bool IsBufferHandle(Handle handle) noexcept
{
    return KindOf(handle) == HandleKind::Buffer;
}
/// -1 for a handle of another kind.
constexpr std::int64_t BufferHandleIndex(Handle handle) noexcept
{
    return IsBufferHandle(handle) ? handle >> 4 : -1;
}

/// Holds a shared reference to every object that the consumer may name. A stale or forged handle
/// reaches nothing; a reference that was looked up keeps its object alive while another thread
/// removes the handle. Any thread. Modules take their own lock before they come here.
class HandleRegistry final
{
public:
    HandleRegistry() = default;
    HandleRegistry(const HandleRegistry&) = delete;
    HandleRegistry& operator=(const HandleRegistry&) = delete;

    /// The registry of the process, made at the first call.
    static boost::shared_ptr<HandleRegistry> Instance();

    /// Drops every entry and the registry itself; handles go on counting in the next one. Closes
    /// the events: without a handle nobody could abort a wait for one.
    static void Destroy();

    /// Each gives a new handle; std::runtime_error when the numbers have run out.
    Handle AddModule(const boost::shared_ptr<IModule>& module);
    Handle AddPort(const boost::shared_ptr<IPort>& port);
    Handle AddEventSource(const boost::shared_ptr<IEventSource>& source);
    Handle AddEvent(const boost::shared_ptr<IEvent>& event);

    /// Empty unless the handle stands for an object of that kind; a module is a port and an
    /// event source as well.
    boost::shared_ptr<IModule> GetModule(Handle handle) const;
    boost::shared_ptr<IPort> GetPort(Handle handle) const;
    boost::shared_ptr<IEventSource> GetEventSource(Handle handle) const;
    boost::shared_ptr<IEvent> GetEvent(Handle handle) const;

    /// A module of that very type, or nothing.
    template <typename Module>
    boost::shared_ptr<Module> GetModuleAs(Handle handle) const
    {
        return boost::dynamic_pointer_cast<Module>(GetModule(handle));
    }

    /// Releases the reference. False for an unknown handle.
    bool Remove(Handle handle);

    std::size_t Count() const;

private:
    template <typename Object>
    using Map = std::map<Handle, boost::shared_ptr<Object>>;

    template <typename Object>
    Handle Add(Map<Object>& map, HandleKind kind, const boost::shared_ptr<Object>& object);
    template <typename Object>
    boost::shared_ptr<Object> Get(const Map<Object>& map, HandleKind kind, Handle handle) const;
    template <typename Object>
    static bool Erase(Map<Object>& map, Handle handle);
    template <typename Object>
    Map<Object> TakeAll(Map<Object>& map);

    // Lock order 5. Recursive: releasing the last reference runs a destructor that may come back.
    mutable boost::recursive_mutex mutex_;
    Map<IModule> modules_;
    Map<IPort> ports_;
    Map<IEventSource> eventSources_;
    Map<IEvent> events_;
};

} // namespace GenTLProducer
