// A thread that does something at a fixed period.
#pragma once

#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <thread>

namespace GenTLProducer
{

/// Runs a callable once every period, on the steady clock, until it is stopped. The callable must
/// not throw. Start and Stop belong to one thread; a stopped object doesn't start again.
class PollThread final
{
public:
    PollThread(std::chrono::milliseconds period, std::function<void()> poll);
    PollThread(const PollThread&) = delete;
    PollThread& operator=(const PollThread&) = delete;
    ~PollThread();

    /// Throws std::system_error when there is no thread to be had.
    void Start();
    /// Ends the wait at once and waits for a running call of the callable, which must not need a
    /// lock that the caller holds. Throws std::system_error when the thread can't be joined.
    void Stop();

private:
    void Run();

    const std::chrono::milliseconds period_;
    const std::function<void()> poll_;
    std::mutex mutex_; ///< covers the stop flag alone; never held while polling
    std::condition_variable stopRequest_;
    bool isStopping_ = false;
    std::thread thread_;
};

} // namespace GenTLProducer
