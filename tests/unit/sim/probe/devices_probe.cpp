// Started on a board with one node for both roles: what a program's descriptors do.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <linux/videodev2.h>
#include <poll.h>
#include <pthread.h>
#include <sys/ioctl.h>
#include <sys/mman.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <optional>
#include <vector>

#include "../capture_calls.h"
#include "../driven_isp.h"
#include "data/camera_data.h"
#include "sim/core/frame_counter.h"

namespace
{

namespace isp = zevo_sim::isp;
using zevo_sim::IsReadable;
constexpr char kVideo[] = "/dev/video0";
constexpr unsigned kWidth = 96;
constexpr unsigned kHeight = 104;

/// A transfer of the driver, as a program's bytes.
struct Transfer {
    std::uint8_t bytes[262] = {};

    Transfer(std::uint16_t address, std::uint16_t size, std::uint8_t direction)
    {
        std::memcpy(bytes, &address, 2);
        std::memcpy(bytes + 258, &size, 2);
        bytes[260] = direction;
    }
};

/// The ISP behind the node.
class NodeIsp : public zevo_sim::DrivenIsp
{
public:
    explicit NodeIsp(int fd)
        : DrivenIsp(
              [fd](std::uint16_t address, const void* data, std::size_t size) {
                  Transfer write(address, static_cast<std::uint16_t>(size), 2);
                  std::memcpy(write.bytes + 2, data, size);
                  const int result =
                      ioctl(fd, _IOC(_IOC_READ | _IOC_WRITE, 'B', 5, 262), write.bytes);
                  EXPECT_EQ(result, 0);
                  return result;
              },
              mcm::firmwareImage()),
          fd_(fd)
    {
    }

    void ToggleStallAndWait()
    {
        ToggleStall();
        std::uint8_t first = 0; // byte of the register
        do {
            Transfer read(zevo_sim::CciAddress(isp::kSysStart), 2, 1);
            EXPECT_EQ(ioctl(fd_, _IOC(_IOC_READ | _IOC_WRITE, 'B', 4, 262), read.bytes), 0);
            first = read.bytes[2];
        } while ((first & isp::kSysStartToggle >> 8) != 0);
    }

private:
    int fd_;
};

class NodeCalls : public zevo_sim::CaptureCalls
{
public:
    explicit NodeCalls(int fd)
        : CaptureCalls(
              [fd](unsigned long request, void* argument) { return ioctl(fd, request, argument); })
    {
    }
};

/// Format, four mapped and queued buffers, stream on.
class Running : public NodeCalls
{
public:
    explicit Running(int fd) : NodeCalls(fd)
    {
        EXPECT_EQ(SetFormat(kWidth, kHeight), 0);
        EXPECT_EQ(Request(4), 0);
        for (unsigned i = 0; i < 4; ++i) {
            EXPECT_EQ(Query(i), 0);
            length_ = Length();
            memory_[i] =
                mmap(nullptr, length_, PROT_READ | PROT_WRITE, MAP_SHARED, fd, buffer.m.offset);
            EXPECT_NE(memory_[i], MAP_FAILED);
            EXPECT_EQ(Queue(i), 0);
        }
        EXPECT_EQ(Stream(true), 0);
    }
    Running(const Running&) = delete;
    Running& operator=(const Running&) = delete;
    ~Running()
    {
        EXPECT_EQ(Stream(false), 0);
        for (void* memory : memory_)
            EXPECT_EQ(munmap(memory, length_), 0);
        EXPECT_EQ(Query(0), 0);
        EXPECT_EQ(buffer.flags & V4L2_BUF_FLAG_MAPPED, 0u);
        EXPECT_EQ(Request(0), 0);
    }

    std::optional<std::uint32_t> Counter() const
    {
        return zevo_sim::ReadCounter(static_cast<std::uint8_t*>(memory_[buffer.index]),
                                     zevo_sim::FrameLayout::Uyvy, kWidth, kHeight,
                                     zevo_sim::CounterPlace::Bottom);
    }

private:
    void* memory_[4] = {};
    std::size_t length_ = 0;
};

class Devices : public testing::Test
{
protected:
    ~Devices() override
    {
        if (fd >= 0)
            close(fd);
    }

    const int fd = open(kVideo, O_RDWR | O_NONBLOCK);
};

short Shown(int fd, int timeoutMs)
{
    pollfd entries[2] = {{-1, POLLIN, 0}, {fd, POLLIN | POLLOUT, 0}};
    poll(entries, 2, timeoutMs);
    return entries[1].revents;
}

TEST_F(Devices, FramesComeThroughSelectPollAndMapping)
{
    NodeIsp camera(fd);
    camera.Boot(4);
    camera.SetPicture(kWidth, kHeight);
    EXPECT_EQ(Shown(fd, -1), POLLERR) << "not streaming";
    Running stream(fd);
    std::uint32_t first = 0;
    for (std::uint32_t i = 0; i < 300; ++i) {
        const bool isShown = i % 2 == 0 ? IsReadable(fd, nullptr) : Shown(fd, -1) == POLLIN;
        EXPECT_TRUE(isShown);
        ASSERT_EQ(stream.Dequeue(), 0);
        ASSERT_TRUE(stream.Counter());
        first = i == 0 ? *stream.Counter() : first;
        EXPECT_EQ(*stream.Counter(), first + i);
        EXPECT_EQ(stream.buffer.sequence, i);
        ASSERT_EQ(stream.Queue(stream.buffer.index), 0);
    }
}

TEST_F(Devices, StalledStreamIsNotReadyAndStopWakesTheWaiter)
{
    auto stream = std::make_unique<Running>(fd);
    NodeIsp camera(fd);
    camera.ToggleStallAndWait();
    // The frame under way when the stream is stalled still arrives.
    constexpr int kFrameMs = 500;
    do {
        while (stream->Dequeue() == 0) {
        }
        EXPECT_EQ(errno, EAGAIN);
    } while (Shown(fd, kFrameMs) == POLLIN);
    EXPECT_EQ(Shown(fd, 0), 0);
    timeval none{};
    EXPECT_FALSE(IsReadable(fd, &none));
    pthread_t waiter;
    pthread_create(
        &waiter, nullptr,
        [](void* argument) -> void* {
            return reinterpret_cast<void*>(
                IsReadable(*static_cast<const int*>(argument), nullptr) ? 1L : 0L);
        },
        const_cast<int*>(&fd));
    stream.reset();
    void* result = nullptr;
    pthread_join(waiter, &result);
    EXPECT_EQ(result, reinterpret_cast<void*>(1L));
    camera.ToggleStallAndWait();
}

TEST_F(Devices, LastCloseOfAnyKindFreesTheNode)
{
    const auto isFree = [&] {
        return NodeCalls(fd).Request(2) == 0 && NodeCalls(fd).Request(0) == 0;
    };
    const auto take = [] {
        const int other = open(kVideo, O_RDWR);
        EXPECT_EQ(NodeCalls(other).Request(2), 0);
        return other;
    };
    int other = take();
    const int copy = dup(other);
    EXPECT_EQ(close(other), 0);
    EXPECT_FALSE(isFree()) << "the copy is open";
    EXPECT_EQ(close(copy), 0);
    EXPECT_TRUE(isFree());

    other = take();
    FILE* file = fdopen(other, "r+");
    ASSERT_NE(file, nullptr);
    EXPECT_EQ(fclose(file), 0) << "which closes past close()";
    EXPECT_TRUE(isFree());
    const int reused = open("/dev/null", O_RDWR);
    EXPECT_EQ(reused, other);
    EXPECT_EQ(write(reused, "x", 1), 1);
    struct stat status;
    EXPECT_EQ(fstat(reused, &status), 0);
    EXPECT_EQ(ioctl(reused, VIDIOC_QUERYBUF, &status), -1);
    const int error = errno;
    const int foreign = open("/dev/null", O_RDWR);
    EXPECT_EQ(ioctl(foreign, VIDIOC_QUERYBUF, &status), -1);
    EXPECT_EQ(errno, error);
    close(foreign);
    close(reused);
}

TEST_F(Devices, ClosingEverythingDoesNotTakeTheBoardsOwn)
{
    Running stream(fd);
    for (int number = 3; number < 1024; ++number) {
        struct stat status;
        if (number != fd && fstat(number, &status) == 0 && S_ISSOCK(status.st_mode)) {
            EXPECT_EQ(close(number), -1);
        }
    }
    EXPECT_TRUE(IsReadable(fd, nullptr));
    EXPECT_EQ(stream.Dequeue(), 0);
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

std::size_t ThreadCount()
{
    std::size_t count = 0;
    for ([[maybe_unused]] const auto& entry :
         std::filesystem::directory_iterator("/proc/self/task"))
        ++count;
    return count;
}

/// A thread that has been joined may be seen for a moment longer, under an emulator above all.
bool IsThreadCount(std::size_t expected)
{
    constexpr int kTries = 100'000;
    for (int i = 0; i < kTries && ThreadCount() != expected; ++i)
        sched_yield();
    return ThreadCount() == expected;
}

std::size_t DescriptorCount()
{
    std::size_t count = 0;
    for (int number = 0; number < 1024; ++number)
        count += fcntl(number, F_GETFD) >= 0 ? 1 : 0;
    return count;
}

TEST(Growth, ThreadsAndDescriptorsGoWithTheStream)
{
    const std::size_t threads = ThreadCount();
    const std::size_t descriptors = DescriptorCount();
    for (int i = 0; i < 50; ++i) {
        const int fd = open(kVideo, O_RDWR);
        EXPECT_TRUE(IsThreadCount(threads));
        {
            Running stream(fd);
            EXPECT_TRUE(IsThreadCount(threads + 1));
        }
        EXPECT_TRUE(IsThreadCount(threads));
        close(fd);
        EXPECT_EQ(DescriptorCount(), descriptors);
    }
}

TEST_F(Devices, ForkedChildIsLeftAlone)
{
    Running stream(fd);
    const pid_t child = fork();
    if (child == 0) {
        v4l2_capability capability{};
        const bool isRefused = ioctl(fd, VIDIOC_QUERYCAP, &capability) == -1;
        const bool isHidden = open(kVideo, O_RDWR) == -1 && errno == ENOENT;
        const int null = open("/dev/null", O_RDWR);
        const bool isForeignFine = null >= 0 && close(null) == 0;
        close(fd);
        _exit(isRefused && isHidden && isForeignFine ? 0 : 1);
    }
    int status = -1;
    EXPECT_EQ(waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);
    EXPECT_TRUE(IsReadable(fd, nullptr));
    EXPECT_EQ(stream.Dequeue(), 0);
}

} // namespace
