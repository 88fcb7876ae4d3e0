#include "sim/core/device_node.h"

#include <fcntl.h>

namespace zevo_sim
{

namespace
{

// The end that stays here keeps out of the low numbers, which a program may count on.
constexpr long kLowestOwnEnd = 400;

} // namespace

int OpenFile::Create(DeviceNode& node, int flags, int& fd)
{
    const int nonBlocking = (flags & O_NONBLOCK) != 0 ? SOCK_NONBLOCK : 0;
    int ends[2];
    if (const int result = sys::SocketPair(SOCK_STREAM | SOCK_CLOEXEC | nonBlocking, ends);
        result < 0)
        return result;
    Descriptor program(ends[0]);
    Descriptor own(ends[1]);
    if (const int moved = sys::Control(own.Get(), F_DUPFD_CLOEXEC, kLowestOwnEnd); moved >= 0)
        own = Descriptor(moved);
    struct stat status;
    struct stat ownStatus;
    if (const int result = sys::Stat(program.Get(), status); result < 0)
        return result;
    if (const int result = sys::Stat(own.Get(), ownStatus); result < 0)
        return result;
    if ((flags & O_CLOEXEC) == 0)
        sys::Control(program.Get(), F_SETFD, 0);

    node_ = &node;
    flags_ = flags;
    inode_ = status.st_ino;
    ownInode_ = ownStatus.st_ino;
    ownEnd_ = std::move(own);
    fd = program.Release();
    return 0;
}

bool OpenFile::HasOwnEnd() const
{
    struct stat status;
    return sys::Stat(ownEnd_.Get(), status) == 0 && S_ISSOCK(status.st_mode) &&
           status.st_ino == ownInode_;
}

bool OpenFile::IsAlive() const
{
    return HasOwnEnd() && (sys::PollNow(ownEnd_.Get(), 0) & (POLLHUP | POLLERR)) == 0;
}

void OpenFile::Show(bool isReady)
{
    isReady_ = isReady;
    if (!isReady || hasByte_ || !HasOwnEnd())
        return;
    const char byte = 1;
    hasByte_ = sys::Send(ownEnd_.Get(), &byte, 1, MSG_NOSIGNAL | MSG_DONTWAIT) == 1;
}

void OpenFile::Settle(int fd)
{
    if (isReady_ || !hasByte_)
        return;
    char byte;
    sys::Receive(fd, &byte, 1, MSG_DONTWAIT);
    hasByte_ = false;
}

void OpenFile::Close()
{
    if (HasOwnEnd())
        ownEnd_.Reset();
    else
        static_cast<void>(ownEnd_.Release());
    isReady_ = false;
    hasByte_ = false;
}

void OpenFile::HangUp()
{
    if (HasOwnEnd())
        sys::Call(SYS_shutdown, ownEnd_.Get(), SHUT_RDWR);
}

} // namespace zevo_sim
