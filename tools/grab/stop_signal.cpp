#include "grab/stop_signal.h"

#include <ctime>

namespace zevo_tool
{

namespace
{

/// A signal that comes so soon after the first is the same wish: who sends it to a process and to
/// its group sends it twice.
constexpr long kSameWishMs = 500;

volatile std::sig_atomic_t receivedSignal = 0;
timespec receivedTime{};

long MillisecondsSince(const timespec& start)
{
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return (now.tv_sec - start.tv_sec) * 1000 + (now.tv_nsec - start.tv_nsec) / 1'000'000;
}

extern "C" void NoteSignal(int number)
{
    if (receivedSignal == 0) {
        clock_gettime(CLOCK_MONOTONIC, &receivedTime);
        receivedSignal = number;
    } else if (MillisecondsSince(receivedTime) > kSameWishMs) {
        signal(number, SIG_DFL);
        raise(number);
    }
}

} // namespace

StopSignal::StopSignal()
{
    receivedSignal = 0;
    struct sigaction action = {};
    action.sa_handler = NoteSignal;
    sigemptyset(&action.sa_mask);
    sigaddset(&action.sa_mask, SIGINT);
    sigaddset(&action.sa_mask, SIGTERM);
    sigaction(SIGINT, &action, &oldInterrupt_);
    sigaction(SIGTERM, &action, &oldTerminate_);
}

StopSignal::~StopSignal()
{
    sigaction(SIGINT, &oldInterrupt_, nullptr);
    sigaction(SIGTERM, &oldTerminate_, nullptr);
}

int StopSignal::Received() const
{
    return receivedSignal;
}

} // namespace zevo_tool
