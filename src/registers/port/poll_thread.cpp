#include "registers/port/poll_thread.h"

#include <utility>

#include "base/signal_block.h"

namespace GenTLProducer
{

PollThread::PollThread(std::chrono::milliseconds period, std::function<void()> poll)
    : period_(period), poll_(std::move(poll))
{
}

PollThread::~PollThread()
{
    if (thread_.joinable())
        Stop();
}

void PollThread::Start()
{
    const SignalBlock noSignals;
    thread_ = std::thread([this] { Run(); });
}

void PollThread::Stop()
{
    {
        const std::lock_guard lock(mutex_);
        isStopping_ = true;
    }
    stopRequest_.notify_all();
    if (thread_.joinable())
        thread_.join();
}

void PollThread::Run()
{
    std::unique_lock lock(mutex_);
    while (true) {
        const auto deadline = std::chrono::steady_clock::now() + period_;
        if (stopRequest_.wait_until(lock, deadline, [this] { return isStopping_; }))
            return;
        lock.unlock();
        poll_();
        lock.lock();
    }
}

} // namespace GenTLProducer
