// A capture node that a test scripts: what the five system calls of the video layer talk to.
#pragma once

#include <array>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include <linux/videodev2.h>

#include "base/pipe_event.h"
#include "v4l2/system_calls.h"

namespace test
{

/// What the driver says of the next frame. Its bytes are the low byte of the sequence number.
struct Frame {
    std::uint32_t sequence = 0;
    bool isDamaged = false;
    std::uint32_t bytesUsed = 0; ///< 0: the whole image
    std::uint32_t index = ~0u;   ///< index to claim in place of the real one
};

/// Behaves like a driver of the usual kind: readable while not streaming, EBUSY for S_FMT with
/// buffers, memory that is really gone behind munmap. Any thread.
class FakeCaptureNode
{
public:
    /// Errno for a request, or 0 when it has been answered; a handler in place of the node's own.
    using Handler = std::function<int(void* argument)>;

    FakeCaptureNode();
    FakeCaptureNode(const FakeCaptureNode&) = delete;
    FakeCaptureNode& operator=(const FakeCaptureNode&) = delete;

    V4L2::SystemCalls Calls();

    /// Makes call number nth, counted from 1 over open, ioctl and mmap together, fail.
    void FailCall(unsigned nth, int error);
    void PushFrame(const Frame& frame);
    /// Blocks until the log holds this many entries with that beginning.
    void WaitForLog(const std::string& beginning, std::size_t count);

    std::size_t CountLog(const std::string& beginning);
    std::vector<std::string> GetLog();

    // Set before use.
    std::uint32_t capabilities = V4L2_CAP_VIDEO_CAPTURE | V4L2_CAP_STREAMING;
    std::string driver = "fake";
    std::uint32_t mostBuffers = 32;
    std::uint32_t planesPerBuffer = 1; ///< multi-planar nodes only
    std::map<unsigned long, Handler> handlers;

    // Balances.
    int openDescriptors = 0;
    int mappings = 0;

private:
    using Memory = std::unique_ptr<std::uint8_t[]>;

    bool isMultiPlanar() const { return (capabilities & 0x7000) != 0; }
    std::uint32_t imageSize() const;
    int shouldFail();
    V4L2::IoctlResult ioctl(unsigned long request, void* argument);
    int answer(unsigned long request, void* argument);
    int requestBuffers(v4l2_requestbuffers& request);
    int queryBuffer(v4l2_buffer& buffer);
    int queueBuffer(const v4l2_buffer& buffer);
    int dequeueBuffer(v4l2_buffer& buffer);
    void* map(std::size_t length, off_t offset);
    int unmap(void* address);
    void record(std::string entry);
    std::size_t countLog(const std::string& beginning) const;
    void updateReadiness();

    std::mutex mutex_;
    std::condition_variable changed_;
    std::unique_ptr<GenTLProducer::PipeEvent> readiness_;
    std::vector<std::string> log_;
    unsigned calls_ = 0;
    unsigned failingCall_ = 0;
    int failure_ = 0;
    v4l2_format format_{};
    std::uint32_t bufferCount_ = 0;
    bool isStreaming_ = false;
    std::deque<std::uint32_t> queued_;
    std::deque<Frame> frames_;
    std::map<void*, Memory> memory_;
    std::map<std::uint32_t, std::uint8_t*> imageOf_; ///< by buffer index
};

} // namespace test
