#include "sim/core/buffer_queue.h"

#include <algorithm>
#include <cerrno>

namespace zevo_sim
{

namespace
{

std::size_t WholePages(std::size_t size)
{
    const auto page = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
    return (size + page - 1) / page * page;
}

} // namespace

void KernelBuffer::Suffer(const FaultInjector::Fault& fault)
{
    if (fault.effect == FaultEffect::Flag)
        hasError = true;
    else if (fault.effect == FaultEffect::Short)
        bytesUsed = static_cast<std::uint32_t>(fault.value);
    else if (fault.effect == FaultEffect::Index)
        shownIndex = static_cast<std::uint32_t>(fault.value);
}

std::shared_ptr<BufferMemory> BufferMemory::Allocate(std::size_t length, unsigned count)
{
    auto memory = std::make_shared<BufferMemory>();
    const std::size_t stride = WholePages(length);
    const std::size_t total = stride * count;
    memory->file = Descriptor(sys::CreateMemoryFile("zevo-board-buffers"));
    if (!memory->file.IsValid() || sys::Resize(memory->file.Get(), total) < 0)
        return nullptr;
    const long address =
        sys::Map(nullptr, total, PROT_READ | PROT_WRITE, MAP_SHARED, memory->file.Get(), 0);
    if (address < 0 && address > -4096)
        return nullptr;
    memory->view = Mapping(sys::ToPointer(static_cast<std::uint64_t>(address)), total);
    memory->length = length;
    memory->buffers.resize(count);
    for (unsigned i = 0; i < count; ++i)
        memory->buffers[i].offset = stride * i;
    return memory;
}

int BufferQueue::Request(unsigned count, std::size_t length, unsigned most)
{
    if (isStreaming_)
        return -EBUSY;
    StreamOff();
    memory_.reset();
    if (count == 0)
        return 0;
    count = std::min(std::clamp(count, kMinimum, kMaximum), most);
    memory_ = BufferMemory::Allocate(length, count);
    return memory_ ? static_cast<int>(count) : -ENOMEM;
}

KernelBuffer* BufferQueue::Find(std::uint32_t index)
{
    return memory_ && index < memory_->buffers.size() ? &memory_->buffers[index] : nullptr;
}

int BufferQueue::Queue(std::uint32_t index)
{
    KernelBuffer* buffer = Find(index);
    if (!buffer)
        return -EINVAL;
    if (hasFailed_)
        return -EIO;
    if (buffer->state != BufferState::Dequeued)
        return -EINVAL;
    buffer->state = BufferState::Queued;
    queued_.push_back(index);
    isWaitingForBuffers_ = false;
    hasBegun_ = hasBegun_ || (isStreaming_ && queued_.size() >= kMinimum);
    return 0;
}

int BufferQueue::Dequeue()
{
    if (!isStreaming_)
        return -EINVAL;
    if (hasFailed_)
        return -EIO;
    if (done_.empty())
        return -EAGAIN;
    const std::uint32_t index = done_.front();
    done_.pop_front();
    memory_->buffers[index].state = BufferState::Dequeued;
    return static_cast<int>(index);
}

int BufferQueue::StreamOn()
{
    if (isStreaming_)
        return 0;
    if (!memory_)
        return -EINVAL;
    isStreaming_ = true;
    hasBegun_ = queued_.size() >= kMinimum;
    return 0;
}

void BufferQueue::StreamOff()
{
    isStreaming_ = false;
    hasBegun_ = false;
    hasFailed_ = false;
    isWaitingForBuffers_ = true;
    queued_.clear();
    done_.clear();
    if (memory_)
        for (KernelBuffer& buffer : memory_->buffers)
            buffer.state = BufferState::Dequeued;
}

void BufferQueue::Fail()
{
    hasFailed_ = isStreaming_;
    hasBegun_ = false;
}

short BufferQueue::Readiness() const
{
    if (!isStreaming_ || hasFailed_ || isWaitingForBuffers_)
        return POLLERR;
    return done_.empty() ? short{0} : static_cast<short>(POLLIN | POLLRDNORM);
}

std::uint32_t BufferQueue::BeginFill()
{
    const std::uint32_t index = queued_.front();
    queued_.pop_front();
    memory_->buffers[index].state = BufferState::Filling;
    return index;
}

void BufferQueue::EndFill(std::uint32_t index, const KernelBuffer& result)
{
    KernelBuffer& buffer = memory_->buffers[index];
    buffer.sequence = result.sequence;
    buffer.timestamp = result.timestamp;
    buffer.hasError = result.hasError;
    buffer.bytesUsed = result.bytesUsed;
    buffer.shownIndex = result.shownIndex;
    buffer.state = BufferState::Done;
    done_.push_back(index);
}

} // namespace zevo_sim
