// A grabber on a fake capture node, and a consumer of it.
#pragma once

#include <condition_variable>
#include <cstring>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "base/pfnc.h"
#include "capture/grabber/stream_grabber.h"
#include "support/fake_capture_node.h"
#include "v4l2/video_device.h"

namespace test
{

namespace Pfnc = GenTLProducer::Pfnc;

constexpr std::uint32_t kWidth = 32;
constexpr std::uint32_t kHeight = 4;
constexpr std::size_t kPayload = 256;
constexpr auto kNone = static_cast<V4lX::Result>(99);

/// Counts the wake-ups of a grabber.
class Bell final : public V4lX::IStreamGrabber::IBufferAvailable
{
public:
    void OnBufferAvailable() noexcept override
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        ++count_;
        changed_.notify_all();
    }

    void WaitFor(unsigned count)
    {
        std::unique_lock<std::mutex> lock(mutex_);
        changed_.wait(lock, [&] { return count_ >= count; });
    }

    unsigned GetCount()
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        return count_;
    }

private:
    std::mutex mutex_;
    std::condition_variable changed_;
    unsigned count_ = 0;
};

/// Does what it is given; copies else.
class GivenProcessing final : public V4lX::IImageProcessing
{
public:
    std::function<void(const V4lX::ImageProperties& source, const V4lX::ImageProperties& target)>
        onPrepare = [](const auto&, const auto&) {};
    std::function<void(const void* source, void* target, std::size_t size)> onProcess =
        [](const void* source, void* target, std::size_t size) {
            std::memcpy(target, source, size);
        };

private:
    void Prepare(const V4lX::ImageProperties& source, const V4lX::ImageProperties& target) override
    {
        onPrepare(source, target);
    }
    bool Process(const void* source, void* target, std::size_t size) override
    {
        onProcess(source, target, size);
        return true;
    }
};

/// A grabber whose node is the fake one, set up for its image of 256 bytes.
struct TestGrabber {
    explicit TestGrabber(FakeCaptureNode& fakeNode,
                         std::shared_ptr<V4lX::IImageProcessing> processing = nullptr)
        : node(fakeNode), grabber("/dev/null", std::move(processing), [&](const std::string& path) {
              return std::make_unique<V4L2::VideoDevice>(path, fakeNode.Calls());
          })
    {
        grabber.SetWidth(kWidth);
        grabber.SetHeight(kHeight);
        grabber.SetPixelFormat(Pfnc::YUV422_8_UYVY);
        grabber.SetPayloadSize(kPayload);
        grabber.SetBufferAvailable(&bell);
    }

    V4lX::StreamGrabber* operator->() { return &grabber; }

    /// Handle of a new buffer of this many bytes, all 0xEE.
    std::uint64_t Register(std::size_t size = kPayload)
    {
        memory.emplace_back(size, 0xEE);
        std::uint64_t handle = 0;
        grabber.RegisterBuffer(memory.back().data(), size, &handle);
        return handle;
    }

    /// Registers and queues this many buffers.
    void Queue(int count)
    {
        for (int i = 0; i < count; ++i)
            grabber.QueueBuffer(Register(), 100 + i);
    }

    /// Opens it, queues this many buffers and captures.
    void Start(int buffers = 0)
    {
        EXPECT_EQ(grabber.Open(), V4lX::Result::Success);
        Queue(buffers);
        EXPECT_EQ(grabber.prepareCapturing(), V4lX::Result::Success);
        EXPECT_EQ(grabber.startCapturing(), V4lX::Result::Success);
    }

    /// The oldest result; one with the error kNone if none waits.
    V4lX::GrabResult Retrieve()
    {
        V4lX::GrabResult result{};
        result.error = kNone;
        grabber.RetrieveBuffer(&result, nullptr);
        return result;
    }

    FakeCaptureNode& node;
    Bell bell;
    std::vector<std::vector<std::uint8_t>> memory;
    V4lX::StreamGrabber grabber;
};

class GrabberTest : public testing::Test
{
protected:
    FakeCaptureNode node;
    std::shared_ptr<GivenProcessing> processing = std::make_shared<GivenProcessing>();
    TestGrabber grabber{node, processing};
};

} // namespace test
