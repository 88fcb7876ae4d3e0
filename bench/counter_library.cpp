// Preloaded in front of the simulated board: counts the calls that the producer makes and passes
// all of them on. Locks that nobody disputes are no calls; a disputed one isn't seen here.
#include <dlfcn.h>
#include <linux/videodev2.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/mman.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <cstdarg>
#include <cstring>
#include <mutex>

#include "bus/kernel_interface.h"
#include "counter.h"

#define EXPORT extern "C" __attribute__((visibility("default")))

namespace
{

constexpr std::size_t kMostTransfers = 65536;

std::mutex g_mutex;
CaptureCalls g_capture{};
BusTransfer g_transfers[kMostTransfers];
std::size_t g_transferCount = 0;

// Of the capture thread: its own time when it last came from a dequeue or was counted.
thread_local bool t_isCapture = false;
thread_local double t_dequeued = 0;
thread_local double t_resumed = 0;

double readClock(clockid_t clock)
{
    timespec now{};
    ::clock_gettime(clock, &now);
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) * 1e-9;
}

bool isProducer(const void* caller)
{
    Dl_info info{};
    return ::dladdr(caller, &info) != 0 && info.dli_fname && std::strstr(info.dli_fname, ".cti");
}

template <typename Function>
Function next(Function, const char* name)
{
    return reinterpret_cast<Function>(::dlsym(RTLD_NEXT, name));
}

void countCall()
{
    if (!t_isCapture)
        return;
    const std::lock_guard<std::mutex> lock(g_mutex);
    ++g_capture.calls;
}

void noteTransfer(const mcm::tolmen_register_transfer& transfer)
{
    const std::lock_guard<std::mutex> lock(g_mutex);
    if (g_transferCount < kMostTransfers)
        g_transfers[g_transferCount++] = {transfer.address, transfer.size,
                                          transfer.direction == mcm::TransferDirection::Write};
}

void noteTransferOf(unsigned long request, const void* argument)
{
    if (request == mcm::TOLMEN_IOC_READ_REGISTER || request == mcm::TOLMEN_IOC_WRITE_REGISTER)
        noteTransfer(*static_cast<const mcm::tolmen_register_transfer*>(argument));
}

} // namespace

EXPORT void zevo_bench_capture_calls(CaptureCalls* calls)
{
    const std::lock_guard<std::mutex> lock(g_mutex);
    *calls = g_capture;
}

EXPORT std::size_t zevo_bench_transfers(BusTransfer* transfers, std::size_t size)
{
    const std::lock_guard<std::mutex> lock(g_mutex);
    std::copy_n(g_transfers, std::min(size, g_transferCount), transfers);
    return g_transferCount;
}

#define NEXT(name) static const auto real = next(&::name, #name)

// The board's work in an ioctl or a wait isn't the producer's.
EXPORT int ioctl(int fd, unsigned long request, ...) noexcept
{
    va_list arguments;
    va_start(arguments, request);
    void* const argument = va_arg(arguments, void*);
    va_end(arguments);
    NEXT(ioctl);
    if (!t_isCapture && !isProducer(__builtin_return_address(0)))
        return real(fd, request, argument);
    noteTransferOf(request, argument);
    if (request == VIDIOC_DQBUF && !t_isCapture) {
        t_isCapture = true;
        t_resumed = readClock(CLOCK_THREAD_CPUTIME_ID);
    }
    if (!t_isCapture)
        return real(fd, request, argument);

    const double entered = readClock(CLOCK_THREAD_CPUTIME_ID);
    const int result = real(fd, request, argument);
    const std::lock_guard<std::mutex> lock(g_mutex);
    ++g_capture.calls;
    g_capture.ownSeconds += entered - t_resumed;
    if (request == VIDIOC_DQBUF && result == 0)
        ++g_capture.frames;
    t_dequeued = t_resumed = readClock(CLOCK_THREAD_CPUTIME_ID);
    return result;
}

EXPORT int poll(pollfd* entries, nfds_t count, int timeoutMs)
{
    NEXT(poll);
    if (t_isCapture && count == 1 && timeoutMs == 0) {
        const double now = readClock(CLOCK_MONOTONIC);
        const double copied = readClock(CLOCK_THREAD_CPUTIME_ID) - t_dequeued;
        const std::lock_guard<std::mutex> lock(g_mutex);
        g_capture.lastSignal = now;
        g_capture.copySeconds += copied;
        ++g_capture.delivered;
    }
    countCall();
    if (!t_isCapture || count == 1)
        return real(entries, count, timeoutMs);
    // The wait for a frame is the board's time as well.
    const double entered = readClock(CLOCK_THREAD_CPUTIME_ID);
    const int result = real(entries, count, timeoutMs);
    const std::lock_guard<std::mutex> lock(g_mutex);
    g_capture.ownSeconds += entered - t_resumed;
    t_resumed = readClock(CLOCK_THREAD_CPUTIME_ID);
    return result;
}

EXPORT ssize_t write(int fd, const void* data, std::size_t size)
{
    NEXT(write);
    countCall();
    return real(fd, data, size);
}

EXPORT ssize_t read(int fd, void* data, std::size_t size)
{
    NEXT(read);
    countCall();
    return real(fd, data, size);
}

EXPORT int mincore(void* address, std::size_t length, unsigned char* pages) noexcept
{
    NEXT(mincore);
    countCall();
    return real(address, length, pages);
}
