// Started on a board with one node for both roles: what a program's descriptors do.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <linux/videodev2.h>
#include <poll.h>
#include <pthread.h>
#include <pthread.h>
#include <sys/ioctl.h>
#include <sys/mman.h>
#include <sys/select.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <optional>
#include <vector>

#include "base/endian.h"
#include "data/camera_data.h"
#include "sim/core/ap1302_registers.h"
#include "sim/core/frame_counter.h"
#include "sim/core/module_memory.h"

namespace
{

namespace isp = zevo_sim::isp;
constexpr char kVideo[] = "/dev/video0";
constexpr unsigned kWidth = 96;
constexpr unsigned kHeight = 104;

/// The driver's register write, as a program's bytes.
int WriteCci(int fd, std::uint16_t address, const void* data, std::uint16_t size)
{
    std::uint8_t transfer[262] = {};
    std::memcpy(transfer, &address, 2);
    std::memcpy(transfer + 2, data, size);
    std::memcpy(transfer + 258, &size, 2);
    transfer[260] = 2;
    return ioctl(fd, _IOC(_IOC_READ | _IOC_WRITE, 'B', 5, 262), transfer);
}

int WriteIsp(int fd, std::uint16_t address, std::uint32_t value, std::uint16_t size = 2)
{
    std::uint8_t bytes[4];
    GenTLProducer::storeBigEndian(bytes, value);
    return WriteCci(fd, zevo_sim::CciAddress(address), bytes + 4 - size, size);
}

std::uint16_t ReadIsp(int fd, std::uint16_t address)
{
    std::uint8_t transfer[262] = {};
    const std::uint16_t cci = zevo_sim::CciAddress(address);
    const std::uint16_t size = 2;
    std::memcpy(transfer, &cci, 2);
    std::memcpy(transfer + 258, &size, 2);
    transfer[260] = 1;
    EXPECT_EQ(ioctl(fd, _IOC(_IOC_READ | _IOC_WRITE, 'B', 4, 262), transfer), 0);
    return GenTLProducer::loadBigEndian<std::uint16_t>(transfer + 2);
}

void ToggleStall(int fd)
{
    WriteIsp(fd, isp::kSysStart, isp::kSysStartToggle);
    while ((ReadIsp(fd, isp::kSysStart) & isp::kSysStartToggle) != 0) {
    }
}

void Upload(int fd, std::size_t from, std::size_t to)
{
    const auto image = mcm::firmwareImage();
    while (from < to) {
        const std::size_t offset = from % isp::kBootWindowSize;
        const std::size_t size =
            std::min({to - from, std::size_t{256}, isp::kBootWindowSize - offset});
        const auto address = static_cast<std::uint16_t>(isp::kBootWindow + offset);
        ASSERT_EQ(WriteCci(fd, zevo_sim::CciAddress(address), &image[from],
                           static_cast<std::uint16_t>(size)),
                  0);
        from += size;
    }
}

/// Boots the camera with the build's image and sets a small picture up.
void Boot(int fd)
{
    Upload(fd, 0, 996);
    WriteIsp(fd, isp::kBootDataStage, 1);
    WriteIsp(fd, isp::kPllReferenceClock, 48 << 16, 4);
    WriteIsp(fd, isp::kPll0Divider, 0x001A0100, 4);
    WriteIsp(fd, isp::kPll1Divider, 0x00320300, 4);
    for (std::uint16_t address = 0x2050; address <= 0x2074; address += 4)
        WriteIsp(fd, address, 0x00030000, 4);
    WriteIsp(fd, isp::kBootDataStage, 2);
    Upload(fd, 996, mcm::kFirmwareImageSize);
    WriteIsp(fd, isp::kBootDataStage, 0xFFFF);
    WriteIsp(fd, isp::kPreviewHostInterface, 4);
    WriteIsp(fd, isp::kPreviewWidth, kWidth);
    WriteIsp(fd, isp::kPreviewHeight, kHeight);
}

/// Format, four mapped and queued buffers, stream on.
class Stream
{
public:
    explicit Stream(int fd) : fd_(fd)
    {
        v4l2_format format{};
        format.type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
        format.fmt.pix.width = kWidth;
        format.fmt.pix.height = kHeight;
        format.fmt.pix.pixelformat = V4L2_PIX_FMT_UYVY;
        EXPECT_EQ(ioctl(fd, VIDIOC_S_FMT, &format), 0);
        EXPECT_EQ(Request(4), 0);
        for (unsigned i = 0; i < 4; ++i) {
            EXPECT_EQ(Call(VIDIOC_QUERYBUF, i), 0);
            length_ = buffer.length;
            memory_[i] =
                mmap(nullptr, length_, PROT_READ | PROT_WRITE, MAP_SHARED, fd, buffer.m.offset);
            EXPECT_NE(memory_[i], MAP_FAILED);
            EXPECT_EQ(Call(VIDIOC_QBUF, i), 0);
        }
        EXPECT_EQ(ioctl(fd, VIDIOC_STREAMON, &type_), 0);
    }
    Stream(const Stream&) = delete;
    Stream& operator=(const Stream&) = delete;
    ~Stream()
    {
        EXPECT_EQ(ioctl(fd_, VIDIOC_STREAMOFF, &type_), 0);
        for (void* memory : memory_)
            EXPECT_EQ(munmap(memory, length_), 0);
        EXPECT_EQ(Call(VIDIOC_QUERYBUF, 0), 0);
        EXPECT_EQ(buffer.flags & V4L2_BUF_FLAG_MAPPED, 0u);
        EXPECT_EQ(Request(0), 0);
    }

    int Call(unsigned long request, unsigned index)
    {
        buffer = {};
        buffer.index = index;
        buffer.type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
        buffer.memory = V4L2_MEMORY_MMAP;
        return ioctl(fd_, request, &buffer);
    }

    std::optional<std::uint32_t> Counter() const
    {
        return zevo_sim::ReadCounter(static_cast<std::uint8_t*>(memory_[buffer.index]),
                                     zevo_sim::FrameLayout::Uyvy, kWidth, kHeight,
                                     zevo_sim::CounterPlace::Bottom);
    }

    v4l2_buffer buffer{};

private:
    int Request(unsigned count)
    {
        v4l2_requestbuffers request{};
        request.count = count;
        request.type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
        request.memory = V4L2_MEMORY_MMAP;
        return ioctl(fd_, VIDIOC_REQBUFS, &request);
    }

    int fd_;
    int type_ = V4L2_BUF_TYPE_VIDEO_CAPTURE;
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

bool IsReadable(int fd, timeval* timeout)
{
    fd_set set;
    FD_ZERO(&set);
    FD_SET(fd, &set);
    return select(fd + 1, &set, nullptr, nullptr, timeout) == 1;
}

TEST_F(Devices, FramesComeThroughSelectPollAndMapping)
{
    Boot(fd);
    EXPECT_EQ(Shown(fd, -1), POLLERR) << "not streaming";
    Stream stream(fd);
    std::uint32_t first = 0;
    for (std::uint32_t i = 0; i < 300; ++i) {
        const bool isShown = i % 2 == 0 ? IsReadable(fd, nullptr) : Shown(fd, -1) == POLLIN;
        EXPECT_TRUE(isShown);
        ASSERT_EQ(stream.Call(VIDIOC_DQBUF, 0), 0);
        ASSERT_TRUE(stream.Counter());
        first = i == 0 ? *stream.Counter() : first;
        EXPECT_EQ(*stream.Counter(), first + i);
        EXPECT_EQ(stream.buffer.sequence, i);
        ASSERT_EQ(stream.Call(VIDIOC_QBUF, stream.buffer.index), 0);
    }
}

TEST_F(Devices, StalledStreamIsNotReadyAndStopWakesTheWaiter)
{
    auto stream = std::make_unique<Stream>(fd);
    ToggleStall(fd);
    // The frame under way when the stream is stalled still arrives.
    constexpr int kFrameMs = 500;
    do {
        while (stream->Call(VIDIOC_DQBUF, 0) == 0) {
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
    ToggleStall(fd);
}

TEST_F(Devices, LastCloseOfAnyKindFreesTheNode)
{
    const auto isFree = [&] {
        const int type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
        v4l2_requestbuffers request{};
        request.count = 2;
        request.type = type;
        request.memory = V4L2_MEMORY_MMAP;
        const bool granted = ioctl(fd, VIDIOC_REQBUFS, &request) == 0;
        request.count = 0;
        return granted && ioctl(fd, VIDIOC_REQBUFS, &request) == 0;
    };
    const auto take = [] {
        const int other = open(kVideo, O_RDWR);
        v4l2_requestbuffers request{};
        request.count = 2;
        request.type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
        request.memory = V4L2_MEMORY_MMAP;
        EXPECT_EQ(ioctl(other, VIDIOC_REQBUFS, &request), 0);
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
    EXPECT_EQ(errno, ENOTTY);
    close(reused);
}

TEST_F(Devices, ClosingEverythingDoesNotTakeTheBoardsOwn)
{
    Stream stream(fd);
    for (int number = 3; number < 1024; ++number) {
        struct stat status;
        if (number != fd && fstat(number, &status) == 0 && S_ISSOCK(status.st_mode)) {
            EXPECT_EQ(close(number), -1);
        }
    }
    EXPECT_TRUE(IsReadable(fd, nullptr));
    EXPECT_EQ(stream.Call(VIDIOC_DQBUF, 0), 0);
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
        EXPECT_EQ(ThreadCount(), threads);
        {
            Stream stream(fd);
            EXPECT_EQ(ThreadCount(), threads + 1);
        }
        EXPECT_EQ(ThreadCount(), threads);
        close(fd);
        EXPECT_EQ(DescriptorCount(), descriptors);
    }
}

TEST_F(Devices, ForkedChildIsLeftAlone)
{
    Stream stream(fd);
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
    EXPECT_EQ(stream.Call(VIDIOC_DQBUF, 0), 0);
}

} // namespace
