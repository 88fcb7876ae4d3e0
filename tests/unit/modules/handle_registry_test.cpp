#include "modules/generic/handle_registry.h"

#include <limits>
#include <stdexcept>

#include <boost/make_shared.hpp>
#include <boost/weak_ptr.hpp>
#include <gtest/gtest.h>

#include "modules/generic/default_stream_buffer.h"
#include "modules/generic/event_nodemap_delivered.h"

namespace GenTLProducer
{

namespace
{

// Any module will do; this one is at hand.
boost::shared_ptr<IModule> makeModule()
{
    return boost::make_shared<CDefaultStreamBuffer>(0, 0);
}

} // namespace

TEST(HandleRegistry, HandlesCarryTheirKindAndAreNeverUsedTwice)
{
    const auto registry = HandleRegistry::Instance();
    const Handle module = registry->AddModule(makeModule());
    const Handle port = registry->AddPort(makeModule());
    const Handle source = registry->AddEventSource(makeModule());
    const Handle event = registry->AddEvent(boost::make_shared<CNodemapDeliveredEvent>(4));
    EXPECT_EQ(KindOf(module), HandleKind::Module);
    EXPECT_EQ(KindOf(port), HandleKind::Port);
    EXPECT_EQ(KindOf(source), HandleKind::EventSource);
    EXPECT_EQ(KindOf(event), HandleKind::Event);
    EXPECT_LT(module >> 4, port >> 4);
    EXPECT_EQ(registry->Count(), 4u);
    HandleRegistry::Destroy();
    const Handle later = HandleRegistry::Instance()->AddModule(makeModule());
    EXPECT_GT(later, event);
    HandleRegistry::Destroy();
}

TEST(HandleRegistry, LookUpsFindTheRightKindOnly)
{
    const auto registry = HandleRegistry::Instance();
    const Handle module = registry->AddModule(makeModule());
    const Handle port = registry->AddPort(makeModule());
    const Handle event = registry->AddEvent(boost::make_shared<CNodemapDeliveredEvent>(4));
    EXPECT_TRUE(registry->GetModule(module));
    EXPECT_TRUE(registry->GetPort(module)) << "a module is a port";
    EXPECT_TRUE(registry->GetEventSource(module)) << "and an event source";
    EXPECT_TRUE(registry->GetPort(port));
    EXPECT_FALSE(registry->GetModule(port));
    EXPECT_FALSE(registry->GetEventSource(port));
    EXPECT_TRUE(registry->GetEvent(event));
    EXPECT_FALSE(registry->GetEvent(module));
    EXPECT_FALSE(registry->GetModuleAs<IStream>(module)) << "a module of another type";
    HandleRegistry::Destroy();
}

TEST(HandleRegistry, RemovalEndsTheHandleAndNotTheObjectInUse)
{
    const auto registry = HandleRegistry::Instance();
    const Handle handle = registry->AddModule(makeModule());
    boost::shared_ptr<IModule> inUse = registry->GetModule(handle);
    const boost::weak_ptr<IModule> watch = inUse;
    EXPECT_TRUE(registry->Remove(handle));
    EXPECT_FALSE(registry->Remove(handle));
    EXPECT_FALSE(registry->GetModule(handle));
    EXPECT_FALSE(watch.expired());
    inUse.reset();
    EXPECT_TRUE(watch.expired());
    HandleRegistry::Destroy();
}

TEST(HandleRegistry, BufferHandlesAreTheSlotIndex)
{
    EXPECT_EQ(MakeBufferHandle(0), 6);
    EXPECT_EQ(MakeBufferHandle(3), 54);
    EXPECT_EQ(BufferHandleIndex(54), 3);
    EXPECT_EQ(BufferHandleIndex(53), -1);
    EXPECT_TRUE(IsBufferHandle(6));
    EXPECT_FALSE(IsBufferHandle(0));
    EXPECT_THROW(MakeBufferHandle(std::numeric_limits<std::int64_t>::max()), std::runtime_error);
}

} // namespace GenTLProducer
