#include "capture/grabber/buffer_queues.h"

#include <utility>

namespace V4lX
{

std::uint64_t BufferQueues::Register(void* address, std::size_t size)
{
    while (m_nextHandle == 0 || m_table.count(m_nextHandle) != 0)
        ++m_nextHandle;
    Nodes node(1);
    const std::uint64_t handle = m_nextHandle;
    m_table.emplace(handle,
                    std::make_shared<UserBuffer>(UserBuffer{address, size, 0, handle, 0, false}));
    ++m_nextHandle;
    m_spare.splice(m_spare.end(), node);
    return handle;
}

std::shared_ptr<UserBuffer> BufferQueues::Deregister(std::uint64_t handle, bool& wasQueued) noexcept
{
    const auto entry = m_table.find(handle);
    if (entry == m_table.end())
        return nullptr;
    std::shared_ptr<UserBuffer> buffer = std::move(entry->second);
    m_table.erase(entry);
    wasQueued = std::exchange(buffer->queued, false);
    if (wasQueued)
        m_inQueue.remove_if([&](const Node& node) { return node.buffer == buffer; });
    discardSpareNodes();
    return buffer;
}

Result BufferQueues::Queue(std::uint64_t handle, std::uint64_t context)
{
    const auto entry = m_table.find(handle);
    if (entry == m_table.end())
        return Result::BadArgument;
    UserBuffer& buffer = *entry->second;
    if (buffer.queued || GetFilling() == &buffer)
        return Result::BadState;
    if (m_spare.empty())
        m_spare.emplace_back();
    buffer.context = context;
    buffer.reserved = 0;
    buffer.queued = true;
    m_spare.front().buffer = entry->second;
    moveFront(m_spare, m_inQueue);
    return Result::Success;
}

std::shared_ptr<UserBuffer> BufferQueues::BeginFill() noexcept
{
    if (m_inQueue.empty())
        return nullptr;
    moveFront(m_inQueue, m_filling);
    ++m_fillCount;
    const std::shared_ptr<UserBuffer>& buffer = m_filling.front().buffer;
    buffer->queued = false;
    return buffer;
}

void BufferQueues::FinishFill(const GrabResult& result) noexcept
{
    m_filling.front().buffer.reset();
    m_filling.front().result = result;
    moveFront(m_filling, m_outputQueue);
}

const UserBuffer* BufferQueues::GetFilling() const noexcept
{
    return m_filling.empty() ? nullptr : m_filling.front().buffer.get();
}

void BufferQueues::TakeBack() noexcept
{
    for (Node& node : m_inQueue) {
        node.buffer->queued = false;
        node.buffer.reset();
    }
    m_spare.splice(m_spare.end(), m_inQueue);
}

bool BufferQueues::Retrieve(GrabResult& result) noexcept
{
    if (m_outputQueue.empty())
        return false;
    result = m_outputQueue.front().result;
    moveFront(m_outputQueue, m_spare);
    discardSpareNodes();
    return true;
}

void BufferQueues::DropResults() noexcept
{
    m_spare.splice(m_spare.end(), m_outputQueue);
    discardSpareNodes();
}

void BufferQueues::moveFront(Nodes& from, Nodes& to) noexcept
{
    to.splice(to.end(), from, from.begin());
}

// Results can outlive their buffers: there are nodes enough when each buffer has one.
void BufferQueues::discardSpareNodes() noexcept
{
    while (m_spare.size() > m_table.size())
        m_spare.pop_back();
}

} // namespace V4lX
