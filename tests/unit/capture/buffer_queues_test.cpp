#include "capture/grabber/buffer_queues.h"

#include <gtest/gtest.h>

namespace V4lX
{
namespace
{

/// The handle of the buffer that would be filled next, 0 for none; its result waits then.
std::uint64_t FillNext(BufferQueues& queues)
{
    const auto buffer = queues.BeginFill();
    if (!buffer)
        return 0;
    GrabResult result{};
    result.handle = buffer->handle;
    queues.FinishFill(result);
    return buffer->handle;
}

TEST(BufferQueues, HandlesCountUpAndPassOverThoseInUse)
{
    BufferQueues queues;
    EXPECT_EQ(queues.Register(nullptr, 1), 1u);
    EXPECT_EQ(queues.Register(nullptr, 1), 2u);
    bool wasQueued = false;
    queues.Deregister(1, wasQueued);
    queues.RestartHandles();
    EXPECT_EQ(queues.Register(nullptr, 1), 1u);
    EXPECT_EQ(queues.Register(nullptr, 1), 3u);
}

TEST(BufferQueues, BufferIsInOnePlaceAtATime)
{
    BufferQueues queues;
    const std::uint64_t handle = queues.Register(nullptr, 1);
    EXPECT_EQ(queues.Queue(handle, 7), Result::Success);
    EXPECT_EQ(queues.Queue(handle, 8), Result::BadState);
    const auto buffer = queues.BeginFill();
    EXPECT_EQ(buffer->context, 7u);
    EXPECT_EQ(queues.GetFilling(), buffer.get());
    EXPECT_EQ(queues.Queue(handle, 9), Result::BadState) << "while it is being filled";
    EXPECT_EQ(queues.BeginFill(), nullptr);
    queues.FinishFill({});
    EXPECT_EQ(queues.Queue(handle, 10), Result::Success) << "with its result still waiting";
    EXPECT_EQ(FillNext(queues), handle);
    EXPECT_EQ(queues.GetResultCount(), 2u);
}

TEST(BufferQueues, BothQueuesRunFirstInFirstOut)
{
    BufferQueues queues;
    for (int i = 0; i < 3; ++i)
        queues.Register(nullptr, 1);
    for (const std::uint64_t handle : {2u, 3u, 1u})
        queues.Queue(handle, 0);
    while (FillNext(queues) != 0) {
    }
    GrabResult result{};
    for (const std::uint64_t handle : {2u, 3u, 1u}) {
        ASSERT_TRUE(queues.Retrieve(result));
        EXPECT_EQ(result.handle, handle);
    }
    EXPECT_FALSE(queues.Retrieve(result));
}

TEST(BufferQueues, TakenBackAndDeregisteredBuffersAreNotFilled)
{
    BufferQueues queues;
    for (int i = 0; i < 3; ++i)
        queues.Queue(queues.Register(nullptr, 1), 0);
    bool wasQueued = false;
    EXPECT_NE(queues.Deregister(2, wasQueued), nullptr);
    EXPECT_TRUE(wasQueued);
    EXPECT_EQ(queues.Deregister(2, wasQueued), nullptr);
    EXPECT_EQ(FillNext(queues), 1u);
    queues.TakeBack();
    EXPECT_EQ(FillNext(queues), 0u);
    EXPECT_EQ(queues.Queue(3, 0), Result::Success);
    EXPECT_EQ(FillNext(queues), 3u);
    EXPECT_EQ(queues.GetResultCount(), 2u);
    queues.DropResults();
    EXPECT_EQ(queues.GetResultCount(), 0u);
}

} // namespace
} // namespace V4lX
