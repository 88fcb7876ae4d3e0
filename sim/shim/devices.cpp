// Requests, mappings and readiness of device nodes.
#include <poll.h>
#include <stdarg.h>
#include <stdlib.h>
#include <string.h>
#include <sys/mman.h>
#include <time.h>

#include "sim/core/system.h"
#include "sim/shim/board_calls.h"
#include "sim/shim/next_function.h"

using namespace zevo_shim;

namespace
{

constexpr long kSecond = 1'000'000'000;

int Answer(long result)
{
    if (result >= 0)
        return static_cast<int>(result);
    errno = static_cast<int>(-result);
    return -1;
}

void* MapAnywhere(int fd, void* address, size_t length, int protection, int flags, long offset,
                  bool& isBoards)
{
    isBoards = fd >= 0 && (flags & MAP_ANONYMOUS) == 0 && HasDescriptors();
    const long result = isBoards ? Map(fd, address, length, protection, flags, offset) : kForeign;
    isBoards = result != kForeign;
    if (!isBoards)
        return nullptr;
    if (result < 0 && result >= -4095) {
        errno = static_cast<int>(-result);
        return MAP_FAILED;
    }
    return zevo_sim::sys::ToPointer(static_cast<std::uint64_t>(result));
}

int RealPoll(pollfd* entries, nfds_t count, const timespec* timeout, const sigset_t* mask)
{
    return ZEVO_NEXT(ppoll, int(pollfd*, nfds_t, const timespec*, const sigset_t*))(entries, count,
                                                                                    timeout, mask);
}

bool HoldsNodes(const pollfd* entries, nfds_t count)
{
    for (nfds_t i = 0; i < count; ++i)
        if (Owns(entries[i].fd))
            return true;
    return false;
}

/// 0, or what the board lets the whole call end with.
long BeginPolls(const pollfd* entries, nfds_t count)
{
    for (nfds_t i = 0; i < count; ++i)
        if (const long result = BeginPoll(entries[i].fd); result != 0 && result != kForeign)
            return result;
    return 0;
}

/// Puts what the nodes show into the entries. The number of entries with events, of all.
int ShowNodes(pollfd* entries, nfds_t count)
{
    int shown = 0;
    for (nfds_t i = 0; i < count; ++i) {
        const long state = Poll(entries[i].fd, entries[i].events);
        if (state != kForeign)
            entries[i].revents = static_cast<short>(state);
        shown += entries[i].revents != 0 ? 1 : 0;
    }
    return shown;
}

/// Time left until the deadline; zero when it is over.
timespec Left(const timespec& deadline)
{
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    const long left = (deadline.tv_sec - now.tv_sec) * kSecond + (deadline.tv_nsec - now.tv_nsec);
    return left <= 0 ? timespec{} : timespec{left / kSecond, left % kSecond};
}

/// A node's socket is readable whenever the node shows anything; what that is, the node tells.
/// `requested` is the same list with the events that make sense for a socket.
int PollNodes(pollfd* entries, pollfd* requested, nfds_t count, const timespec* timeout,
              const sigset_t* mask)
{
    timespec deadline{};
    if (timeout) {
        clock_gettime(CLOCK_MONOTONIC, &deadline);
        const long total = deadline.tv_nsec + timeout->tv_nsec;
        deadline.tv_sec += timeout->tv_sec + total / kSecond;
        deadline.tv_nsec = total % kSecond;
    }
    for (;;) {
        for (nfds_t i = 0; i < count; ++i) {
            entries[i].revents = 0;
            requested[i] = entries[i];
            if (Owns(entries[i].fd))
                requested[i].events = entries[i].events & (POLLIN | POLLRDNORM);
        }
        // Asking the nodes first lets them take back bytes that say too much.
        timespec left = timeout ? Left(deadline) : timespec{};
        const bool isOver = timeout && left.tv_sec == 0 && left.tv_nsec == 0;
        const bool isShown = ShowNodes(entries, count) != 0;
        if (isShown)
            left = {};
        if (RealPoll(requested, count, isShown || timeout ? &left : nullptr, mask) < 0)
            return -1;
        for (nfds_t i = 0; i < count; ++i)
            entries[i].revents = requested[i].revents;
        const int shown = ShowNodes(entries, count);
        if (shown != 0 || isOver)
            return shown;
    }
}

int PollAny(pollfd* entries, nfds_t count, const timespec* timeout, const sigset_t* mask)
{
    if (const long result = BeginPolls(entries, count); result != 0)
        return Answer(result);
    constexpr nfds_t few = 32;
    pollfd onStack[few];
    if (count <= few)
        return PollNodes(entries, onStack, count, timeout, mask);
    auto* list = static_cast<pollfd*>(malloc(count * sizeof(pollfd)));
    if (!list)
        return Answer(-ENOMEM);
    const int result = PollNodes(entries, list, count, timeout, mask);
    free(list);
    return result;
}

int PollMilliseconds(pollfd* entries, nfds_t count, int milliseconds)
{
    const timespec timeout{milliseconds / 1000, milliseconds % 1000 * 1'000'000L};
    return PollAny(entries, count, milliseconds < 0 ? nullptr : &timeout, nullptr);
}

} // namespace

ZEVO_INTERPOSE(int, ioctl, int fd, unsigned long request, ...)
{
    va_list arguments;
    va_start(arguments, request);
    void* argument = va_arg(arguments, void*);
    va_end(arguments);
    const long result = HasDescriptors() ? Ioctl(fd, request, argument) : kForeign;
    if (result != kForeign)
        return Answer(result);
    return ZEVO_NEXT(ioctl, int(int, unsigned long, ...))(fd, request, argument);
}

#define ZEVO_MMAP(name)                                                                            \
    ZEVO_INTERPOSE(void*, name, void* address, size_t length, int protection, int flags, int fd,   \
                   off_t offset)                                                                   \
    {                                                                                              \
        bool isBoards = false;                                                                     \
        void* mapped = MapAnywhere(fd, address, length, protection, flags, offset, isBoards);      \
        if (isBoards)                                                                              \
            return mapped;                                                                         \
        return ZEVO_NEXT(name, void*(void*, size_t, int, int, int, off_t))(                        \
            address, length, protection, flags, fd, offset);                                       \
    }

ZEVO_MMAP(mmap)
ZEVO_MMAP(mmap64)

ZEVO_INTERPOSE(int, munmap, void* address, size_t length)
{
    const int result = ZEVO_NEXT(munmap, int(void*, size_t))(address, length);
    if (result == 0)
        NoteUnmap(address, length);
    return result;
}

ZEVO_INTERPOSE(int, poll, pollfd* entries, nfds_t count, int milliseconds)
{
    if (HasDescriptors() && HoldsNodes(entries, count))
        return PollMilliseconds(entries, count, milliseconds);
    return ZEVO_NEXT(poll, int(pollfd*, nfds_t, int))(entries, count, milliseconds);
}

ZEVO_INTERPOSE(int, __poll_chk, pollfd* entries, nfds_t count, int milliseconds, size_t room)
{
    if (HasDescriptors() && HoldsNodes(entries, count))
        return PollMilliseconds(entries, count, milliseconds);
    return ZEVO_NEXT(__poll_chk, int(pollfd*, nfds_t, int, size_t))(entries, count, milliseconds,
                                                                    room);
}

ZEVO_INTERPOSE(int, ppoll, pollfd* entries, nfds_t count, const timespec* timeout,
               const sigset_t* mask)
{
    if (HasDescriptors() && HoldsNodes(entries, count))
        return PollAny(entries, count, timeout, mask);
    return RealPoll(entries, count, timeout, mask);
}

ZEVO_INTERPOSE(int, __ppoll_chk, pollfd* entries, nfds_t count, const timespec* timeout,
               const sigset_t* mask, size_t room)
{
    if (HasDescriptors() && HoldsNodes(entries, count))
        return PollAny(entries, count, timeout, mask);
    return ZEVO_NEXT(__ppoll_chk, int(pollfd*, nfds_t, const timespec*, const sigset_t*, size_t))(
        entries, count, timeout, mask, room);
}
