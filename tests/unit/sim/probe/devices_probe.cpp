// Started on a board with one node for both roles: what a program's descriptors do.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/mman.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <memory>
#include <thread>

#include "../capture_calls.h"

namespace
{

using zevo_sim::IsReadable;
constexpr char kVideo[] = "/dev/video0";

class NodeCalls : public zevo_sim::CaptureCalls
{
public:
    explicit NodeCalls(int fd)
        : CaptureCalls(
              [fd](unsigned long request, void* argument) { return ioctl(fd, request, argument); })
    {
    }
};

/// Two queued buffers, stream on. No frames come, since nothing boots the camera.
class Running : public NodeCalls
{
public:
    explicit Running(int fd) : NodeCalls(fd)
    {
        EXPECT_EQ(SetFormat() | Request(2) | Queue(0) | Queue(1) | Stream(true), 0);
    }
    Running(const Running&) = delete;
    Running& operator=(const Running&) = delete;
    ~Running() { EXPECT_EQ(Stream(false) | Request(0), 0); }
};

class Devices : public testing::Test
{
protected:
    ~Devices() override { close(fd); }

    const int fd = open(kVideo, O_RDWR | O_NONBLOCK);
};

TEST_F(Devices, StopWakesWhoeverWaits)
{
    const auto pollNode = [&](int timeoutMs) {
        pollfd entries[2] = {{-1, POLLIN, 0}, {fd, POLLIN | POLLOUT, 0}};
        poll(entries, 2, timeoutMs);
        return entries[1].revents;
    };
    EXPECT_EQ(pollNode(-1), POLLERR) << "not streaming";
    auto stream = std::make_unique<Running>(fd);
    EXPECT_EQ(pollNode(0), 0);
    timeval none{};
    EXPECT_FALSE(IsReadable(fd, &none));
    std::thread polling([&] { EXPECT_EQ(pollNode(-1), POLLERR); });
    std::thread selecting([&] { EXPECT_TRUE(IsReadable(fd, nullptr)); });
    stream.reset();
    polling.join();
    selecting.join();
}

TEST_F(Devices, MappingsAreNotedUntilTheyGo)
{
    Running stream(fd);
    const auto isMapped = [&] {
        EXPECT_EQ(stream.Query(1), 0);
        return (stream.buffer.flags & V4L2_BUF_FLAG_MAPPED) != 0;
    };
    EXPECT_FALSE(isMapped());
    void* memory = mmap(nullptr, stream.Length(), PROT_READ | PROT_WRITE, MAP_SHARED, fd,
                        stream.buffer.m.offset);
    ASSERT_NE(memory, MAP_FAILED);
    EXPECT_TRUE(isMapped());
    EXPECT_EQ(munmap(memory, stream.Length()), 0);
    EXPECT_FALSE(isMapped());
}

TEST_F(Devices, ClosingPastTheBoardFreesTheNode)
{
    FILE* file = fopen(kVideo, "r+");
    ASSERT_NE(file, nullptr);
    const int other = fileno(file);
    const int copy = dup(other);
    EXPECT_EQ(NodeCalls(other).Request(2), 0);
    EXPECT_EQ(close(copy), 0);
    EXPECT_EQ(NodeCalls(fd).Request(2), -1) << "the file is open";
    EXPECT_EQ(fclose(file), 0) << "which closes past close()";
    EXPECT_EQ(NodeCalls(fd).Request(2) | NodeCalls(fd).Request(0), 0);
    const int reused = open("/dev/null", O_RDWR);
    EXPECT_EQ(reused, other);
    EXPECT_EQ(NodeCalls(reused).Request(2), -1);
    // An emulator doesn't pass on a request that it doesn't know.
    EXPECT_TRUE(errno == ENOTTY || errno == ENOSYS) << errno;
    close(reused);
}

TEST_F(Devices, ClosingEverythingDoesNotTakeTheBoardsOwn)
{
    NodeCalls(fd).Request(2);
    for (int number = 3; number < 1024; ++number) {
        struct stat status;
        if (number != fd && fstat(number, &status) == 0 && S_ISSOCK(status.st_mode)) {
            EXPECT_EQ(close(number), -1);
        }
    }
    EXPECT_EQ(NodeCalls(fd).Request(0), 0);
}

TEST_F(Devices, AreNoFilesToRead)
{
    char byte;
    EXPECT_EQ(read(fd, &byte, 1), -1);
    EXPECT_EQ(errno, EINVAL);
    EXPECT_EQ(lseek(fd, 0, SEEK_SET), -1);
    EXPECT_EQ(fcntl(fd, F_GETFL) & (O_ACCMODE | O_NONBLOCK), O_RDWR | O_NONBLOCK);
    EXPECT_EQ(fcntl(fd, F_GETFD) & FD_CLOEXEC, 0);
    const int closing = open(kVideo, O_RDWR | O_CLOEXEC);
    EXPECT_EQ(fcntl(closing, F_GETFD) & FD_CLOEXEC, FD_CLOEXEC);
    close(closing);
}

TEST_F(Devices, ForkedChildIsLeftAlone)
{
    Running stream(fd);
    const pid_t child = fork();
    if (child == 0) {
        const bool isRefused = NodeCalls(fd).Query(0) == -1;
        const bool isHidden = open(kVideo, O_RDWR) == -1 && errno == ENOENT;
        const int null = open("/dev/null", O_RDWR);
        const bool isForeignFine = null >= 0 && close(null) == 0;
        close(fd);
        _exit(isRefused && isHidden && isForeignFine ? 0 : 1);
    }
    int status = -1;
    EXPECT_EQ(waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);
    EXPECT_EQ(stream.Query(0), 0);
}

} // namespace
