#include "v4l2/video_device.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <stdexcept>

#include <fcntl.h>
#include <sys/mman.h>

#include "base/scope_exit.h"
#include "v4l2/error.h"

namespace V4L2
{

namespace
{

constexpr std::uint32_t kVideoDevice = V4L2_CAP_VIDEO_CAPTURE | V4L2_CAP_VIDEO_OUTPUT |
                                       V4L2_CAP_VIDEO_CAPTURE_MPLANE | V4L2_CAP_VIDEO_OUTPUT_MPLANE;
constexpr std::uint32_t kCapture = V4L2_CAP_VIDEO_CAPTURE | V4L2_CAP_VIDEO_CAPTURE_MPLANE;
constexpr std::uint32_t kMultiPlanar =
    V4L2_CAP_VIDEO_CAPTURE_MPLANE | V4L2_CAP_VIDEO_OUTPUT_MPLANE | V4L2_CAP_VIDEO_M2M_MPLANE;

// A walk over the controls of a driver that never says EINVAL ends here.
constexpr unsigned kMaxControls = 4096;

using Planes = std::array<v4l2_plane, VIDEO_MAX_PLANES>;

// The kernel's text fields need not end in a NUL.
template <std::size_t N>
std::string_view textOf(const __u8 (&field)[N])
{
    const auto* text = reinterpret_cast<const char*>(field);
    return {text, ::strnlen(text, N)};
}

// timeval's members are signed and hold whatever the driver put there.
std::uint64_t nanosecondsOf(const timeval& time)
{
    const auto seconds = static_cast<std::uint64_t>(time.tv_sec);
    const auto microseconds = static_cast<std::uint64_t>(time.tv_usec);
    return (seconds * 1'000'000 + microseconds) * 1000;
}

void check(IoctlResult result, const char* words)
{
    if (result.hasFailed())
        throw Error(result.error(), words);
}

} // namespace

VideoDevice::VideoDevice(std::string path) : VideoDevice(std::move(path), RealSystemCalls()) {}

VideoDevice::VideoDevice(std::string path, SystemCalls calls)
    : calls_(std::move(calls)), path_(std::move(path))
{
    fd_ = calls_.open(path_.c_str(), O_RDWR | O_NONBLOCK, 0);
    // Taken before the text is put together, whose allocation may touch it.
    const int openError = errno;
    if (fd_ == -1)
        throw Error(openError, "Failed to open device " + path_);
    GenTLProducer::ScopeExit closeOnFailure([this] { calls_.close(fd_); });
    queryCapabilities();
    bufferType_ =
        isMultiPlanar() ? V4L2_BUF_TYPE_VIDEO_CAPTURE_MPLANE : V4L2_BUF_TYPE_VIDEO_CAPTURE;
    checkCapabilities();
    closeOnFailure.release();
}

VideoDevice::~VideoDevice()
{
    calls_.close(fd_);
}

void VideoDevice::queryCapabilities()
{
    v4l2_capability capability{};
    const IoctlResult result = calls_.ioctl(fd_, VIDIOC_QUERYCAP, &capability);
    if (result.hasFailed() && result.error() == EINVAL)
        throw Error(EINVAL, path_ + " is no V4L2 device");
    if (result.hasFailed())
        throw Error(result.error(), "VIDIOC_QUERYCAP failed for " + path_);
    driverName_ = textOf(capability.driver);
    capabilities_ = capability.capabilities;
}

void VideoDevice::checkCapabilities() const
{
    if ((capabilities_ & kVideoDevice) == 0 || (capabilities_ & kCapture) == 0)
        throw Error(EINVAL, path_ + " is no video capture device");
    if ((capabilities_ & V4L2_CAP_STREAMING) == 0)
        throw Error(EINVAL, path_ + " does not support streaming I/O");
}

bool VideoDevice::isMultiPlanar() const noexcept
{
    return (capabilities_ & kMultiPlanar) != 0;
}

std::vector<std::unique_ptr<Buffer>> VideoDevice::RequestBuffers(std::uint32_t count)
{
    const std::uint32_t granted = requestKernelBuffers(count);
    if (count == 0)
        return {};

    // Runs behind the destructors of the buffers, which unmap them.
    GenTLProducer::ScopeExit freeOnFailure([this] {
        v4l2_requestbuffers request{};
        request.type = bufferType_;
        request.memory = V4L2_MEMORY_MMAP;
        queuedBuffers_.clear();
        calls_.ioctl(fd_, VIDIOC_REQBUFS, &request);
    });
    queuedBuffers_.assign(granted, nullptr);
    std::vector<std::unique_ptr<Buffer>> buffers;
    buffers.reserve(granted);
    for (std::uint32_t index = 0; index < granted; ++index)
        buffers.push_back(queryAndMap(index));
    freeOnFailure.release();
    return buffers;
}

std::uint32_t VideoDevice::requestKernelBuffers(std::uint32_t count)
{
    if (count == 0)
        queuedBuffers_.clear();
    v4l2_requestbuffers request{};
    request.count = count;
    request.type = bufferType_;
    request.memory = V4L2_MEMORY_MMAP;
    const IoctlResult result = calls_.ioctl(fd_, VIDIOC_REQBUFS, &request);
    if (result.hasFailed())
        throw Error(result.error(), result.error() == EINVAL
                                        ? "Video device does not support memory mapping"
                                        : "VIDIOC_REQBUFS failed");
    return std::min<std::uint32_t>(request.count, VIDEO_MAX_FRAME);
}

std::unique_ptr<Buffer> VideoDevice::queryAndMap(std::uint32_t index)
{
    Planes planes{};
    v4l2_buffer query{};
    query.index = index;
    query.type = bufferType_;
    query.memory = V4L2_MEMORY_MMAP;
    if (isMultiPlanar()) {
        query.m.planes = planes.data();
        query.length = planes.size();
    }
    check(calls_.ioctl(fd_, VIDIOC_QUERYBUF, &query), "VIDIOC_QUERYBUF failed");

    std::size_t planeCount = 1;
    if (isMultiPlanar()) {
        planeCount = std::min<std::size_t>(query.length, planes.size());
    } else {
        planes[0].length = query.length;
        planes[0].m.mem_offset = query.m.offset;
    }
    if (planeCount == 0)
        throw Error(EINVAL, "VIDIOC_QUERYBUF failed");

    auto buffer = std::make_unique<Buffer>();
    buffer->index = index;
    buffer->planes.reserve(planeCount);
    buffer->mappedRegions.reserve(planeCount);
    for (std::size_t i = 0; i < planeCount; ++i) {
        const auto offset = static_cast<off_t>(planes[i].m.mem_offset);
        buffer->mappedRegions.push_back(MapMemoryRegion(planes[i].length, offset));
        buffer->planes.push_back({planes[i].length, buffer->mappedRegions.back().address(), 0});
    }
    return buffer;
}

MappedRegion VideoDevice::MapMemoryRegion(std::size_t length, off_t offset)
{
    // Ready before the call: nothing may fail between the mapping and its owner.
    MappedRegion::Release release = [this, length](void* mapped) { calls_.munmap(mapped, length); };
    void* address = calls_.mmap(nullptr, length, PROT_READ | PROT_WRITE, MAP_SHARED, fd_, offset);
    const int mapError = errno;
    if (address == MAP_FAILED)
        throw Error(mapError, "Mapping memory failed");
    return {address, std::move(release)};
}

void VideoDevice::StreamOn()
{
    auto type = static_cast<int>(bufferType_);
    check(calls_.ioctl(fd_, VIDIOC_STREAMON, &type), "Failed to start stream");
}

void VideoDevice::StreamOff()
{
    auto type = static_cast<int>(bufferType_);
    check(calls_.ioctl(fd_, VIDIOC_STREAMOFF, &type), "Failed to turn off stream");
}

v4l2_format VideoDevice::GetFormat()
{
    v4l2_format format{};
    format.type = bufferType_;
    check(calls_.ioctl(fd_, VIDIOC_G_FMT, &format), "Failed to get capture image format");
    return format;
}

void VideoDevice::SetFormat(v4l2_format& format)
{
    check(calls_.ioctl(fd_, VIDIOC_S_FMT, &format), "Failed to set capture image format");
}

std::optional<std::uint32_t> VideoDevice::FindControl(std::string_view name)
{
    std::uint32_t id = 0;
    for (unsigned i = 0; i < kMaxControls; ++i) {
        v4l2_queryctrl query{};
        query.id = id | V4L2_CTRL_FLAG_NEXT_CTRL;
        const IoctlResult result = calls_.ioctl(fd_, VIDIOC_QUERYCTRL, &query);
        if (result.hasFailed() && result.error() == EINVAL)
            return std::nullopt;
        check(result, "Failed to query V4L2 controls");
        if (textOf(query.name) == name && (query.flags & V4L2_CTRL_FLAG_DISABLED) == 0)
            return query.id;
        id = query.id;
    }
    return std::nullopt;
}

void VideoDevice::SetControl(std::uint32_t id, std::int32_t value)
{
    v4l2_control control{};
    control.id = id;
    control.value = value;
    const IoctlResult result = calls_.ioctl(fd_, VIDIOC_S_CTRL, &control);
    if (result.hasFailed())
        throw Error(result.error(), "Failed to set control with ID " + std::to_string(id) +
                                        " to value " + std::to_string(value));
}

void VideoDevice::QueueBuffer(Buffer& buffer)
{
    Buffer*& slot = queuedBuffers_.at(buffer.index);
    Planes planes{};
    v4l2_buffer entry{};
    entry.index = buffer.index;
    entry.type = bufferType_;
    entry.memory = V4L2_MEMORY_MMAP;
    if (isMultiPlanar()) {
        const std::size_t count = std::min(buffer.planes.size(), planes.size());
        for (std::size_t i = 0; i < count; ++i)
            planes[i].length = static_cast<std::uint32_t>(buffer.planes[i].length);
        entry.m.planes = planes.data();
        entry.length = static_cast<std::uint32_t>(count);
    }
    const IoctlResult result = calls_.ioctl(fd_, VIDIOC_QBUF, &entry);
    if (result.hasFailed())
        throw Error(result.error(), "Failed to queue buffer " + std::to_string(buffer.index));
    slot = &buffer;
}

Buffer* VideoDevice::DequeueBuffer()
{
    Planes planes{};
    v4l2_buffer entry{};
    entry.type = bufferType_;
    entry.memory = V4L2_MEMORY_MMAP;
    if (isMultiPlanar()) {
        entry.m.planes = planes.data();
        entry.length = planes.size();
    }
    const IoctlResult result = calls_.ioctl(fd_, VIDIOC_DQBUF, &entry);
    if (result.hasFailed() && result.error() == EAGAIN)
        return nullptr;
    check(result, "VIDIOC_DQBUF failed");
    if (entry.index >= queuedBuffers_.size())
        throw GrabBufferIndexError(ERANGE,
                                   "Got unexpected buffer index " + std::to_string(entry.index),
                                   static_cast<std::uint32_t>(queuedBuffers_.size()) - 1);
    Buffer* buffer = std::exchange(queuedBuffers_[entry.index], nullptr);
    if (!buffer)
        return nullptr;

    std::size_t returned = std::min<std::size_t>(entry.length, planes.size());
    if (!isMultiPlanar()) {
        planes[0].bytesused = entry.bytesused;
        returned = 1;
    }
    for (std::size_t i = 0; i < buffer->planes.size(); ++i)
        buffer->planes[i].bytesUsed = i < returned ? planes[i].bytesused : 0;
    buffer->sequence = entry.sequence;
    buffer->valid = (entry.flags & V4L2_BUF_FLAG_ERROR) == 0;
    buffer->timestamp = nanosecondsOf(entry.timestamp);
    return buffer;
}

} // namespace V4L2
