// The consumer's buffers and their way through the grabber.
#pragma once

#include <cstddef>
#include <cstdint>
#include <list>
#include <map>
#include <memory>

#include "capture/grabber/istream_grabber.h"
#include "capture/grabber/user_buffer.h"

namespace V4lX
{

/// Table of the registered buffers, the queue of those to fill, the one being filled, and the
/// results that wait for the consumer.
///
/// A buffer travels as a list node that was made at its registration: from there on the way of a
/// frame neither allocates nor fails. No lock of its own: the owner's mutex guards it.
class BufferQueues final
{
public:
    /// Handles count from 1 again; one that is in use is passed over.
    void RestartHandles() noexcept { m_nextHandle = 1; }

    /// Gives the handle. std::bad_alloc, with nothing changed.
    std::uint64_t Register(void* address, std::size_t size);

    /// Takes the buffer out of the table and of the queue; null for an unknown handle. Tells by
    /// wasQueued whether it was waiting there. It may be in the middle of being filled.
    std::shared_ptr<UserBuffer> Deregister(std::uint64_t handle, bool& wasQueued) noexcept;

    /// BadArgument for an unknown handle, BadState for a buffer that is queued already or being
    /// filled. Allocates only if the buffer's last result wasn't retrieved yet.
    Result Queue(std::uint64_t handle, std::uint64_t context);

    /// Takes the buffer to fill next, empty if none waits. One at a time.
    std::shared_ptr<UserBuffer> BeginFill() noexcept;

    /// Ends a fill: the result goes to the back of the results.
    void FinishFill(const GrabResult& result) noexcept;

    /// The buffer that is being filled; null for none.
    const UserBuffer* GetFilling() const noexcept;

    /// Fills begun so far.
    std::uint64_t GetFillCount() const noexcept { return m_fillCount; }

    /// Takes all buffers out of the queue, but not the one that is being filled.
    void TakeBack() noexcept;

    /// False if no result waits.
    bool Retrieve(GrabResult& result) noexcept;
    void DropResults() noexcept;
    std::size_t GetResultCount() const noexcept { return m_outputQueue.size(); }

private:
    struct Node {
        std::shared_ptr<UserBuffer> buffer; ///< while queued or being filled
        GrabResult result{};                ///< in the output queue
    };
    using Nodes = std::list<Node>;

    static void moveFront(Nodes& from, Nodes& to) noexcept;
    void discardSpareNodes() noexcept;

    std::uint32_t m_nextHandle = 1;
    std::uint64_t m_fillCount = 0;
    std::map<std::uint64_t, std::shared_ptr<UserBuffer>> m_table;
    Nodes m_inQueue;
    Nodes m_filling; ///< one at most
    Nodes m_outputQueue;
    Nodes m_spare;
};

} // namespace V4lX
