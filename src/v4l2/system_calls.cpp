#include "v4l2/system_calls.h"

#include <cerrno>

#include <fcntl.h>
#include <sys/ioctl.h>
#include <sys/mman.h>
#include <unistd.h>

namespace V4L2
{

namespace
{

IoctlResult repeatedIoctl(int fd, unsigned long request, void* argument)
{
    int result = 0;
    do {
        result = ::ioctl(fd, request, argument);
    } while (result == -1 && errno == EINTR);
    return {result, result == -1 ? errno : 0};
}

} // namespace

SystemCalls RealSystemCalls()
{
    return {
        [](const char* path, int flags, int mode) { return ::open(path, flags, mode); },
        [](int fd) { return ::close(fd); },
        repeatedIoctl,
        [](void* address, std::size_t length, int protection, int flags, int fd, off_t offset) {
            return ::mmap(address, length, protection, flags, fd, offset);
        },
        [](void* address, std::size_t length) { return ::munmap(address, length); },
    };
}

} // namespace V4L2
