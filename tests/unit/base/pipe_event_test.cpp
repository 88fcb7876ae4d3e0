#include "base/pipe_event.h"

#include <cerrno>
#include <sys/ioctl.h>
#include <sys/resource.h>
#include <thread>

#include <gtest/gtest.h>

namespace GenTLProducer
{

namespace
{

int bytesIn(const PipeEvent& event)
{
    int bytes = -1;
    ::ioctl(event.GetReadDescriptor(), FIONREAD, &bytes);
    return bytes;
}

} // namespace

TEST(PipeEvent, HoldsOneByteHoweverOftenItIsSignalled)
{
    const auto event = PipeEvent::Create();
    ASSERT_TRUE(event);
    EXPECT_FALSE(event->IsSignalled());
    event->Signal();
    event->Signal();
    EXPECT_EQ(bytesIn(*event), 1);
    event->Clear();
    EXPECT_FALSE(event->IsSignalled());
    event->Clear(); // nothing to take, and it doesn't block
}

TEST(PipeEvent, ADuplicateOutlivesTheOriginal)
{
    auto original = PipeEvent::Create();
    ASSERT_TRUE(original);
    const auto copy = original->Duplicate();
    ASSERT_TRUE(copy);
    original->Signal();
    EXPECT_TRUE(copy->IsSignalled());
    original.reset();
    EXPECT_TRUE(copy->IsSignalled());
    copy->Clear();
    copy->Signal();
    EXPECT_TRUE(copy->IsSignalled());
}

TEST(PipeEvent, FailsWithoutALeakWhereDescriptorsRunOut)
{
    const auto event = PipeEvent::Create();
    ASSERT_TRUE(event);
    rlimit before{};
    ASSERT_EQ(::getrlimit(RLIMIT_NOFILE, &before), 0);
    // One more than are open now: a pipe, and a second descriptor of a copy, don't fit.
    const int next = ::dup(0);
    ::close(next);
    const rlimit tight{static_cast<rlim_t>(next) + 1, before.rlim_max};
    ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &tight), 0);
    EXPECT_FALSE(PipeEvent::Create());
    EXPECT_EQ(errno, EMFILE);
    EXPECT_FALSE(event->Duplicate());
    const int free = ::dup(0);
    ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &before), 0);
    EXPECT_EQ(free, next) << "a descriptor stayed behind";
    ::close(free);
}

TEST(PipeEvent, SignalsFromManyThreadsAreTakenByOneClearEach)
{
    const auto event = PipeEvent::Create();
    ASSERT_TRUE(event);
    std::thread signaller([&] {
        for (int i = 0; i < 1000; ++i)
            event->Signal();
    });
    for (int i = 0; i < 1000; ++i)
        event->Clear();
    signaller.join();
    EXPECT_LE(bytesIn(*event), 1);
}

} // namespace GenTLProducer
