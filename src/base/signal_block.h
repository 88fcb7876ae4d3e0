// Keeps signals off the library's own threads.
#pragma once

#include <initializer_list>

#include <csignal>

namespace GenTLProducer
{

/// While it lives, signals stay away from the calling thread, and for good from the threads that
/// it starts: a consumer's handlers, for SIGINT and timers, run on the consumer's threads. What
/// the processor raises and what profilers send still arrives. Restores the mask at its end, on
/// the thread that made it.
class SignalBlock final
{
public:
    SignalBlock() noexcept
    {
        sigset_t blocked;
        sigfillset(&blocked);
        for (const int signal :
             {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGTRAP, SIGABRT, SIGSYS, SIGPROF})
            sigdelset(&blocked, signal);
        pthread_sigmask(SIG_BLOCK, &blocked, &previous_);
    }
    ~SignalBlock() { pthread_sigmask(SIG_SETMASK, &previous_, nullptr); }
    SignalBlock(const SignalBlock&) = delete;
    SignalBlock& operator=(const SignalBlock&) = delete;

private:
    sigset_t previous_;
};

} // namespace GenTLProducer
