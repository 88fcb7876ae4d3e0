#include "modules/generic/handle_registry.h"

#include <atomic>
#include <mutex>
#include <stdexcept>
#include <utility>

#include <boost/make_shared.hpp>

namespace GenTLProducer
{

namespace
{

using Lock = std::lock_guard<boost::recursive_mutex>;

// The registry outlives exit(): a static destructor must not close modules behind threads that
// still run. Hence a plain pointer to the shared reference.
std::recursive_mutex g_registryMutex; // lock order 4: creation and destruction only
boost::shared_ptr<HandleRegistry>* g_registry = nullptr;
std::atomic<std::int64_t> g_nextIndex{1};

Handle makeHandle(std::int64_t index, HandleKind kind)
{
    const auto shifted = static_cast<Handle>(static_cast<std::uint64_t>(index) << 4);
    if (shifted >> 4 != index)
        throw std::runtime_error("Internal error. Out of handles.");
    return shifted | static_cast<Handle>(kind);
}

} // namespace

Handle MakeBufferHandle(std::int64_t index)
{
    return makeHandle(index, HandleKind::Buffer);
}

boost::shared_ptr<HandleRegistry> HandleRegistry::Instance()
{
    const std::lock_guard<std::recursive_mutex> lock(g_registryMutex);
    if (!g_registry)
        g_registry = new boost::shared_ptr<HandleRegistry>(boost::make_shared<HandleRegistry>());
    return *g_registry;
}

void HandleRegistry::Destroy()
{
    const std::lock_guard<std::recursive_mutex> lock(g_registryMutex);
    if (!g_registry)
        return;
    const boost::shared_ptr<HandleRegistry> registry = *g_registry;
    registry->TakeAll(registry->modules_).clear();
    registry->TakeAll(registry->ports_).clear();
    registry->TakeAll(registry->eventSources_).clear();
    for (const auto& entry : registry->TakeAll(registry->events_))
        entry.second->Close();
    delete g_registry;
    g_registry = nullptr;
}

Handle HandleRegistry::AddModule(const boost::shared_ptr<IModule>& module)
{
    return Add(modules_, HandleKind::Module, module);
}

Handle HandleRegistry::AddPort(const boost::shared_ptr<IPort>& port)
{
    return Add(ports_, HandleKind::Port, port);
}

Handle HandleRegistry::AddEventSource(const boost::shared_ptr<IEventSource>& source)
{
    return Add(eventSources_, HandleKind::EventSource, source);
}

Handle HandleRegistry::AddEvent(const boost::shared_ptr<IEvent>& event)
{
    return Add(events_, HandleKind::Event, event);
}

boost::shared_ptr<IModule> HandleRegistry::GetModule(Handle handle) const
{
    return Get(modules_, HandleKind::Module, handle);
}

boost::shared_ptr<IPort> HandleRegistry::GetPort(Handle handle) const
{
    if (KindOf(handle) == HandleKind::Module)
        return GetModule(handle);
    return Get(ports_, HandleKind::Port, handle);
}

boost::shared_ptr<IEventSource> HandleRegistry::GetEventSource(Handle handle) const
{
    if (KindOf(handle) == HandleKind::Module)
        return GetModule(handle);
    return Get(eventSources_, HandleKind::EventSource, handle);
}

boost::shared_ptr<IEvent> HandleRegistry::GetEvent(Handle handle) const
{
    return Get(events_, HandleKind::Event, handle);
}

bool HandleRegistry::Remove(Handle handle)
{
    const Lock lock(mutex_);
    switch (KindOf(handle)) {
    case HandleKind::Module:
        return Erase(modules_, handle);
    case HandleKind::Port:
        return Erase(ports_, handle);
    case HandleKind::EventSource:
        return Erase(eventSources_, handle);
    case HandleKind::Event:
        return Erase(events_, handle);
    case HandleKind::Buffer:
        break;
    }
    return false;
}

std::size_t HandleRegistry::Count() const
{
    const Lock lock(mutex_);
    return modules_.size() + ports_.size() + eventSources_.size() + events_.size();
}

template <typename Object>
Handle HandleRegistry::Add(Map<Object>& map, HandleKind kind,
                           const boost::shared_ptr<Object>& object)
{
    const Lock lock(mutex_);
    const Handle handle = makeHandle(g_nextIndex.fetch_add(1), kind);
    map.emplace(handle, object);
    return handle;
}

template <typename Object>
boost::shared_ptr<Object> HandleRegistry::Get(const Map<Object>& map, HandleKind kind,
                                              Handle handle) const
{
    if (KindOf(handle) != kind)
        return {};
    const Lock lock(mutex_);
    const auto entry = map.find(handle);
    return entry == map.end() ? boost::shared_ptr<Object>() : entry->second;
}

template <typename Object>
bool HandleRegistry::Erase(Map<Object>& map, Handle handle)
{
    const auto entry = map.find(handle);
    if (entry == map.end())
        return false;
    // Out of the map first: the destructor of the last reference may remove further handles.
    const boost::shared_ptr<Object> last = std::move(entry->second);
    map.erase(entry);
    return true;
}

template <typename Object>
HandleRegistry::Map<Object> HandleRegistry::TakeAll(Map<Object>& map)
{
    const Lock lock(mutex_);
    return std::exchange(map, {});
}

} // namespace GenTLProducer
