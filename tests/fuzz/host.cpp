#include "host.h"

#include <glob.h>
#include <sched.h>
#include <sys/mman.h>
#include <time.h>

#include <atomic>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "module/clock.h"

namespace
{

std::atomic<fuzz::Host*> g_host{nullptr};

/// The host's answer in the form of the C library, or that of the function itself.
template <typename Ask, typename Real>
long answer(Ask ask, Real real)
{
    fuzz::Host* host = g_host;
    const long result = host ? ask(*host) : fuzz::Host::kForeign;
    if (result == fuzz::Host::kForeign)
        return real();
    if (result >= 0 || result < -4095)
        return result;
    errno = static_cast<int>(-result);
    return -1;
}

/// Time that passes by being asked for, and by sleeping: no boot of the ISP waits.
class FastClock final : public mcm::IClock
{
public:
    TimePoint now() const override { return TimePoint(std::chrono::milliseconds(++now_)); }
    void sleep(Duration duration) const override
    {
        now_ += std::chrono::duration_cast<std::chrono::milliseconds>(duration).count();
    }

private:
    mutable std::atomic<std::int64_t> now_{0};
};

} // namespace

// Takes the place of the layer's own.
const mcm::IClock& mcm::steadyClock() noexcept
{
    static const FastClock clock;
    return clock;
}

fuzz::Host::Host()
{
    g_host = this;
}

fuzz::Host::~Host()
{
    g_host = nullptr;
}

// The linker turns the layers' calls of open into calls of __wrap_open, and so on.
extern "C" {

int __real_open(const char* path, int flags, ...);
int __real_close(int fd);
int __real_ioctl(int fd, unsigned long request, ...);
void* __real_mmap(void* address, std::size_t length, int protection, int flags, int fd,
                  off_t offset);
int __real_munmap(void* address, std::size_t length);
int __real_stat(const char* path, struct stat* status);
std::FILE* __real_fopen(const char* path, const char* mode);

int __wrap_open(const char* path, int flags, ...)
{
    return static_cast<int>(answer([&](fuzz::Host& host) { return host.open(path, flags); },
                                   [&] { return __real_open(path, flags, 0); }));
}

int __wrap_close(int fd)
{
    return static_cast<int>(
        answer([&](fuzz::Host& host) { return host.close(fd); }, [&] { return __real_close(fd); }));
}

int __wrap_ioctl(int fd, unsigned long request, ...)
{
    va_list arguments;
    va_start(arguments, request);
    void* argument = va_arg(arguments, void*);
    va_end(arguments);
    return static_cast<int>(
        answer([&](fuzz::Host& host) { return host.ioctl(fd, request, argument); },
               [&] { return __real_ioctl(fd, request, argument); }));
}

void* __wrap_mmap(void* address, std::size_t length, int protection, int flags, int fd,
                  off_t offset)
{
    const long result =
        answer([&](fuzz::Host& host) { return host.map(fd, length, protection, flags, offset); },
               [&] {
                   return reinterpret_cast<long>(
                       __real_mmap(address, length, protection, flags, fd, offset));
               });
    return reinterpret_cast<void*>(result); // NOLINT(performance-no-int-to-ptr)
}

int __wrap_munmap(void* address, std::size_t length)
{
    return static_cast<int>(answer([&](fuzz::Host& host) { return host.unmap(address, length); },
                                   [&] { return __real_munmap(address, length); }));
}

int __wrap_stat(const char* path, struct stat* status)
{
    return static_cast<int>(answer([&](fuzz::Host& host) { return host.stat(path, *status); },
                                   [&] { return __real_stat(path, status); }));
}

std::FILE* __wrap_fopen(const char* path, const char* mode)
{
    fuzz::Host* host = g_host;
    // The fuzzer's own, too, writes files: the input that fails, while the host lives.
    const bool isForeign =
        std::strncmp(path, "/sys/", 5) != 0 && std::strncmp(path, "/proc/", 6) != 0;
    if (!host || isForeign)
        return __real_fopen(path, mode);
    const auto content = host->file(path);
    if (!content) {
        errno = ENOENT;
        return nullptr;
    }
    std::FILE* file = ::fmemopen(nullptr, content->size() + 1, "w+");
    if (file) {
        std::fwrite(content->data(), 1, content->size(), file);
        std::rewind(file);
    }
    return file;
}

int __wrap_glob(const char* pattern, int /*flags*/, int (* /*onError*/)(const char*, int),
                glob_t* result)
{
    fuzz::Host* host = g_host;
    const auto paths = host ? host->matches(pattern) : std::vector<std::string>();
    *result = {};
    if (paths.empty())
        return GLOB_NOMATCH;
    result->gl_pathv = static_cast<char**>(std::calloc(paths.size() + 1, sizeof(char*)));
    for (const std::string& path : paths)
        result->gl_pathv[result->gl_pathc++] = ::strdup(path.c_str());
    return 0;
}

int __wrap_nanosleep(const timespec* /*duration*/, timespec* /*rest*/)
{
    return ::sched_yield();
}

} // extern "C"
