#include "modules/generic/default_event.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <poll.h>
#include <unistd.h>

#include <boost/chrono/system_clocks.hpp>

#include "base/scope_exit.h"
#include "modules/generic/handle_registry.h"
#include "trace/gentl_trace.h"

namespace GenTLProducer
{

namespace
{

using Clock = std::chrono::steady_clock;

constexpr std::size_t kMaxPipes = 4;
constexpr std::uint64_t kCloseKills = 0x3FFFFFFFFFFFFFFF;
constexpr std::uint64_t kLongestTimeoutMs = 0xFFFFFFFE; // above it: no limit

// poll() takes an int: a longer wait is made of several.
int sliceMs(Clock::time_point deadline)
{
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now()).count();
    return static_cast<int>(std::clamp<std::int64_t>(left, 0, 0x7FFFFFFF));
}

} // namespace

GC_ERROR CDefaultEvent::Init(Span<PipeEvent* const> sources)
{
    auto pipes = std::make_shared<PipeSet>();
    if (!sources.empty()) {
        pipes->reserve(sources.size() + 1);
        pipes->push_back(PipeEvent::Create());
        for (const PipeEvent* source : sources)
            pipes->push_back(source ? source->Duplicate() : nullptr);
        if (pipes->size() > kMaxPipes ||
            std::any_of(pipes->begin(), pipes->end(), [](const auto& pipe) { return !pipe; }))
            return GC_ERR_ERROR;
    }
    const std::lock_guard<std::mutex> lock(killMutex_);
    kills_ = 0;
    pipes_ = std::move(pipes);
    initialised_ = true;
    return GC_ERR_SUCCESS;
}

std::shared_ptr<const CDefaultEvent::PipeSet> CDefaultEvent::Pipes() const
{
    const std::lock_guard<std::mutex> lock(killMutex_);
    return pipes_;
}

GC_ERROR CDefaultEvent::GetData(void* pBuffer, std::size_t* piSize, std::uint64_t iTimeout)
{
    if (!initialised_)
        return GC_ERR_NOT_INITIALIZED;
    if (const auto pipes = Pipes(); pipes && pipes->size() < 2)
        return GC_ERR_ERROR;

    // The mutex measures on the monotonic clock.
    const auto longestWait =
        boost::chrono::milliseconds(std::min<std::uint64_t>(iTimeout, 0xFFFFFFFF));
    boost::unique_lock<boost::timed_mutex> reader(readerMutex_, boost::defer_lock);
    if (!reader.try_lock() &&
        !reader.try_lock_until(boost::chrono::steady_clock::now() + longestWait))
        return GC_ERR_TIMEOUT;

    const std::shared_ptr<const PipeSet> pipes = Pipes();
    if (!pipes)
        return GC_ERR_NOT_INITIALIZED; // closed meanwhile
    switch (Wait(*pipes, iTimeout)) {
    case Wake::Timeout:
        return GC_ERR_TIMEOUT;
    case Wake::Failed:
        return GC_ERR_ERROR;
    case Wake::Kill:
        return TakeKill(*pipes);
    case Wake::Data:
        break;
    }
    const GC_ERROR result = GetDataImpl(pBuffer, piSize);
    if (result == GC_ERR_SUCCESS)
        ++fired_;
    return result;
}

CDefaultEvent::Wake CDefaultEvent::Wait(const PipeSet& pipes, std::uint64_t iTimeout)
{
    std::array<pollfd, kMaxPipes> entries{};
    const nfds_t count = std::min(pipes.size(), entries.size());
    for (std::size_t i = 0; i < count; ++i)
        entries[i] = {pipes[i]->GetReadDescriptor(), POLLIN, 0};

    const bool isTimed = iTimeout <= kLongestTimeoutMs;
    const Clock::time_point deadline =
        isTimed ? Clock::now() + std::chrono::milliseconds(iTimeout) : Clock::time_point();

    isPolling_ = true;
    const ScopeExit leave([this] { isPolling_ = false; });
    for (;;) {
        const int ready = ::poll(entries.data(), count, isTimed ? sliceMs(deadline) : -1);
        if (ready > 0)
            return entries[0].revents != 0 ? Wake::Kill : Wake::Data;
        if (ready < 0 && errno != EINTR) {
            GENTL_TRACE(
                kTraceEvents, 1,
                "Error: CDefaultEvent::GetData failed, WaitExWaitMultipleObjectsWithTimeout "
                "returns -1. Only 0 or Timeout expected\n");
            return Wake::Failed;
        }
        if (isTimed && Clock::now() >= deadline)
            return Wake::Timeout;
    }
}

GC_ERROR CDefaultEvent::TakeKill(const PipeSet& pipes)
{
    const std::lock_guard<std::mutex> lock(killMutex_);
    if (--kills_ == 0)
        pipes.front()->Clear();
    return GC_ERR_ABORT;
}

GC_ERROR CDefaultEvent::Kill()
{
    const std::lock_guard<std::mutex> lock(killMutex_);
    if (!initialised_ || !pipes_)
        return GC_ERR_NOT_INITIALIZED;
    if (pipes_->empty())
        return GC_ERR_NOT_IMPLEMENTED;
    ++kills_;
    pipes_->front()->Signal();
    return GC_ERR_SUCCESS;
}

void CDefaultEvent::Close()
{
    const bool isInUse = !readerMutex_.try_lock();
    if (!isInUse)
        readerMutex_.unlock();
    // In any case: a thread that comes from here on may take the pipes before they go.
    AbortReaders();
    if (isInUse)
        WaitForReader();
    {
        const std::lock_guard<std::mutex> lock(killMutex_);
        pipes_.reset();
        initialised_ = false;
    }
    fired_ = 0;
    HandleRegistry::Instance()->Remove(handle_.exchange(0));
}

void CDefaultEvent::AbortReaders()
{
    const std::lock_guard<std::mutex> lock(killMutex_);
    if (pipes_ && !pipes_->empty()) {
        kills_ = kCloseKills;
        pipes_->front()->Signal();
    }
}

// A thread that has left the poll may want a lock that the caller holds, so that this waits for
// the poll alone.
void CDefaultEvent::WaitForReader()
{
    constexpr auto kStep = std::chrono::milliseconds(1);
    constexpr auto kLongestWait = std::chrono::seconds(1);

    GENTL_TRACE(kTraceEvents, 1, "Event object in use by a thread is being deleted.");
    const Clock::time_point deadline = Clock::now() + kLongestWait;
    while (isPolling_ && Clock::now() < deadline)
        ::usleep(static_cast<useconds_t>(std::chrono::microseconds(kStep).count()));
}

void CDefaultEvent::SetHandle(Handle handle)
{
    handle_ = handle;
}

} // namespace GenTLProducer
