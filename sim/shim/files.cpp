// Opening, closing, reading and asking after files.
#include <fcntl.h>
#include <stdarg.h>
#include <stdio.h>
#include <string.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <unistd.h>

#include "sim/shim/board_calls.h"
#include "sim/shim/next_function.h"

using namespace zevo_shim;

namespace
{

/// The result of a system call for a program.
long Answer(long result)
{
    if (result >= 0 || result < -4095)
        return result;
    errno = static_cast<int>(-result);
    return -1;
}

bool NeedsMode(int flags)
{
    return (flags & O_CREAT) != 0 || (flags & O_TMPFILE) == O_TMPFILE;
}

int OpenFlags(const char* mode)
{
    const bool isUpdate = strchr(mode, '+') != nullptr;
    int flags = 0;
    if (mode[0] == 'r')
        flags = isUpdate ? O_RDWR : O_RDONLY;
    else
        flags = (isUpdate ? O_RDWR : O_WRONLY) | O_CREAT | (mode[0] == 'a' ? O_APPEND : O_TRUNC);
    return strchr(mode, 'e') ? flags | O_CLOEXEC : flags;
}

} // namespace

#define ZEVO_OPEN(name)                                                                            \
    ZEVO_INTERPOSE(int, name, const char* path, int flags, ...)                                    \
    {                                                                                              \
        const long result = OpenPath({AT_FDCWD, path}, flags);                                     \
        if (result != kForeign)                                                                    \
            return static_cast<int>(Answer(result));                                               \
        va_list arguments;                                                                         \
        va_start(arguments, flags);                                                                \
        const mode_t mode = NeedsMode(flags) ? va_arg(arguments, mode_t) : 0;                      \
        va_end(arguments);                                                                         \
        return ZEVO_NEXT(name, int(const char*, int, ...))(path, flags, mode);                     \
    }

#define ZEVO_OPENAT(name)                                                                          \
    ZEVO_INTERPOSE(int, name, int directory, const char* path, int flags, ...)                     \
    {                                                                                              \
        const long result = OpenPath({directory, path}, flags);                                    \
        if (result != kForeign)                                                                    \
            return static_cast<int>(Answer(result));                                               \
        va_list arguments;                                                                         \
        va_start(arguments, flags);                                                                \
        const mode_t mode = NeedsMode(flags) ? va_arg(arguments, mode_t) : 0;                      \
        va_end(arguments);                                                                         \
        return ZEVO_NEXT(name, int(int, const char*, int, ...))(directory, path, flags, mode);     \
    }

// The forms that programs compiled with _FORTIFY_SOURCE call where no mode is given.
#define ZEVO_OPEN_2(name)                                                                          \
    ZEVO_INTERPOSE(int, name, const char* path, int flags)                                         \
    {                                                                                              \
        const long result = OpenPath({AT_FDCWD, path}, flags);                                     \
        if (result != kForeign)                                                                    \
            return static_cast<int>(Answer(result));                                               \
        return ZEVO_NEXT(name, int(const char*, int))(path, flags);                                \
    }

#define ZEVO_OPENAT_2(name)                                                                        \
    ZEVO_INTERPOSE(int, name, int directory, const char* path, int flags)                          \
    {                                                                                              \
        const long result = OpenPath({directory, path}, flags);                                    \
        if (result != kForeign)                                                                    \
            return static_cast<int>(Answer(result));                                               \
        return ZEVO_NEXT(name, int(int, const char*, int))(directory, path, flags);                \
    }

ZEVO_OPEN(open)
ZEVO_OPEN(open64)
ZEVO_OPENAT(openat)
ZEVO_OPENAT(openat64)
ZEVO_OPEN_2(__open_2)
ZEVO_OPEN_2(__open64_2)
ZEVO_OPENAT_2(__openat_2)
ZEVO_OPENAT_2(__openat64_2)

namespace
{

int CloseAny(int fd)
{
    const long result = HasDescriptors() ? Close(fd) : kForeign;
    return result == kForeign ? ZEVO_NEXT(close, int(int))(fd) : static_cast<int>(Answer(result));
}

} // namespace

ZEVO_INTERPOSE(int, close, int fd)
{
    return CloseAny(fd);
}

#define ZEVO_FOPEN(name)                                                                           \
    ZEVO_INTERPOSE(FILE*, name, const char* path, const char* mode)                                \
    {                                                                                              \
        const long result = mode ? OpenPath({AT_FDCWD, path}, OpenFlags(mode)) : kForeign;         \
        if (result == kForeign)                                                                    \
            return ZEVO_NEXT(name, FILE * (const char*, const char*))(path, mode);                 \
        const int fd = static_cast<int>(Answer(result));                                           \
        FILE* file = fd >= 0 ? fdopen(fd, mode) : nullptr;                                         \
        if (fd >= 0 && !file)                                                                      \
            CloseAny(fd);                                                                          \
        return file;                                                                               \
    }

ZEVO_FOPEN(fopen)
ZEVO_FOPEN(fopen64)

// The nodes have no read() of their own; the byte of readiness in their sockets stays.
ZEVO_INTERPOSE(ssize_t, read, int fd, void* data, size_t size)
{
    if (HasDescriptors() && Owns(fd))
        return Answer(-EINVAL);
    return ZEVO_NEXT(read, ssize_t(int, void*, size_t))(fd, data, size);
}

ZEVO_INTERPOSE(ssize_t, __read_chk, int fd, void* data, size_t size, size_t room)
{
    if (HasDescriptors() && Owns(fd))
        return Answer(-EINVAL);
    return ZEVO_NEXT(__read_chk, ssize_t(int, void*, size_t, size_t))(fd, data, size, room);
}

namespace
{

using Stat = int(const char*, struct stat*);
using StatDescriptor = int(int, struct stat*);
using StatAt = int(int, const char*, struct stat*, int);

int AnswerStat(Stat* next, const char* path, struct stat* status)
{
    const long result = StatPath({AT_FDCWD, path}, *status);
    return result == kForeign ? next(path, status) : static_cast<int>(Answer(result));
}

int AnswerStat(StatDescriptor* next, int fd, struct stat* status)
{
    const int result = next(fd, status);
    if (result == 0 && HasDescriptors())
        DescribeDescriptor(*status);
    return result;
}

int AnswerStat(StatAt* next, int directory, const char* path, struct stat* status, int flags)
{
    const long answer = StatPath({directory, path}, *status);
    if (answer != kForeign)
        return static_cast<int>(Answer(answer));
    const int result = next(directory, path, status, flags);
    if (result == 0 && (flags & AT_EMPTY_PATH) != 0 && HasDescriptors())
        DescribeDescriptor(*status);
    return result;
}

static_assert(sizeof(struct stat) == sizeof(struct stat64), "both forms share their functions");

} // namespace

// The forms with a version are what programs built against older C libraries call, and the
// interceptors of the thread sanitizer; the present C library has them only for those.
#define ZEVO_STAT(name, versioned, next)                                                           \
    ZEVO_INTERPOSE(int, name, const char* path, struct stat* status)                               \
    {                                                                                              \
        return AnswerStat(ZEVO_NEXT(next, Stat), path, status);                                    \
    }                                                                                              \
    ZEVO_INTERPOSE(int, versioned, int /*version*/, const char* path, struct stat* status)         \
    {                                                                                              \
        return AnswerStat(ZEVO_NEXT(next, Stat), path, status);                                    \
    }

#define ZEVO_FSTAT(name, versioned)                                                                \
    ZEVO_INTERPOSE(int, name, int fd, struct stat* status)                                         \
    {                                                                                              \
        return AnswerStat(ZEVO_NEXT(fstat, StatDescriptor), fd, status);                           \
    }                                                                                              \
    ZEVO_INTERPOSE(int, versioned, int /*version*/, int fd, struct stat* status)                   \
    {                                                                                              \
        return AnswerStat(ZEVO_NEXT(fstat, StatDescriptor), fd, status);                           \
    }

#define ZEVO_FSTATAT(name, versioned)                                                              \
    ZEVO_INTERPOSE(int, name, int directory, const char* path, struct stat* status, int flags)     \
    {                                                                                              \
        return AnswerStat(ZEVO_NEXT(fstatat, StatAt), directory, path, status, flags);             \
    }                                                                                              \
    ZEVO_INTERPOSE(int, versioned, int /*version*/, int directory, const char* path,               \
                   struct stat* status, int flags)                                                 \
    {                                                                                              \
        return AnswerStat(ZEVO_NEXT(fstatat, StatAt), directory, path, status, flags);             \
    }

ZEVO_STAT(stat, __xstat, stat)
ZEVO_STAT(stat64, __xstat64, stat)
ZEVO_STAT(lstat, __lxstat, lstat)
ZEVO_STAT(lstat64, __lxstat64, lstat)
ZEVO_FSTAT(fstat, __fxstat)
ZEVO_FSTAT(fstat64, __fxstat64)
ZEVO_FSTATAT(fstatat, __fxstatat)
ZEVO_FSTATAT(fstatat64, __fxstatat64)

ZEVO_INTERPOSE(int, statx, int directory, const char* path, int flags, unsigned mask,
               struct statx* target)
{
    struct stat status;
    const long answer = StatPath({directory, path}, status);
    if (answer == kForeign)
        return ZEVO_NEXT(statx, int(int, const char*, int, unsigned, struct statx*))(
            directory, path, flags, mask, target);
    if (answer != 0)
        return static_cast<int>(Answer(answer));
    memset(target, 0, sizeof(*target));
    target->stx_mask = STATX_BASIC_STATS;
    target->stx_mode = static_cast<decltype(target->stx_mode)>(status.st_mode);
    target->stx_nlink = static_cast<decltype(target->stx_nlink)>(status.st_nlink);
    target->stx_ino = status.st_ino;
    target->stx_size = static_cast<decltype(target->stx_size)>(status.st_size);
    target->stx_blksize = static_cast<decltype(target->stx_blksize)>(status.st_blksize);
    target->stx_rdev_major = major(status.st_rdev);
    target->stx_rdev_minor = minor(status.st_rdev);
    return 0;
}

#define ZEVO_ACCESS(name)                                                                          \
    ZEVO_INTERPOSE(int, name, const char* path, int mode)                                          \
    {                                                                                              \
        const long result = AccessPath({AT_FDCWD, path}, mode);                                    \
        if (result != kForeign)                                                                    \
            return static_cast<int>(Answer(result));                                               \
        return ZEVO_NEXT(name, int(const char*, int))(path, mode);                                 \
    }

ZEVO_ACCESS(access)
ZEVO_ACCESS(euidaccess)
ZEVO_ACCESS(eaccess)

ZEVO_INTERPOSE(int, faccessat, int directory, const char* path, int mode, int flags)
{
    const long result = AccessPath({directory, path}, mode);
    if (result != kForeign)
        return static_cast<int>(Answer(result));
    return ZEVO_NEXT(faccessat, int(int, const char*, int, int))(directory, path, mode, flags);
}
