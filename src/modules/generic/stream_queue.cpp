#include "modules/generic/stream_queue.h"

#include "trace/gentl_trace.h"

namespace GenTLProducer
{

void StreamQueue::Append(CQueueableStreamBuffer& buffer)
{
    StreamQueue* const old = buffer.queue_;
    if (old) {
        GENTL_TRACE(kTraceQueues, 5, "new Queue=%p old Queue=%p Item=%p", static_cast<void*>(this),
                    static_cast<void*>(old), static_cast<void*>(&buffer));
        old->Unlink(buffer);
    } else {
        GENTL_TRACE(kTraceQueues, 5, "New item: new Queue=%p Item=%p", static_cast<void*>(this),
                    static_cast<void*>(&buffer));
    }
    buffer.previous_ = tail_;
    (tail_ ? tail_->next_ : head_) = &buffer;
    tail_ = &buffer;
    buffer.queue_ = this;
    ++count_;
    if (pipe_)
        pipe_->Signal();
}

void StreamQueue::Unlink(CQueueableStreamBuffer& buffer)
{
    (buffer.previous_ ? buffer.previous_->next_ : head_) = buffer.next_;
    (buffer.next_ ? buffer.next_->previous_ : tail_) = buffer.previous_;
    buffer.next_ = nullptr;
    buffer.previous_ = nullptr;
    buffer.queue_ = nullptr;
    if (--count_ == 0 && pipe_)
        pipe_->Clear();
}

void StreamQueue::UnlinkAll()
{
    while (head_)
        Unlink(*head_);
}

void StreamQueue::CreatePipe()
{
    pipe_ = PipeEvent::Create();
    if (pipe_ && !empty())
        pipe_->Signal();
}

} // namespace GenTLProducer
