#include "base/pipe_event.h"

#include <cerrno>
#include <fcntl.h>
#include <new>
#include <poll.h>
#include <unistd.h>

namespace GenTLProducer
{

namespace
{

// A thread may depend on the one byte to stop: a system that fails for once isn't taken at its
// word. Interruptions don't count; a read from the empty pipe is no failure.
template <typename Call>
void insist(Call call) noexcept
{
    constexpr int kAttempts = 3;
    for (int failures = 0; failures < kAttempts && call() == -1 && errno != EAGAIN;) {
        if (errno != EINTR)
            ++failures;
    }
}

bool makeNonBlocking(int fd)
{
    const int flags = ::fcntl(fd, F_GETFL);
    return flags != -1 && ::fcntl(fd, F_SETFL, flags | O_NONBLOCK) != -1;
}

} // namespace

PipeEvent::PipeEvent(UniqueFd readEnd, UniqueFd writeEnd) noexcept
    : readEnd_(std::move(readEnd)), writeEnd_(std::move(writeEnd))
{
}

std::unique_ptr<PipeEvent> PipeEvent::Create()
{
    int ends[2];
    if (::pipe(ends) != 0)
        return nullptr;
    UniqueFd readEnd(ends[0]);
    UniqueFd writeEnd(ends[1]);
    if (!makeNonBlocking(readEnd.get()))
        return nullptr;
    return std::unique_ptr<PipeEvent>(new PipeEvent(std::move(readEnd), std::move(writeEnd)));
}

std::unique_ptr<PipeEvent> PipeEvent::Duplicate() const
{
    UniqueFd readEnd(::dup(readEnd_.get()));
    if (!readEnd.isValid())
        return nullptr;
    UniqueFd writeEnd(::dup(writeEnd_.get()));
    if (!writeEnd.isValid())
        return nullptr;
    return std::unique_ptr<PipeEvent>(new PipeEvent(std::move(readEnd), std::move(writeEnd)));
}

void PipeEvent::Signal() noexcept
{
    if (IsSignalled())
        return;
    const char byte = 1;
    insist([&] { return ::write(writeEnd_.get(), &byte, 1); });
}

void PipeEvent::Clear() noexcept
{
    char byte = 0;
    insist([&] { return ::read(readEnd_.get(), &byte, 1); });
}

bool PipeEvent::IsSignalled() const noexcept
{
    pollfd entry{readEnd_.get(), POLLIN, 0};
    int ready = 0;
    do {
        ready = ::poll(&entry, 1, 0);
    } while (ready == -1 && errno == EINTR);
    return ready > 0;
}

} // namespace GenTLProducer
