#include "sim/core/capture_node.h"

#include <fcntl.h>
#include <linux/version.h>
#include <linux/videodev2.h>
#include <pthread.h>
#include <signal.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <mutex>
#include <system_error>

namespace zevo_sim
{

namespace
{

constexpr unsigned kDefaultWidth = 1920;
constexpr unsigned kDefaultHeight = 1080;
constexpr Nanoseconds kSecond = 1'000'000'000;
/// A frame thread that comes too late by more than this many frames doesn't catch up.
constexpr Nanoseconds kMaxLag = 3;

constexpr std::uint32_t kLowLatencyControl = 0x009A206D;

template <std::size_t N>
void CopyText(__u8 (&target)[N], const char* text)
{
    std::strncpy(reinterpret_cast<char*>(target), text, N - 1);
}

/// What poll() shows for a request of these events.
short Visible(short state, short events)
{
    return static_cast<short>(state & (events | POLLERR | POLLHUP | POLLNVAL));
}

} // namespace

CaptureNode::CaptureNode(NodeIdentity identity, const BoardDefinition& board,
                         CaptureOptions options, FrameSource& source, SceneStore& scenes,
                         Camera* driver)
    : DeviceNode(std::move(identity)), board_(board), options_(std::move(options)), source_(source),
      driver_(driver), limits_{board.formats, options_.maxWidth, options_.maxHeight,
                               options_.widthStep},
      bufferType_(options_.isMultiPlanar ? V4L2_BUF_TYPE_VIDEO_CAPTURE_MPLANE
                                         : V4L2_BUF_TYPE_VIDEO_CAPTURE),
      format_{board.formats.data(), kDefaultWidth, kDefaultHeight},
      painter_(scenes, options_.cameraName)
{
    if (driver_ && driver_->Options().form == RequestForm::Controls)
        driver_->AddControls(controls_);
    if (board_.hasLowLatencyMode) {
        Control lowLatency{};
        lowLatency.id = kLowLatencyControl;
        lowLatency.name = "Low Latency Mode";
        lowLatency.type = V4L2_CTRL_TYPE_BOOLEAN;
        lowLatency.maximum = 1;
        lowLatency.get = [this](std::int32_t& value, std::uint8_t*) {
            value = isLowLatency_ ? 1 : 0;
            return 0;
        };
        lowLatency.set = [this](std::int32_t value, const std::uint8_t*) {
            isLowLatency_ = value != 0;
            return 0;
        };
        controls_.Add(std::move(lowLatency));
    }
    source_.SetStreamListener([this] {
        const std::lock_guard lock(monitor_);
        monitor_.NotifyAll();
    });
}

CaptureNode::~CaptureNode()
{
    source_.SetStreamListener({});
    StopFrames();
}

bool CaptureNode::IsUnplugged() const
{
    const std::lock_guard lock(monitor_);
    return isUnplugged_;
}

void CaptureNode::Opened(OpenFile& file)
{
    const std::lock_guard lock(monitor_);
    files_.push_back(&file);
    UpdateReadiness();
}

void CaptureNode::Released(OpenFile& file)
{
    const std::lock_guard requests(requests_);
    const bool isOwner = owner_ == &file;
    if (isOwner)
        StopFrames();
    const std::lock_guard lock(monitor_);
    files_.erase(std::remove(files_.begin(), files_.end(), &file), files_.end());
    if (!isOwner)
        return;
    owner_ = nullptr;
    queue_.StreamOff();
    queue_.Request(0, 0);
    UpdateReadiness();
}

int CaptureNode::Ioctl(OpenFile& file, int fd, unsigned long request, void* argument)
{
    for (;;) {
        int result = 0;
        {
            const std::lock_guard requests(requests_);
            if (IsUnplugged())
                return -ENODEV;
            result = argument ? Dispatch(file, request, argument) : -EFAULT;
            const std::lock_guard lock(monitor_);
            UpdateReadiness();
            file.Settle(fd);
        }
        if (request != VIDIOC_DQBUF || result != -EAGAIN)
            return result;
        if (const int waited = WaitForBuffer(fd); waited != 0)
            return waited;
    }
}

/// Waits for readiness as a blocking dequeue does: a signal ends it, unless its handler restarts
/// calls.
int CaptureNode::WaitForBuffer(int fd)
{
    const int flags = sys::Control(fd, F_GETFL, 0);
    if (flags < 0 || (flags & O_NONBLOCK) != 0)
        return flags < 0 ? flags : -EAGAIN;
    {
        const std::lock_guard lock(monitor_);
        while (queue_.IsStreaming() && queue_.IsWaitingForBuffers() && !isUnplugged_)
            monitor_.Wait();
    }
    char byte;
    const long result = sys::Receive(fd, &byte, 1, MSG_PEEK);
    return result < 0 ? static_cast<int>(result) : 0;
}

int CaptureNode::Dispatch(OpenFile& file, unsigned long request, void* argument)
{
    switch (request) {
    case VIDIOC_QUERYCAP:
        return QueryCapability(argument);
    case VIDIOC_ENUM_FMT:
        return EnumerateFormats(argument);
    case VIDIOC_ENUM_FRAMESIZES:
        return EnumerateFrameSizes(argument);
    case VIDIOC_G_FMT:
    case VIDIOC_S_FMT:
    case VIDIOC_TRY_FMT:
        return AccessFormat(request, *static_cast<v4l2_format*>(argument));
    case VIDIOC_REQBUFS:
        return RequestBuffers(file, *static_cast<v4l2_requestbuffers*>(argument));
    case VIDIOC_QUERYBUF:
        return QueryBuffer(*static_cast<v4l2_buffer*>(argument));
    case VIDIOC_QBUF:
        return QueueBuffer(file, *static_cast<v4l2_buffer*>(argument));
    case VIDIOC_DQBUF:
        return DequeueBuffer(file, *static_cast<v4l2_buffer*>(argument));
    case VIDIOC_STREAMON:
    case VIDIOC_STREAMOFF:
        return SwitchStream(file, static_cast<std::uint32_t>(*static_cast<int*>(argument)),
                            request == VIDIOC_STREAMON);
    case VIDIOC_QUERYCTRL:
    case VIDIOC_G_CTRL:
    case VIDIOC_S_CTRL:
    case VIDIOC_G_EXT_CTRLS:
    case VIDIOC_S_EXT_CTRLS:
        return controls_.Ioctl(request, argument);
    default:
        return driver_ ? driver_->Ioctl(request, argument) : -ENOTTY;
    }
}

int CaptureNode::QueryCapability(void* argument) const
{
    auto& capability = *static_cast<v4l2_capability*>(argument);
    capability = {};
    CopyText(capability.driver, board_.captureDriver);
    CopyText(capability.card, board_.captureCard);
    CopyText(capability.bus_info, options_.busInfo.c_str());
    capability.version = KERNEL_VERSION(6, 1, 0);
    capability.device_caps = V4L2_CAP_STREAMING | V4L2_CAP_EXT_PIX_FORMAT;
    capability.device_caps |=
        options_.isMultiPlanar ? V4L2_CAP_VIDEO_CAPTURE_MPLANE : V4L2_CAP_VIDEO_CAPTURE;
    capability.capabilities = capability.device_caps | V4L2_CAP_DEVICE_CAPS;
    return 0;
}

int CaptureNode::EnumerateFormats(void* argument) const
{
    auto& entry = *static_cast<v4l2_fmtdesc*>(argument);
    if (entry.type != bufferType_ || entry.index >= board_.formats.size())
        return -EINVAL;
    const NodeFormat& format = board_.formats[entry.index];
    entry.flags = 0;
    entry.pixelformat = format.fourcc;
    std::memset(entry.description, 0, sizeof(entry.description));
    CopyText(entry.description, format.description);
    return 0;
}

int CaptureNode::EnumerateFrameSizes(void* argument) const
{
    auto& sizes = *static_cast<v4l2_frmsizeenum*>(argument);
    const bool isKnown =
        std::any_of(board_.formats.begin(), board_.formats.end(),
                    [&](const NodeFormat& format) { return format.fourcc == sizes.pixel_format; });
    if (!isKnown || sizes.index != 0)
        return -EINVAL;
    sizes.type = V4L2_FRMSIZE_TYPE_STEPWISE;
    sizes.stepwise = {CaptureFormat::kMinSize, limits_.maxWidth,  limits_.widthStep,
                      CaptureFormat::kMinSize, limits_.maxHeight, 2};
    return 0;
}

int CaptureNode::AccessFormat(unsigned long request, v4l2_format& format)
{
    if (format.type != bufferType_)
        return -EINVAL;
    const std::lock_guard lock(monitor_);
    if (request == VIDIOC_G_FMT) {
        format_.Describe(format);
        return 0;
    }
    const CaptureFormat adjusted = CaptureFormat::Nearest(format, limits_);
    if (request == VIDIOC_S_FMT) {
        if (queue_.HasBuffers())
            return -EBUSY;
        format_ = adjusted;
    }
    adjusted.Describe(format);
    return 0;
}

int CaptureNode::RequestBuffers(OpenFile& file, v4l2_requestbuffers& request)
{
    if (request.type != bufferType_ || request.memory != V4L2_MEMORY_MMAP)
        return -EINVAL;
    request.capabilities = V4L2_BUF_CAP_SUPPORTS_MMAP | V4L2_BUF_CAP_SUPPORTS_ORPHANED_BUFS;
    const std::lock_guard lock(monitor_);
    if (IsBusy(file))
        return -EBUSY;
    const int granted = queue_.Request(request.count, format_.Size(), options_.maxBuffers);
    if (granted < 0)
        return granted;
    request.count = static_cast<std::uint32_t>(granted);
    owner_ = granted != 0 ? &file : nullptr;
    return 0;
}

int CaptureNode::CheckBuffer(const v4l2_buffer& buffer) const
{
    const bool hasPlanes = !options_.isMultiPlanar || (buffer.m.planes && buffer.length >= 1);
    return buffer.type == bufferType_ && hasPlanes ? 0 : -EINVAL;
}

void CaptureNode::Describe(std::uint32_t index, v4l2_buffer& target)
{
    const KernelBuffer& buffer = *queue_.Find(index);
    const auto length = static_cast<std::uint32_t>(queue_.Memory()->length);
    target.index = index;
    target.flags = V4L2_BUF_FLAG_TIMESTAMP_MONOTONIC;
    if (buffer.mapCount != 0)
        target.flags |= V4L2_BUF_FLAG_MAPPED;
    if (buffer.state == BufferState::Queued || buffer.state == BufferState::Filling)
        target.flags |= V4L2_BUF_FLAG_QUEUED;
    if (buffer.state == BufferState::Done)
        target.flags |= V4L2_BUF_FLAG_DONE;
    if (buffer.hasError)
        target.flags |= V4L2_BUF_FLAG_ERROR;
    target.field = V4L2_FIELD_NONE;
    target.timestamp.tv_sec = static_cast<time_t>(buffer.timestamp / kSecond);
    target.timestamp.tv_usec = static_cast<suseconds_t>(buffer.timestamp % kSecond / 1000);
    target.sequence = buffer.sequence;
    target.memory = V4L2_MEMORY_MMAP;
    if (options_.isMultiPlanar) {
        v4l2_plane& plane = target.m.planes[0];
        plane = {};
        plane.bytesused = buffer.bytesUsed;
        plane.length = length;
        plane.m.mem_offset = static_cast<std::uint32_t>(buffer.offset);
        target.bytesused = 0;
        target.length = 1;
    } else {
        target.bytesused = buffer.bytesUsed;
        target.length = length;
        target.m.offset = static_cast<std::uint32_t>(buffer.offset);
    }
}

int CaptureNode::QueryBuffer(v4l2_buffer& buffer)
{
    if (const int result = CheckBuffer(buffer); result != 0)
        return result;
    const std::lock_guard lock(monitor_);
    if (!queue_.Find(buffer.index))
        return -EINVAL;
    Describe(buffer.index, buffer);
    return 0;
}

int CaptureNode::QueueBuffer(OpenFile& file, v4l2_buffer& buffer)
{
    {
        const std::lock_guard lock(monitor_);
        if (buffer.type != bufferType_)
            return -EINVAL;
        if (IsBusy(file))
            return -EBUSY;
        if (const int result = CheckBuffer(buffer); result != 0)
            return result;
        if (!queue_.Find(buffer.index) || buffer.memory != V4L2_MEMORY_MMAP)
            return -EINVAL;
        if (const int result = queue_.Queue(buffer.index); result != 0)
            return result;
        queue_.Find(buffer.index)->hasError = false;
        Describe(buffer.index, buffer);
        monitor_.NotifyAll();
    }
    StartFrames();
    return 0;
}

int CaptureNode::DequeueBuffer(OpenFile& file, v4l2_buffer& buffer)
{
    const std::lock_guard lock(monitor_);
    if (buffer.type != bufferType_)
        return -EINVAL;
    if (IsBusy(file))
        return -EBUSY;
    if (const int result = CheckBuffer(buffer); result != 0)
        return result;
    const int index = queue_.Dequeue();
    if (index < 0)
        return index;
    Describe(static_cast<std::uint32_t>(index), buffer);
    buffer.index = queue_.Find(buffer.index)->shownIndex.value_or(buffer.index);
    return 0;
}

int CaptureNode::SwitchStream(OpenFile& file, std::uint32_t type, bool isOn)
{
    if (type != bufferType_)
        return -EINVAL;
    {
        const std::lock_guard lock(monitor_);
        if (IsBusy(file))
            return -EBUSY;
        if (isOn) {
            const bool isFirst = !queue_.IsStreaming();
            if (const int result = queue_.StreamOn(); result != 0)
                return result;
            if (isFirst)
                sequence_ = 0;
        }
    }
    if (isOn) {
        StartFrames();
        return 0;
    }
    StopFrames();
    const std::lock_guard lock(monitor_);
    queue_.StreamOff();
    monitor_.NotifyAll();
    return 0;
}

long CaptureNode::Map(OpenFile& file, void* address, std::size_t length, int protection, int flags,
                      long offset)
{
    const std::lock_guard lock(monitor_);
    if (isUnplugged_)
        return -ENODEV;
    if ((flags & MAP_SHARED) == 0 || (protection & PROT_READ) == 0)
        return -EINVAL;
    if ((protection & PROT_WRITE) != 0 && (file.Flags() & O_ACCMODE) != O_RDWR)
        return -EACCES;
    const std::shared_ptr<BufferMemory>& memory = queue_.Memory();
    if (!memory || offset < 0)
        return -EINVAL;
    for (std::uint32_t i = 0; i < memory->buffers.size(); ++i) {
        KernelBuffer& buffer = memory->buffers[i];
        if (buffer.offset != static_cast<std::size_t>(offset))
            continue;
        const std::size_t room = memory->view.Size() / memory->buffers.size();
        if (length == 0 || length > room)
            return -EINVAL;
        const long mapped =
            sys::Map(address, length, protection, flags, memory->file.Get(), offset);
        if (mapped < 0 && mapped > -4096)
            return mapped;
        ++buffer.mapCount;
        areas_.push_back(
            {static_cast<const char*>(sys::ToPointer(static_cast<std::uint64_t>(mapped))), length,
             memory, i});
        return mapped;
    }
    return -EINVAL;
}

void CaptureNode::Unmapped(const void* address, std::size_t length)
{
    const auto* start = static_cast<const char*>(address);
    const std::lock_guard lock(monitor_);
    const auto isGone = [&](const MappedArea& area) {
        if (area.start < start || area.start >= start + length)
            return false;
        if (const auto memory = area.memory.lock())
            --memory->buffers[area.index].mapCount;
        return true;
    };
    areas_.erase(std::remove_if(areas_.begin(), areas_.end(), isGone), areas_.end());
}

short CaptureNode::Readiness() const
{
    return isUnplugged_ ? static_cast<short>(POLLPRI | POLLERR | POLLHUP) : queue_.Readiness();
}

void CaptureNode::UpdateReadiness()
{
    const bool isReady = Readiness() != 0;
    for (OpenFile* file : files_)
        file->Show(isReady);
}

short CaptureNode::Poll(OpenFile& file, int fd, short events)
{
    const std::lock_guard lock(monitor_);
    file.Settle(fd);
    if (!isUnplugged_ && (events & (POLLIN | POLLRDNORM)) == 0)
        return 0;
    return Visible(Readiness(), events);
}

void CaptureNode::GiveUp()
{
    const std::lock_guard lock(monitor_);
    queue_.Fail();
    UpdateReadiness();
    monitor_.NotifyAll();
}

void CaptureNode::Unplug()
{
    const std::lock_guard lock(monitor_);
    isUnplugged_ = true;
    queue_.Fail();
    for (OpenFile* file : files_)
        file->HangUp();
    monitor_.NotifyAll();
}

// Frames.

/// Starts the frame thread when the driver has begun to capture. Needs requests_.
void CaptureNode::StartFrames()
{
    if (options_.pace == Pace::Manual || frames_.joinable())
        return;
    {
        const std::lock_guard lock(monitor_);
        if (!queue_.HasBegun())
            return;
        isStopping_ = false;
    }
    // The host's signals are not for this thread.
    sigset_t all;
    sigset_t before;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &before);
    try {
        frames_ = std::thread(&CaptureNode::RunFrames, this);
    } catch (const std::system_error&) {
        pthread_sigmask(SIG_SETMASK, &before, nullptr);
        throw;
    }
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
}

void CaptureNode::StopFrames()
{
    {
        const std::lock_guard lock(monitor_);
        isStopping_ = true;
        monitor_.NotifyAll();
    }
    if (frames_.joinable())
        frames_.join();
    const std::lock_guard lock(monitor_);
    while (isFilling_)
        monitor_.Wait();
}

void CaptureNode::RunFrames()
{
    Nanoseconds last = 0;
    std::unique_lock lock(monitor_);
    while (!isStopping_ && !isUnplugged_) {
        const bool isPaced = options_.pace != Pace::AsTaken;
        if (!queue_.HasBegun() || !source_.CanSend() || (!isPaced && !queue_.HasQueued())) {
            monitor_.Wait();
            continue;
        }
        const Nanoseconds now = MonotonicNow();
        const Nanoseconds period = FramePeriod();
        if (isPaced && now < last + period) {
            monitor_.WaitUntil(last + period);
            continue;
        }
        last = now - last > kMaxLag * period ? now : last + period;
        lock.unlock();
        const bool isReceived = CaptureFrame();
        lock.lock();
        if (!isReceived && !isPaced && !isStopping_)
            monitor_.WaitUntil(now + period);
    }
}

Nanoseconds CaptureNode::FramePeriod() const
{
    const double rate = options_.pace == Pace::Fixed ? options_.fps : source_.FrameRate();
    return static_cast<Nanoseconds>(static_cast<double>(kSecond) / std::max(rate, 0.001));
}

bool CaptureNode::CaptureFrame()
{
    std::unique_lock lock(monitor_);
    if (!queue_.HasBegun())
        return false;
    const std::optional<SentFrame> frame = source_.SendFrame();
    if (!frame || !format_.Receives(*frame->setup))
        return false;
    std::optional<FaultInjector::Fault> fault;
    if (options_.faults) {
        lock.unlock();
        fault = options_.faults->OnFrame(options_.index);
        if (fault && fault->effect == FaultEffect::Break)
            GiveUp();
        lock.lock();
        if (!queue_.HasBegun())
            return false;
    }
    if (fault && fault->effect == FaultEffect::Gap)
        sequence_ += static_cast<std::uint32_t>(fault->value);
    KernelBuffer result;
    result.sequence = sequence_++;
    result.timestamp = MonotonicNow();
    if (!queue_.HasQueued())
        return true;

    const std::uint32_t index = queue_.BeginFill();
    const std::shared_ptr<BufferMemory> memory = queue_.Memory();
    const CaptureFormat format = format_;
    isFilling_ = true;
    lock.unlock();
    unsigned char* target = memory->view.Data() + memory->buffers[index].offset;
    result.hasError = !painter_.Paint(target, format, *frame);
    result.bytesUsed = static_cast<std::uint32_t>(memory->length);
    if (fault)
        result.Suffer(*fault);
    lock.lock();

    isFilling_ = false;
    queue_.EndFill(index, result);
    UpdateReadiness();
    monitor_.NotifyAll();
    return true;
}

} // namespace zevo_sim
