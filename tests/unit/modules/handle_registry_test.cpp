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

class Registry : public testing::Test
{
protected:
    void TearDown() override { HandleRegistry::Destroy(); }

    const boost::shared_ptr<HandleRegistry> registry_ = HandleRegistry::Instance();
    const Handle module_ = registry_->AddModule(makeModule());
    const Handle port_ = registry_->AddPort(makeModule());
    const Handle source_ = registry_->AddEventSource(makeModule());
    const Handle event_ = registry_->AddEvent(boost::make_shared<CNodemapDeliveredEvent>(4));
};

} // namespace

TEST_F(Registry, HandlesCarryTheirKindAndAreNeverUsedTwice)
{
    EXPECT_EQ(KindOf(module_), HandleKind::Module);
    EXPECT_EQ(KindOf(port_), HandleKind::Port);
    EXPECT_EQ(KindOf(source_), HandleKind::EventSource);
    EXPECT_EQ(KindOf(event_), HandleKind::Event);
    EXPECT_LT(module_ >> 4, port_ >> 4);
    EXPECT_EQ(registry_->Count(), 4u);
    HandleRegistry::Destroy();
    EXPECT_GT(HandleRegistry::Instance()->AddModule(makeModule()), event_);
}

TEST_F(Registry, LookUpsFindTheRightKindOnly)
{
    EXPECT_TRUE(registry_->GetModule(module_));
    EXPECT_TRUE(registry_->GetPort(module_)) << "a module is a port";
    EXPECT_TRUE(registry_->GetEventSource(module_)) << "and an event source";
    EXPECT_TRUE(registry_->GetPort(port_));
    EXPECT_FALSE(registry_->GetModule(port_));
    EXPECT_FALSE(registry_->GetEventSource(port_));
    EXPECT_TRUE(registry_->GetEventSource(source_));
    EXPECT_TRUE(registry_->GetEvent(event_));
    EXPECT_FALSE(registry_->GetEvent(module_));
    EXPECT_FALSE(registry_->GetModuleAs<IStream>(module_)) << "a module of another type";
}

TEST_F(Registry, RemovalEndsTheHandleAndNotTheObjectInUse)
{
    boost::shared_ptr<IModule> inUse = registry_->GetModule(module_);
    const boost::weak_ptr<IModule> watch = inUse;
    EXPECT_TRUE(registry_->Remove(module_));
    EXPECT_FALSE(registry_->Remove(module_));
    EXPECT_FALSE(registry_->GetModule(module_));
    EXPECT_FALSE(watch.expired());
    inUse.reset();
    EXPECT_TRUE(watch.expired());
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
