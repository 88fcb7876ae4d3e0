// What other threads may do while the capture thread runs.
#include <condition_variable>
#include <cstring>
#include <mutex>
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

/// Stays in the middle of a copy until it is released.
class BlockingProcessing final : public IImageProcessing
{
public:
    void Prepare(const ImageProperties&, const ImageProperties&) override {}

    bool Process(const void* source, void* destination, std::size_t size) override
    {
        std::unique_lock<std::mutex> lock(mutex_);
        isCopying_ = true;
        changed_.notify_all();
        changed_.wait(lock, [&] { return isReleased_; });
        std::memcpy(destination, source, size);
        return true;
    }

    void WaitForCopy()
    {
        std::unique_lock<std::mutex> lock(mutex_);
        changed_.wait(lock, [&] { return isCopying_; });
    }

    void Release()
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        isReleased_ = true;
        changed_.notify_all();
    }

private:
    std::mutex mutex_;
    std::condition_variable changed_;
    bool isCopying_ = false;
    bool isReleased_ = false;
};

/// Two buffers are queued, and the first is in the middle of its copy.
class CopyInProgress : public testing::Test
{
protected:
    CopyInProgress()
    {
        grabber->Open();
        grabber.Queue(2);
        grabber->prepareCapturing();
        grabber->startCapturing();
        node.PushFrame({1});
        processing->WaitForCopy();
    }
    ~CopyInProgress() override { processing->Release(); }

    /// Tells by what the second buffer's queueing gives that the other thread has come through
    /// the mutex.
    void QueueSecondUntil(Result result)
    {
        while (grabber->QueueBuffer(2, 0) != result)
            std::this_thread::yield();
    }

    void FreeFirst() { std::vector<std::uint8_t>().swap(grabber.memory[0]); }

    FakeCaptureNode node;
    std::shared_ptr<BlockingProcessing> processing = std::make_shared<BlockingProcessing>();
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
    processing->Release();
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
    processing->Release();
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
    processing->Release();
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
