// The system calls of the video and media layer, each of them replaceable.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>

#include <sys/types.h>

namespace V4L2
{

/// Return value and errno of one ioctl in a single 64-bit value, which crosses the border to a
/// replacement in one register.
class IoctlResult final
{
public:
    /// The value goes into the low 32 bits, the error number into the high ones.
    constexpr IoctlResult(int value, int error) noexcept
        : packed_(static_cast<std::uint32_t>(value) |
                  static_cast<std::uint64_t>(static_cast<std::uint32_t>(error)) << 32)
    {
    }

    constexpr bool hasFailed() const noexcept { return value() == -1; }
    constexpr int value() const noexcept { return static_cast<std::int32_t>(packed_); }
    /// Means something only where hasFailed() holds.
    constexpr int error() const noexcept { return static_cast<std::int32_t>(packed_ >> 32); }
    constexpr std::uint64_t packed() const noexcept { return packed_; }

private:
    std::uint64_t packed_;
};

/// What a video node is driven with. Replacements may carry state; that state outlives every
/// device built with them. mmap and munmap run on the thread that requests and drops buffers,
/// ioctl on the capture thread, too.
struct SystemCalls {
    /// A descriptor, or -1 with errno set.
    std::function<int(const char* path, int flags, int mode)> open;
    std::function<int(int fd)> close;
    /// -1 with the error number for a failure. An EINTR is the replacement's own to repeat.
    std::function<IoctlResult(int fd, unsigned long request, void* argument)> ioctl;
    /// The address, or MAP_FAILED with errno set.
    std::function<void*(void* address, std::size_t length, int protection, int flags, int fd,
                        off_t offset)>
        mmap;
    std::function<int(void* address, std::size_t length)> munmap;
};

/// The C library's functions; ioctl is repeated while a signal interrupts it.
SystemCalls RealSystemCalls();

} // namespace V4L2
