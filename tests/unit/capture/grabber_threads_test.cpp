// What other threads may do while the capture thread runs.
#include <cstring>
#include <future>
#include <thread>

#include <gtest/gtest.h>

#include "grabber_fixture.h"

namespace V4lX
{
namespace
{

using test::FakeCaptureNode;
using test::kPayload;
using test::TestGrabber;

/// Two buffers are queued, and the first is in the middle of its copy.
class CopyInProgress : public testing::Test
{
protected:
    CopyInProgress()
    {
        processing->onProcess = [this](const void* source, void* destination, std::size_t size) {
            isCopying.set_value();
            release.get_future().wait();
            std::memcpy(destination, source, size);
        };
        grabber.Start(2);
        node.PushFrame({1});
        isCopying.get_future().wait();
    }
    /// Tells by what the second buffer's queueing gives that the other thread has come through
    /// the mutex.
    void QueueSecondUntil(Result result)
    {
        while (grabber->QueueBuffer(2, 0) != result)
            std::this_thread::yield();
    }

    void FreeFirst() { std::vector<std::uint8_t>().swap(grabber.memory[0]); }

    FakeCaptureNode node;
    std::promise<void> isCopying;
    std::promise<void> release;
    std::shared_ptr<test::GivenProcessing> processing = std::make_shared<test::GivenProcessing>();
    TestGrabber grabber{node, processing};
};

TEST_F(CopyInProgress, TakeBackBuffersWaitsForItsEndAndKeepsTheResult)
{
    std::thread taker([&] {
        grabber->TakeBackBuffers();
        FreeFirst();
    });
    QueueSecondUntil(Result::Success);
    EXPECT_EQ(grabber->QueueBuffer(1, 0), Result::BadState);
    release.set_value();
    taker.join();
    const GrabResult result = grabber.Retrieve();
    EXPECT_EQ(result.handle, 1u);
    EXPECT_EQ(result.frameId, 1u);
    grabber->finishCapturing();
    EXPECT_EQ(grabber.Retrieve().handle, 2u);
}

TEST_F(CopyInProgress, DeregisterBufferWaitsForItsEnd)
{
    std::thread deregisterer([&] {
        EXPECT_EQ(grabber->DeregisterBuffer(1, nullptr), Result::Success);
        FreeFirst();
    });
    while (grabber->QueueBuffer(1, 0) != Result::BadArgument)
        std::this_thread::yield();
    EXPECT_EQ(grabber->DeregisterBuffer(2, nullptr), Result::BadState) << "another one: at once";
    release.set_value();
    deregisterer.join();
    EXPECT_EQ(grabber.Retrieve().handle, 1u);
}

TEST_F(CopyInProgress, FinishWaitsForItsEnd)
{
    std::thread finisher([&] {
        EXPECT_EQ(grabber->finishCapturing(), Result::Success);
        FreeFirst();
    });
    node.WaitForLog("STREAMOFF", 1);
    EXPECT_EQ(grabber->prepareCapturing(), Result::BadState);
    release.set_value();
    finisher.join();
    EXPECT_EQ(grabber.Retrieve().handle, 1u);
    EXPECT_EQ(grabber.Retrieve().error, Result::Unfilled);
}

/// Registers, queues and takes away a buffer of its own, over and over.
void UseBuffers(TestGrabber& grabber, int rounds)
{
    for (int round = 0; round < rounds; ++round) {
        std::vector<std::uint8_t> memory(kPayload);
        std::uint64_t handle = 0;
        grabber->RegisterBuffer(memory.data(), memory.size(), &handle);
        grabber->QueueBuffer(handle, 0);
        grabber.node.PushFrame({static_cast<std::uint32_t>(round)});
        if (round % 3 == 0)
            grabber->TakeBackBuffers();
        GrabResult result{};
        grabber->RetrieveBuffer(&result, nullptr);
        grabber->QueueBuffer(handle, 0);
        grabber->SetOffsetX(round);
        void* address = nullptr;
        const Result gone = grabber->DeregisterBuffer(handle, &address);
        EXPECT_TRUE(gone == Result::Success || gone == Result::BadState);
        EXPECT_EQ(address, memory.data());
    }
}

TEST(GrabberThreads, ConsumersTakeBuffersAwayWhileCapturesStartAndStop)
{
    FakeCaptureNode node;
    TestGrabber grabber(node);
    grabber->Open();
    std::thread consumers[] = {std::thread([&] { UseBuffers(grabber, 300); }),
                               std::thread([&] { UseBuffers(grabber, 300); })};
    for (int i = 0; i < 30; ++i) {
        EXPECT_EQ(grabber->prepareCapturing(), Result::Success);
        EXPECT_EQ(grabber->startCapturing(), Result::Success);
        node.WaitForLog("QBUF", 5 * (i + 1));
        EXPECT_EQ(grabber->finishCapturing(), Result::Success);
    }
    for (std::thread& consumer : consumers)
        consumer.join();
    grabber->Close();
    EXPECT_EQ(node.mappings, 0);
}

} // namespace
} // namespace V4lX
