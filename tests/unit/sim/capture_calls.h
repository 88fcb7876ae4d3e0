// The calls that a program makes on a capture node.
#pragma once

#include <linux/videodev2.h>
#include <sys/select.h>

#include <cstring>
#include <functional>
#include <utility>

namespace zevo_sim
{

/// Each call gives what ioctl gives.
class CaptureCalls
{
public:
    explicit CaptureCalls(std::function<int(unsigned long request, void* argument)> ioctl)
        : ioctl_(std::move(ioctl))
    {
    }

    int Ioctl(unsigned long request, void* argument) { return ioctl_(request, argument); }

    std::uint32_t Type()
    {
        v4l2_capability capability{};
        Ioctl(VIDIOC_QUERYCAP, &capability);
        const bool isMulti = (capability.device_caps & V4L2_CAP_VIDEO_CAPTURE_MPLANE) != 0;
        return isMulti ? V4L2_BUF_TYPE_VIDEO_CAPTURE_MPLANE : V4L2_BUF_TYPE_VIDEO_CAPTURE;
    }
    int SetFormat(unsigned width = 96, unsigned height = 104,
                  std::uint32_t fourcc = V4L2_PIX_FMT_UYVY)
    {
        format = {};
        format.type = Type();
        format.fmt.pix.width = width;
        format.fmt.pix.height = height;
        format.fmt.pix.pixelformat = fourcc;
        return Ioctl(VIDIOC_S_FMT, &format);
    }
    int Request(unsigned count)
    {
        v4l2_requestbuffers request{};
        request.count = count;
        request.type = Type();
        request.memory = V4L2_MEMORY_MMAP;
        const int result = Ioctl(VIDIOC_REQBUFS, &request);
        granted = request.count;
        return result;
    }
    int Queue(unsigned index) { return BufferCall(VIDIOC_QBUF, index); }
    int Query(unsigned index) { return BufferCall(VIDIOC_QUERYBUF, index); }
    int Dequeue() { return BufferCall(VIDIOC_DQBUF, 0); }
    int Stream(bool isOn)
    {
        int type = static_cast<int>(Type());
        return Ioctl(isOn ? VIDIOC_STREAMON : VIDIOC_STREAMOFF, &type);
    }

    v4l2_format format{}; ///< as the last SetFormat() has left it
    unsigned granted = 0; ///< buffers of the last Request()
    // Of the last call on a buffer.
    std::size_t Length() const
    {
        return buffer.type == V4L2_BUF_TYPE_VIDEO_CAPTURE ? buffer.length : planes[0].length;
    }
    std::size_t Offset() const
    {
        return buffer.type == V4L2_BUF_TYPE_VIDEO_CAPTURE ? buffer.m.offset
                                                          : planes[0].m.mem_offset;
    }
    v4l2_buffer buffer{};
    v4l2_plane planes[8]{};

private:
    int BufferCall(unsigned long call, unsigned index)
    {
        buffer = {};
        std::memset(planes, 0, sizeof(planes));
        buffer.index = index;
        buffer.type = Type();
        buffer.memory = V4L2_MEMORY_MMAP;
        if (buffer.type == V4L2_BUF_TYPE_VIDEO_CAPTURE_MPLANE) {
            buffer.m.planes = planes;
            buffer.length = 8;
        }
        return Ioctl(call, &buffer);
    }

    std::function<int(unsigned long request, void* argument)> ioctl_;
};

inline bool IsReadable(int fd, timeval* timeout)
{
    fd_set set;
    FD_ZERO(&set);
    FD_SET(fd, &set);
    return select(fd + 1, &set, nullptr, nullptr, timeout) == 1;
}

} // namespace zevo_sim
