// What other threads may do while the capture thread runs.
#include <atomic>
#include <cstring>
#include <future>
#include <thread>

#include <gtest/gtest.h>

#include "grabber_fixture.h"

namespace V4lX
{
namespace
{

/// Two buffers are queued, and the first is in the middle of its copy.
class CopyInProgress : public test::GrabberTest
{
protected:
    CopyInProgress()
    {
        processing->onProcess = [this](const void* source, void* destination, std::size_t size) {
            isCopying.set_value();
            release.get_future().wait();
            std::memcpy(destination, source, size);
            isCopied = true;
        };
        grabber.Start(2);
        node.PushFrame({1});
        isCopying.get_future().wait();
    }

    /// Makes a call on a thread that then frees the first buffer, lets the copy end once the call
    /// is under way, and takes the frame.
    template <typename Call, typename WaitUntilUnderWay>
    void ExpectToWaitForItsEnd(Call call, WaitUntilUnderWay waitUntilUnderWay)
    {
        std::thread other([&] {
            call();
            EXPECT_TRUE(isCopied);
            std::vector<std::uint8_t>().swap(grabber.memory[0]);
        });
        waitUntilUnderWay();
        EXPECT_EQ(node.CountLog("QBUF"), 4u) << "what is copied from is still the grabber's";
        release.set_value();
        other.join();
        const GrabResult result = grabber.Retrieve();
        EXPECT_EQ(result.handle, 1u);
        EXPECT_EQ(result.frameId, 1u);
    }

    /// Tells by what queueing gives that the other thread has come through the mutex.
    void QueueUntil(std::uint64_t handle, Result result)
    {
        while (grabber->QueueBuffer(handle, 0) != result)
            std::this_thread::yield();
    }

    std::promise<void> isCopying;
    std::promise<void> release;
    std::atomic<bool> isCopied{false};
};

TEST_F(CopyInProgress, TakeBackBuffersWaitsForItsEndAndKeepsTheResult)
{
    ExpectToWaitForItsEnd([&] { grabber->TakeBackBuffers(); },
                          [&] {
                              QueueUntil(2, Result::Success);
                              EXPECT_EQ(grabber->QueueBuffer(1, 0), Result::BadState);
                          });
    grabber->finishCapturing();
    EXPECT_EQ(grabber.Retrieve().handle, 2u);
}

TEST_F(CopyInProgress, DeregisterBufferWaitsForItsEnd)
{
    ExpectToWaitForItsEnd(
        [&] { EXPECT_EQ(grabber->DeregisterBuffer(1, nullptr), Result::Success); },
        [&] {
            QueueUntil(1, Result::BadArgument);
            EXPECT_EQ(grabber->DeregisterBuffer(2, nullptr), Result::BadState) << "at once";
        });
}

TEST_F(CopyInProgress, FinishWaitsForItsEnd)
{
    ExpectToWaitForItsEnd([&] { EXPECT_EQ(grabber->finishCapturing(), Result::Success); },
                          [&] {
                              node.WaitForLog("STREAMOFF", 1);
                              EXPECT_EQ(grabber->prepareCapturing(), Result::BadState);
                          });
    EXPECT_EQ(grabber.Retrieve().error, Result::Unfilled);
}

} // namespace
} // namespace V4lX
