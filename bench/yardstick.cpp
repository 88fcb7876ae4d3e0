#include "yardstick.h"

#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>

#include "copies.h"

namespace zevo_bench
{

namespace
{

struct Request {
    std::size_t size;
    bool isRead;
};

template <typename Value>
bool readAll(int fd, Value& value)
{
    return ::read(fd, &value, sizeof value) == static_cast<ssize_t>(sizeof value);
}

template <typename Value>
void writeAll(int fd, const Value& value)
{
    Require(::write(fd, &value, sizeof value) == static_cast<ssize_t>(sizeof value),
            "the other memcpy has gone");
}

} // namespace

TunedMemcpy::TunedMemcpy(const Effort& effort)
{
    int down[2];
    int up[2];
    Require(::pipe(down) == 0 && ::pipe(up) == 0, "no pipe");
    child_ = ::fork();
    Require(child_ != -1, "no child");
    if (child_ == 0) {
        ::dup2(down[0], 0);
        ::dup2(up[1], 1);
        for (const int fd : {down[0], down[1], up[0], up[1]})
            ::close(fd);
        ::setenv("GLIBC_TUNABLES", "glibc.cpu.x86_non_temporal_threshold=1048576", 1);
        const bool isQuick = effort.rounds == 1;
        ::execl("/proc/self/exe", "zevo-bench", "--tuned-memcpy", isQuick ? "--quick" : nullptr,
                nullptr);
        ::_exit(1);
    }
    ::close(down[0]);
    ::close(up[1]);
    toChild_ = down[1];
    fromChild_ = up[0];
}

TunedMemcpy::~TunedMemcpy()
{
    ::close(toChild_);
    ::close(fromChild_);
    ::waitpid(child_, nullptr, 0);
}

double TunedMemcpy::Measure(std::size_t size, bool isRead)
{
    writeAll(toChild_, Request{size, isRead});
    double seconds = 0;
    Require(readAll(fromChild_, seconds), "the other memcpy gives no answer");
    return seconds;
}

int ServeTunedMemcpy(const Effort& effort)
{
    FrameMemory memory(effort, 0, 0);
    for (Request request{}; readAll(0, request);) {
        const double seconds = memory.TimeOf(
            [&](const std::uint8_t* source, std::uint8_t* destination) {
                std::memcpy(destination, source, request.size);
            },
            request.isRead ? request.size : 0);
        writeAll(1, seconds);
    }
    return 0;
}

} // namespace zevo_bench
