// A board whose frames come by hand, and a program's view of its capture node.
#pragma once

#include <fcntl.h>
#include <gtest/gtest.h>
#include <linux/videodev2.h>
#include <poll.h>
#include <sys/mman.h>
#include <sys/select.h>

#include <cerrno>
#include <cstring>
#include <string>
#include <vector>

#include "camera_fixture.h"
#include "sim/core/board.h"

namespace zevo_sim
{

class TestBoard
{
public:
    explicit TestBoard(const std::string& options, Pace pace = Pace::Manual)
        : image_(MakeImage()), board_(BoardOptions::FromText(options), image_, pace)
    {
    }

    Board* operator->() { return &board_; }
    CaptureNode& Node() { return board_.GetCaptureNode(0); }
    Camera& GetCamera() { return board_.GetCamera(0); }

    int Write(std::uint16_t ispAddress, std::uint32_t value, std::size_t size = 2)
    {
        std::uint8_t bytes[4];
        GenTLProducer::storeBigEndian(bytes, value);
        return GetCamera().WriteCci(CciAddress(ispAddress), bytes + 4 - size, size);
    }

    /// Boots the first camera; its stream runs, with a picture of that size.
    void Boot(std::uint16_t width, std::uint16_t height)
    {
        for (std::size_t offset = 0; offset < image_.size();) {
            const std::size_t window = offset % isp::kBootWindowSize;
            const std::size_t stage = offset < 996 ? 996 : image_.size();
            const std::size_t size =
                std::min({stage - offset, std::size_t{256}, isp::kBootWindowSize - window});
            GetCamera().WriteCci(CciAddress(static_cast<std::uint16_t>(isp::kBootWindow + window)),
                                 &image_[offset], size);
            offset += size;
            if (offset != 996)
                continue;
            Write(isp::kBootDataStage, 1);
            Write(isp::kPllReferenceClock, 48 << 16, 4);
            Write(isp::kPll0Divider, 1, 4);
            Write(isp::kPll1Divider, 1, 4);
            for (std::uint16_t address = 0x2050; address <= 0x2074; address += 4)
                Write(address, 0, 4);
            Write(isp::kBootDataStage, 2);
        }
        Write(isp::kBootDataStage, 0xFFFF);
        Write(isp::kPreviewHostInterface, GetCamera().Options().laneCount);
        SetPicture(width, height);
    }

    void SetPicture(std::uint16_t width, std::uint16_t height)
    {
        Write(isp::kPreviewWidth, width);
        Write(isp::kPreviewHeight, height);
        Write(isp::kPreviewRoiX1, static_cast<std::uint32_t>(width * 16384.0 / 2600 + 0.5));
        Write(isp::kPreviewRoiY1, static_cast<std::uint32_t>(height * 16384.0 / 1952 + 0.5));
    }

    void ToggleStall()
    {
        std::uint8_t bytes[2];
        GetCamera().ReadCci(CciAddress(isp::kSysStart), bytes, 2);
        GetCamera().ReadCci(CciAddress(isp::kSysStart), bytes, 2);
        Write(isp::kSysStart, isp::kSysStartToggle);
    }

private:
    std::vector<std::uint8_t> image_;
    Board board_;
};

/// One program's descriptor on a capture node, with the calls that it makes.
class Program
{
public:
    Program(Board& board, const char* path, int flags = O_RDWR | O_NONBLOCK)
        : board_(board), fd_(board.Open(path, flags))
    {
    }
    Program(const Program&) = delete;
    Program& operator=(const Program&) = delete;
    ~Program()
    {
        for (const auto& [address, length] : mappings_) {
            munmap(address, length);
            board_.Unmapped(address, length);
        }
        if (fd_ >= 0)
            board_.Close(fd_);
    }

    int Fd() const { return fd_; }
    int Ioctl(unsigned long request, void* argument)
    {
        return board_.Ioctl(fd_, request, argument);
    }

    std::uint32_t Type()
    {
        v4l2_capability capability{};
        Ioctl(VIDIOC_QUERYCAP, &capability);
        const bool isMulti = (capability.device_caps & V4L2_CAP_VIDEO_CAPTURE_MPLANE) != 0;
        return isMulti ? V4L2_BUF_TYPE_VIDEO_CAPTURE_MPLANE : V4L2_BUF_TYPE_VIDEO_CAPTURE;
    }
    int SetFormat(unsigned width, unsigned height, std::uint32_t fourcc, v4l2_format& format)
    {
        format = {};
        format.type = Type();
        format.fmt.pix.width = width;
        format.fmt.pix.height = height;
        format.fmt.pix.pixelformat = fourcc;
        return Ioctl(VIDIOC_S_FMT, &format);
    }
    int SetFormat(unsigned width = 96, unsigned height = 104,
                  std::uint32_t fourcc = V4L2_PIX_FMT_UYVY)
    {
        v4l2_format format;
        return SetFormat(width, height, fourcc, format);
    }
    int Request(unsigned count, unsigned* granted = nullptr)
    {
        v4l2_requestbuffers request{};
        request.count = count;
        request.type = Type();
        request.memory = V4L2_MEMORY_MMAP;
        const int result = Ioctl(VIDIOC_REQBUFS, &request);
        if (granted)
            *granted = request.count;
        return result;
    }
    int BufferCall(unsigned long call, unsigned index)
    {
        PrepareBuffer();
        buffer.index = index;
        return Ioctl(call, &buffer);
    }
    int Queue(unsigned index) { return BufferCall(VIDIOC_QBUF, index); }
    int Query(unsigned index) { return BufferCall(VIDIOC_QUERYBUF, index); }
    int Dequeue() { return BufferCall(VIDIOC_DQBUF, 0); }
    int Stream(bool isOn)
    {
        int type = static_cast<int>(Type());
        return Ioctl(isOn ? VIDIOC_STREAMON : VIDIOC_STREAMOFF, &type);
    }
    void PrepareBuffer()
    {
        buffer = {};
        std::memset(planes, 0, sizeof(planes));
        buffer.type = Type();
        buffer.memory = V4L2_MEMORY_MMAP;
        if (buffer.type == V4L2_BUF_TYPE_VIDEO_CAPTURE_MPLANE) {
            buffer.m.planes = planes;
            buffer.length = 8;
        }
    }
    std::size_t Length() const
    {
        return buffer.type == V4L2_BUF_TYPE_VIDEO_CAPTURE ? buffer.length : planes[0].length;
    }
    std::size_t Offset() const
    {
        return buffer.type == V4L2_BUF_TYPE_VIDEO_CAPTURE ? buffer.m.offset
                                                          : planes[0].m.mem_offset;
    }
    /// The mapped buffer, null if it can't be mapped.
    const std::uint8_t* Map(unsigned index)
    {
        if (Query(index) != 0)
            return nullptr;
        const long address = board_.Map(fd_, nullptr, Length(), PROT_READ | PROT_WRITE, MAP_SHARED,
                                        static_cast<long>(Offset()));
        if (address < 0 && address > -4096)
            return nullptr;
        mappings_.emplace_back(reinterpret_cast<void*>(address), Length());
        return static_cast<const std::uint8_t*>(mappings_.back().first);
    }
    /// Format, buffers, all of them queued, stream on. The results summed up.
    int Start(unsigned buffers = 4)
    {
        int result = SetFormat() | Request(buffers);
        for (unsigned i = 0; i < buffers; ++i)
            result |= Queue(i);
        return result | Stream(true);
    }

    /// What poll() shows, and whether select() calls it readable.
    short Poll(short events = POLLIN) { return board_.Poll(fd_, events).value_or(POLLNVAL); }
    bool IsReadable()
    {
        fd_set set;
        FD_ZERO(&set);
        FD_SET(fd_, &set);
        timeval none{};
        return select(fd_ + 1, &set, nullptr, nullptr, &none) == 1;
    }

    v4l2_buffer buffer{};
    v4l2_plane planes[8]{};

private:
    Board& board_;
    int fd_;
    std::vector<std::pair<void*, std::size_t>> mappings_;
};

} // namespace zevo_sim
