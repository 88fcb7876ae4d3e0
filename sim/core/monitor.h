// A mutex with a condition on the monotonic clock.
#pragma once

#include <pthread.h>
#include <time.h>

#include <cstdint>

namespace zevo_sim
{

using Nanoseconds = std::int64_t;

inline Nanoseconds MonotonicNow()
{
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return now.tv_sec * Nanoseconds{1'000'000'000} + now.tv_nsec;
}

/// std::condition_variable waits through a call that the thread sanitizer of clang 14 doesn't
/// know; this one doesn't. Works with std::lock_guard and std::unique_lock.
class Monitor final
{
public:
    Monitor()
    {
        pthread_condattr_t attributes;
        pthread_condattr_init(&attributes);
        pthread_condattr_setclock(&attributes, CLOCK_MONOTONIC);
        pthread_cond_init(&condition_, &attributes);
        pthread_condattr_destroy(&attributes);
        pthread_mutex_init(&mutex_, nullptr);
    }
    Monitor(const Monitor&) = delete;
    Monitor& operator=(const Monitor&) = delete;
    ~Monitor()
    {
        pthread_cond_destroy(&condition_);
        pthread_mutex_destroy(&mutex_);
    }

    void lock() { pthread_mutex_lock(&mutex_); }
    void unlock() { pthread_mutex_unlock(&mutex_); }

    /// Needs the lock, as WaitUntil(). Returns also without a reason.
    void Wait() { pthread_cond_wait(&condition_, &mutex_); }
    void WaitUntil(Nanoseconds deadline)
    {
        const timespec time{static_cast<time_t>(deadline / 1'000'000'000),
                            static_cast<long>(deadline % 1'000'000'000)};
        pthread_cond_timedwait(&condition_, &mutex_, &time);
    }
    void NotifyAll() { pthread_cond_broadcast(&condition_); }

private:
    pthread_mutex_t mutex_;
    pthread_cond_t condition_;
};

} // namespace zevo_sim
