// The kernel's buffers of a capture node and the state that they pass through.
#pragma once

#include <cstdint>
#include <deque>
#include <memory>
#include <optional>
#include <vector>

#include "sim/core/fault_injector.h"
#include "sim/core/monitor.h"
#include "sim/core/system.h"

namespace zevo_sim
{

enum class BufferState : std::uint8_t {
    Dequeued, ///< with the program
    Queued,   ///< with the driver, or waiting for the stream to start
    Filling,  ///< the frame is being written
    Done      ///< waits for the program
};

struct KernelBuffer {
    std::size_t offset = 0; ///< in the memory of all buffers, whole pages
    BufferState state = BufferState::Dequeued;
    std::uint32_t sequence = 0;
    Nanoseconds timestamp = 0;
    bool hasError = false;
    std::uint32_t bytesUsed = 0;
    unsigned mapCount = 0;
    std::optional<std::uint32_t> shownIndex; ///< a wrong one, as a fault has it

    /// What a fault makes of the frame.
    void Suffer(const FaultInjector::Fault& fault);
};

/// The memory of one request for buffers. Mappings of programs outlive it.
struct BufferMemory {
    Descriptor file;
    Mapping view;
    std::size_t length = 0; ///< of one buffer
    std::vector<KernelBuffer> buffers;

    /// Null if the memory can't be had.
    static std::shared_ptr<BufferMemory> Allocate(std::size_t length, unsigned count);
};

/// State machine of the kernel's videobuf2 for a capture queue that needs two buffers to start.
/// Not thread-safe: the node locks.
class BufferQueue final
{
public:
    static constexpr unsigned kMinimum = 2;
    static constexpr unsigned kMaximum = 32;

    /// Replaces the buffers; 0 frees them. Gives the number granted, at most `most`, or a negative
    /// errno.
    int Request(unsigned count, std::size_t length, unsigned most = kMaximum);
    int Queue(std::uint32_t index);
    /// The index, or -EAGAIN where a blocking call would wait.
    int Dequeue();
    int StreamOn();
    /// Takes all buffers back.
    void StreamOff();
    /// The driver gives up; until StreamOff().
    void Fail();

    bool IsStreaming() const { return isStreaming_; }
    bool HasBuffers() const { return memory_ != nullptr; }
    /// The driver has begun to capture: streaming, with enough buffers since.
    bool HasBegun() const { return hasBegun_; }
    bool HasQueued() const { return !queued_.empty(); }
    /// What poll() answers to a request for input.
    short Readiness() const;
    /// A dequeue finds nothing, although the queue shows itself as ready.
    bool IsWaitingForBuffers() const { return isWaitingForBuffers_; }

    /// Takes the oldest queued buffer for a frame. Needs HasQueued().
    std::uint32_t BeginFill();
    /// Its frame is complete.
    void EndFill(std::uint32_t index, const KernelBuffer& result);

    const std::shared_ptr<BufferMemory>& Memory() const { return memory_; }
    KernelBuffer* Find(std::uint32_t index);

private:
    std::shared_ptr<BufferMemory> memory_;
    std::deque<std::uint32_t> queued_;
    std::deque<std::uint32_t> done_;
    bool isStreaming_ = false;
    bool hasBegun_ = false;
    bool hasFailed_ = false;
    bool isWaitingForBuffers_ = false;
};

} // namespace zevo_sim
