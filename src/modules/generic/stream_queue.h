// Queues that link the buffers themselves, so that a move between them allocates nothing.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

#include "base/pipe_event.h"
#include "modules/generic/imodule.h"

namespace GenTLProducer
{

class StreamQueue;

/// A buffer that stands in at most one queue. Its slot in the stream never changes.
class CQueueableStreamBuffer
{
public:
    explicit CQueueableStreamBuffer(std::size_t slotIndex) : slotIndex_(slotIndex) {}
    CQueueableStreamBuffer(const CQueueableStreamBuffer&) = delete;
    CQueueableStreamBuffer& operator=(const CQueueableStreamBuffer&) = delete;

    StreamQueue* queue() const noexcept { return queue_; }
    /// The buffer behind this one in its queue; null at the tail.
    CQueueableStreamBuffer* next() const noexcept { return next_; }
    std::size_t slotIndex() const noexcept { return slotIndex_; }

protected:
    ~CQueueableStreamBuffer() = default;

private:
    friend class StreamQueue;

    CQueueableStreamBuffer* next_ = nullptr;
    CQueueableStreamBuffer* previous_ = nullptr;
    StreamQueue* queue_ = nullptr;
    const std::size_t slotIndex_;
};

/// First in, first out. Its stream's lock covers it. A queue with a pipe keeps the pipe readable
/// exactly while the queue isn't empty.
class StreamQueue final
{
public:
    StreamQueue() = default;
    StreamQueue(const StreamQueue&) = delete;
    StreamQueue& operator=(const StreamQueue&) = delete;
    ~StreamQueue() { UnlinkAll(); }

    /// Puts a buffer at the tail and takes it out of the queue in which it stood before.
    void Append(CQueueableStreamBuffer& buffer);
    /// Takes out a buffer that stands in this queue.
    void Unlink(CQueueableStreamBuffer& buffer);
    void UnlinkAll();

    CQueueableStreamBuffer* head() const noexcept { return head_; }
    std::uint64_t count() const noexcept { return count_; }
    bool empty() const noexcept { return count_ == 0; }

    /// Makes the pipe anew, signalled if the queue isn't empty. Without one if the system refuses.
    void CreatePipe();
    PipeEvent* pipe() const noexcept { return pipe_.get(); }

private:
    std::uint64_t count_ = 0;
    CQueueableStreamBuffer* head_ = nullptr;
    CQueueableStreamBuffer* tail_ = nullptr;
    std::unique_ptr<PipeEvent> pipe_;
};

} // namespace GenTLProducer
