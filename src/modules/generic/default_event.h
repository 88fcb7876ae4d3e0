// Waiting, abort and teardown of an event object.
#pragma once

#include <atomic>
#include <memory>
#include <mutex>
#include <vector>

#include <boost/thread/mutex.hpp>

#include "base/pipe_event.h"
#include "base/span.h"
#include "modules/generic/ievent.h"

namespace GenTLProducer
{

/// An event that a consumer waits for with poll() on pipes: its own kill pipe first, then copies
/// of the pipes of its sources. One thread at a time waits; a second one waits for its turn, up
/// to its time-out. Any thread may call any operation.
class CDefaultEvent : public IEvent
{
public:
    CDefaultEvent() = default;
    CDefaultEvent(const CDefaultEvent&) = delete;
    CDefaultEvent& operator=(const CDefaultEvent&) = delete;

    GC_ERROR GetData(void* pBuffer, std::size_t* piSize, std::uint64_t iTimeout) override;
    /// Aborts exactly one GetData, present or future.
    GC_ERROR Kill() override;

    /// Makes the kill pipe and copies the sources' pipes, which may go before the event does.
    /// Without any the event never delivers. GC_ERR_ERROR, with nothing left behind, when the
    /// system refuses a pipe.
    GC_ERROR Init(Span<PipeEvent* const> sources);

    /// Aborts the waiting thread, waits for it to leave its poll, one second at most, and lets
    /// the descriptors go. Removes the handle from the registry.
    void Close() override;

    void SetHandle(Handle handle);

protected:
    /// Fetches the data once a source is readable.
    virtual GC_ERROR GetDataImpl(void* pBuffer, std::size_t* piSize) = 0;

    bool isInitialised() const noexcept { return initialised_; }
    std::uint64_t fired() const noexcept { return fired_; }
    void countFired() noexcept { ++fired_; }

private:
    using PipeSet = std::vector<std::unique_ptr<PipeEvent>>;
    enum class Wake { Kill, Data, Timeout, Failed };

    std::shared_ptr<const PipeSet> Pipes() const;
    Wake Wait(const PipeSet& pipes, std::uint64_t iTimeout);
    GC_ERROR TakeKill(const PipeSet& pipes);
    void AbortReaders();
    void WaitForReader();

    // The reader lock goes before the kill lock.
    boost::timed_mutex readerMutex_;       ///< held by the thread inside GetData
    mutable std::mutex killMutex_;         ///< guards the kill counter and the pipe set
    std::shared_ptr<const PipeSet> pipes_; ///< a waiting thread keeps its set alive
    std::uint64_t kills_ = 0;              ///< aborts still to be delivered
    std::atomic<bool> isPolling_{false};
    std::atomic<bool> initialised_{false};
    std::atomic<std::uint64_t> fired_{0};
    std::atomic<Handle> handle_{0};
};

} // namespace GenTLProducer
