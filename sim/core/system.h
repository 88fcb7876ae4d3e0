// System calls past the C library, so that they can't meet the interposed functions.
#pragma once

#include <fcntl.h>
#include <poll.h>
#include <sys/mman.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <time.h>
#include <unistd.h>

#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <utility>

namespace zevo_sim
{

static_assert(sizeof(long) == 8, "the structures below are those of 64-bit kernels");

/// Every call gives its result or a negative errno, and leaves errno alone.
namespace sys
{

template <typename... Arguments>
long Call(long number, Arguments... arguments)
{
    const int saved = errno;
    long result = ::syscall(number, arguments...);
    if (result == -1)
        result = -errno;
    errno = saved;
    return result;
}

inline int Open(const char* path, int flags, unsigned mode = 0)
{
    return static_cast<int>(Call(SYS_openat, AT_FDCWD, path, flags, mode));
}

inline int Close(int fd)
{
    return static_cast<int>(Call(SYS_close, fd));
}

inline int Stat(int fd, struct stat& status)
{
    return static_cast<int>(Call(SYS_fstat, fd, &status));
}

inline long FileSize(int fd)
{
    struct stat status;
    const int result = Stat(fd, status);
    return result < 0 ? result : static_cast<long>(status.st_size);
}

/// Reads until the buffer is full; -EIO at an early end.
inline long ReadFully(int fd, void* data, std::size_t size)
{
    auto* target = static_cast<unsigned char*>(data);
    for (std::size_t done = 0; done < size;) {
        const long count = Call(SYS_read, fd, target + done, size - done);
        if (count == -EINTR)
            continue;
        if (count <= 0)
            return count < 0 ? count : -EIO;
        done += static_cast<std::size_t>(count);
    }
    return static_cast<long>(size);
}

inline long WriteFully(int fd, const void* data, std::size_t size)
{
    const auto* source = static_cast<const unsigned char*>(data);
    for (std::size_t done = 0; done < size;) {
        const long count = Call(SYS_write, fd, source + done, size - done);
        if (count == -EINTR)
            continue;
        if (count < 0)
            return count;
        done += static_cast<std::size_t>(count);
    }
    return static_cast<long>(size);
}

inline int Control(int fd, int command, long argument)
{
    return static_cast<int>(Call(SYS_fcntl, fd, command, argument));
}

inline int SocketPair(int type, int (&ends)[2])
{
    return static_cast<int>(Call(SYS_socketpair, AF_UNIX, type, 0, ends));
}

inline long Send(int fd, const void* data, std::size_t size, int flags)
{
    return Call(SYS_sendto, fd, data, size, flags, nullptr, 0);
}

inline long Receive(int fd, void* data, std::size_t size, int flags)
{
    return Call(SYS_recvfrom, fd, data, size, flags, nullptr, nullptr);
}

/// What the descriptor shows right now; 0 for nothing, POLLNVAL for no descriptor.
inline short PollNow(int fd, short events)
{
    pollfd entry{fd, events, 0};
    timespec none{};
    const long result = Call(SYS_ppoll, &entry, 1, &none, nullptr, 8);
    return result > 0 ? entry.revents : short{0};
}

inline int CreateMemoryFile(const char* name)
{
    return static_cast<int>(Call(SYS_memfd_create, name, 1 /* MFD_CLOEXEC */));
}

inline int Resize(int fd, std::size_t size)
{
    return static_cast<int>(Call(SYS_ftruncate, fd, static_cast<long>(size)));
}

/// MAP_FAILED never comes back: a result from -4095 to -1 is an errno.
inline long Map(void* address, std::size_t size, int protection, int flags, int fd, long offset)
{
    return Call(SYS_mmap, address, size, protection, flags, fd, offset);
}

/// An address as the kernel passes it, among integers.
inline void* ToPointer(std::uint64_t address)
{
    return reinterpret_cast<void*>(address); // NOLINT(performance-no-int-to-ptr)
}

inline int Unmap(void* address, std::size_t size)
{
    return static_cast<int>(Call(SYS_munmap, address, size));
}

inline int ProcessId()
{
    return static_cast<int>(Call(SYS_getpid));
}

} // namespace sys

/// Owner of one descriptor, closed past the C library. A negative number is an errno.
class Descriptor final
{
public:
    Descriptor() = default;
    explicit Descriptor(int fd) noexcept : fd_(fd) {}
    Descriptor(Descriptor&& other) noexcept : fd_(other.Release()) {}
    Descriptor& operator=(Descriptor&& other) noexcept
    {
        std::swap(fd_, other.fd_);
        return *this;
    }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    ~Descriptor() { Reset(); }

    int Get() const noexcept { return fd_; }
    bool IsValid() const noexcept { return fd_ >= 0; }
    [[nodiscard]] int Release() noexcept { return std::exchange(fd_, -EBADF); }
    void Reset() noexcept
    {
        if (fd_ >= 0)
            sys::Close(std::exchange(fd_, -EBADF));
    }

private:
    int fd_ = -EBADF;
};

/// Owner of one mapping.
class Mapping final
{
public:
    Mapping() = default;
    Mapping(void* address, std::size_t size) noexcept : address_(address), size_(size) {}
    Mapping(Mapping&& other) noexcept { *this = std::move(other); }
    Mapping& operator=(Mapping&& other) noexcept
    {
        std::swap(address_, other.address_);
        std::swap(size_, other.size_);
        return *this;
    }
    Mapping(const Mapping&) = delete;
    Mapping& operator=(const Mapping&) = delete;
    ~Mapping()
    {
        if (address_)
            sys::Unmap(address_, size_);
    }

    unsigned char* Data() const noexcept { return static_cast<unsigned char*>(address_); }
    std::size_t Size() const noexcept { return size_; }

private:
    void* address_ = nullptr;
    std::size_t size_ = 0;
};

} // namespace zevo_sim
