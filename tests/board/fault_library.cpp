// The preloaded library of the fault walk: stands in front of the system calls that the producer
// makes, counts them and lets one of them fail. Calls of the simulated board, of the C library and
// of the test program pass through uncounted. The producer's sleeps take no time: they put the
// process's monotonic clock forward instead, so that a wait of ten seconds is over at once.
#include <atomic>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <dlfcn.h>
#include <fcntl.h>
#include <glob.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <time.h>
#include <unistd.h>

#define EXPORT extern "C" __attribute__((visibility("default")))

namespace
{

std::atomic<std::size_t> g_armed{0};
std::atomic<std::size_t> g_calls{0};
std::atomic<int> g_error{0};
std::atomic<const char*> g_failed{nullptr};
std::atomic<bool> g_isOn{false};
std::atomic<bool> g_isForGood{false};
std::atomic<long long> g_sleptNs{0};

constexpr long long kSecondNs = 1'000'000'000;

// The producer's calls come from its own code, or, in a build with sanitizers, from their runtime.
bool isProducer(const void* caller)
{
    Dl_info info{};
    if (::dladdr(caller, &info) == 0 || !info.dli_fname)
        return false;
    return std::strstr(info.dli_fname, ".cti") || std::strstr(info.dli_fname, "libasan") ||
           std::strstr(info.dli_fname, "libtsan");
}

bool fails(const char* name, const void* caller, bool isOnNode = false)
{
    if (!g_isOn)
        return false;
    const int savedError = errno;
    bool isFailed = false;
    if (isProducer(caller)) {
        const std::size_t number = ++g_calls;
        isFailed = g_isForGood ? g_armed != 0 && number >= g_armed && isOnNode : number == g_armed;
    }
    errno = savedError;
    if (isFailed) {
        const char* none = nullptr;
        g_failed.compare_exchange_strong(none, name);
        errno = g_error;
    }
    return isFailed;
}

template <typename Function>
Function next(Function, const char* name)
{
    return reinterpret_cast<Function>(::dlsym(RTLD_NEXT, name));
}

} // namespace

EXPORT void zevo_fault_arm(std::size_t number, int error, bool isForGood)
{
    g_isForGood = isForGood;
    g_calls = 0;
    g_failed = nullptr;
    g_error = error;
    g_armed = number;
    g_isOn = true;
}

EXPORT std::size_t zevo_fault_count()
{
    g_isOn = false;
    return g_calls;
}

EXPORT const char* zevo_faulted_call()
{
    return g_failed;
}

#define FAILS(name) fails(#name, __builtin_return_address(0))
#define FAILS_ON_NODE(name, isOnNode) fails(#name, __builtin_return_address(0), isOnNode)
#define NEXT(name) static const auto real = next(&::name, #name)

EXPORT int open(const char* path, int flags, ...)
{
    va_list arguments;
    va_start(arguments, flags);
    const int mode = va_arg(arguments, int);
    va_end(arguments);
    NEXT(open);
    return FAILS_ON_NODE(open, std::strncmp(path, "/dev/", 5) == 0) ? -1 : real(path, flags, mode);
}

EXPORT int ioctl(int fd, unsigned long request, ...) noexcept
{
    va_list arguments;
    va_start(arguments, request);
    void* const argument = va_arg(arguments, void*);
    va_end(arguments);
    NEXT(ioctl);
    return FAILS_ON_NODE(ioctl, true) ? -1 : real(fd, request, argument);
}

EXPORT void* mmap(void* address, std::size_t length, int protection, int flags, int fd,
                  off_t offset) noexcept
{
    NEXT(mmap);
    return FAILS_ON_NODE(mmap, true) ? MAP_FAILED
                                     : real(address, length, protection, flags, fd, offset);
}

EXPORT int fcntl(int fd, int command, ...)
{
    va_list arguments;
    va_start(arguments, command);
    const long argument = va_arg(arguments, long);
    va_end(arguments);
    NEXT(fcntl);
    return FAILS(fcntl) ? -1 : real(fd, command, argument);
}

EXPORT int stat(const char* path, struct stat* status) noexcept
{
    using Stat = int (*)(const char*, struct stat*);
    static const auto real = reinterpret_cast<Stat>(::dlsym(RTLD_NEXT, "stat"));
    return FAILS(stat) ? -1 : real(path, status);
}

/// A call that returns `failed` when it fails; behind it how the C library declares it.
#define STAND_IN(result, name, parameters, arguments, failed, specifier)                           \
    EXPORT result name parameters specifier                                                        \
    {                                                                                              \
        NEXT(name);                                                                                \
        return FAILS(name) ? failed : real arguments;                                              \
    }

// clang-format off
STAND_IN(int, poll, (pollfd* entries, nfds_t count, int timeoutMs), (entries, count, timeoutMs), -1, )
STAND_IN(int, pipe, (int ends[2]), (ends), -1, noexcept)
STAND_IN(int, dup, (int fd), (fd), -1, noexcept)
STAND_IN(int, glob, (const char* pattern, int flags, int (*onError)(const char*, int), glob_t* result),
         (pattern, flags, onError, result), GLOB_NOSPACE, )
STAND_IN(std::FILE*, fopen, (const char* path, const char* mode), (path, mode), nullptr, )
STAND_IN(ssize_t, write, (int fd, const void* data, std::size_t size), (fd, data, size), -1, )
STAND_IN(ssize_t, read, (int fd, void* data, std::size_t size), (fd, data, size), -1, )
// clang-format on

EXPORT int nanosleep(const timespec* duration, timespec* remaining)
{
    NEXT(nanosleep);
    if (!isProducer(__builtin_return_address(0)))
        return real(duration, remaining);
    g_sleptNs += duration->tv_sec * kSecondNs + duration->tv_nsec;
    return 0;
}

EXPORT int clock_gettime(clockid_t clock, timespec* now) noexcept
{
    NEXT(clock_gettime);
    const int result = real(clock, now);
    if (result == 0 && clock == CLOCK_MONOTONIC) {
        const long long ns = now->tv_nsec + g_sleptNs;
        now->tv_sec += ns / kSecondNs;
        now->tv_nsec = ns % kSecondNs;
    }
    return result;
}
