#include "support/fake_capture_node.h"

#include <algorithm>
#include <cerrno>
#include <cstring>

#include <sys/mman.h>

namespace test
{

namespace
{

constexpr off_t kOffsetStep = 1 << 20;

std::string nameOf(unsigned long request)
{
    static const std::map<unsigned long, std::string> names = {
        {VIDIOC_QUERYCAP, "QUERYCAP"},   {VIDIOC_G_FMT, "G_FMT"},
        {VIDIOC_S_FMT, "S_FMT"},         {VIDIOC_REQBUFS, "REQBUFS"},
        {VIDIOC_QUERYBUF, "QUERYBUF"},   {VIDIOC_QBUF, "QBUF"},
        {VIDIOC_DQBUF, "DQBUF"},         {VIDIOC_STREAMON, "STREAMON"},
        {VIDIOC_STREAMOFF, "STREAMOFF"}, {VIDIOC_S_CTRL, "S_CTRL"},
        {VIDIOC_QUERYCTRL, "QUERYCTRL"},
    };
    return names.at(request);
}

} // namespace

FakeCaptureNode::FakeCaptureNode() : readiness_(GenTLProducer::PipeEvent::Create())
{
    updateReadiness();
}

V4L2::SystemCalls FakeCaptureNode::Calls()
{
    V4L2::SystemCalls calls;
    calls.open = [this](const char* path, int, int) {
        const std::lock_guard<std::mutex> lock(mutex_);
        record(std::string("open ") + path);
        if ((errno = shouldFail()) != 0)
            return -1;
        ++openDescriptors;
        return readiness_->GetReadDescriptor();
    };
    calls.close = [this](int) {
        const std::lock_guard<std::mutex> lock(mutex_);
        record("close");
        if (--openDescriptors == 0) {
            v4l2_requestbuffers none{};
            requestBuffers(none);
        }
        return 0;
    };
    calls.ioctl = [this](int, unsigned long request, void* argument) {
        return ioctl(request, argument);
    };
    calls.mmap = [this](void*, std::size_t length, int, int, int, off_t offset) {
        return map(length, offset);
    };
    calls.munmap = [this](void* address, std::size_t) { return unmap(address); };
    return calls;
}

void FakeCaptureNode::FailCall(unsigned nth, int error)
{
    const std::lock_guard<std::mutex> lock(mutex_);
    failingCall_ = calls_ + nth;
    failure_ = error;
}

void FakeCaptureNode::PushFrame(const Frame& frame)
{
    const std::lock_guard<std::mutex> lock(mutex_);
    frames_.push_back(frame);
    updateReadiness();
}

void FakeCaptureNode::WaitForLog(const std::string& beginning, std::size_t count)
{
    std::unique_lock<std::mutex> lock(mutex_);
    changed_.wait(lock, [&] { return countLog(beginning) >= count; });
}

std::size_t FakeCaptureNode::CountLog(const std::string& beginning)
{
    const std::lock_guard<std::mutex> lock(mutex_);
    return countLog(beginning);
}

std::size_t FakeCaptureNode::countLog(const std::string& beginning) const
{
    return static_cast<std::size_t>(
        std::count_if(log_.begin(), log_.end(),
                      [&](const std::string& entry) { return entry.rfind(beginning, 0) == 0; }));
}

std::vector<std::string> FakeCaptureNode::GetLog()
{
    const std::lock_guard<std::mutex> lock(mutex_);
    return log_;
}

int FakeCaptureNode::shouldFail()
{
    return ++calls_ == failingCall_ ? failure_ : 0;
}

std::uint32_t FakeCaptureNode::imageSize() const
{
    return isMultiPlanar() ? format_.fmt.pix_mp.plane_fmt[0].sizeimage : format_.fmt.pix.sizeimage;
}

V4L2::IoctlResult FakeCaptureNode::ioctl(unsigned long request, void* argument)
{
    const std::lock_guard<std::mutex> lock(mutex_);
    int error = shouldFail();
    if (error == 0) {
        const auto handler = handlers.find(request);
        error = handler != handlers.end() ? handler->second(argument) : answer(request, argument);
    }
    std::string entry = nameOf(request);
    const bool hasIndex = request == VIDIOC_QBUF || request == VIDIOC_QUERYBUF ||
                          (request == VIDIOC_DQBUF && error == 0);
    if (hasIndex)
        entry += " " + std::to_string(static_cast<v4l2_buffer*>(argument)->index);
    if (request == VIDIOC_REQBUFS)
        entry += " " + std::to_string(static_cast<v4l2_requestbuffers*>(argument)->count);
    record(entry + (error != 0 ? " failed" : ""));
    updateReadiness();
    return {error != 0 ? -1 : 0, error};
}

int FakeCaptureNode::answer(unsigned long request, void* argument)
{
    switch (request) {
    case VIDIOC_QUERYCAP: {
        auto& capability = *static_cast<v4l2_capability*>(argument);
        std::memcpy(capability.driver, driver.data(),
                    std::min(driver.size(), sizeof capability.driver));
        capability.capabilities = capabilities;
        return 0;
    }
    case VIDIOC_G_FMT:
        format_.type = static_cast<v4l2_format*>(argument)->type;
        *static_cast<v4l2_format*>(argument) = format_;
        return 0;
    case VIDIOC_S_FMT: {
        if (bufferCount_ != 0)
            return EBUSY;
        format_ = *static_cast<v4l2_format*>(argument);
        const std::uint32_t size = format_.fmt.pix.width * format_.fmt.pix.height * 2;
        (isMultiPlanar() ? format_.fmt.pix_mp.plane_fmt[0].sizeimage : format_.fmt.pix.sizeimage) =
            size;
        *static_cast<v4l2_format*>(argument) = format_;
        return 0;
    }
    case VIDIOC_REQBUFS:
        return requestBuffers(*static_cast<v4l2_requestbuffers*>(argument));
    case VIDIOC_QUERYBUF:
        return queryBuffer(*static_cast<v4l2_buffer*>(argument));
    case VIDIOC_QBUF:
        return queueBuffer(*static_cast<v4l2_buffer*>(argument));
    case VIDIOC_DQBUF:
        return dequeueBuffer(*static_cast<v4l2_buffer*>(argument));
    case VIDIOC_STREAMON:
        isStreaming_ = bufferCount_ != 0;
        return isStreaming_ ? 0 : EINVAL;
    case VIDIOC_STREAMOFF:
        isStreaming_ = false;
        queued_.clear();
        return 0;
    case VIDIOC_S_CTRL:
        return 0;
    default:
        return EINVAL;
    }
}

int FakeCaptureNode::requestBuffers(v4l2_requestbuffers& request)
{
    request.count = std::min(request.count, mostBuffers);
    bufferCount_ = request.count;
    isStreaming_ = false;
    queued_.clear();
    imageOf_.clear();
    return 0;
}

int FakeCaptureNode::queryBuffer(v4l2_buffer& buffer)
{
    if (buffer.index >= bufferCount_)
        return EINVAL;
    if (!isMultiPlanar()) {
        buffer.length = imageSize();
        buffer.m.offset = buffer.index * kOffsetStep;
        return 0;
    }
    for (std::uint32_t plane = 0; plane < std::min(planesPerBuffer, buffer.length); ++plane) {
        buffer.m.planes[plane].length = imageSize();
        buffer.m.planes[plane].m.mem_offset = (buffer.index + plane * 32) * kOffsetStep;
    }
    buffer.length = planesPerBuffer;
    return 0;
}

int FakeCaptureNode::queueBuffer(const v4l2_buffer& buffer)
{
    if (buffer.index >= bufferCount_ ||
        std::find(queued_.begin(), queued_.end(), buffer.index) != queued_.end())
        return EINVAL;
    queued_.push_back(buffer.index);
    return 0;
}

int FakeCaptureNode::dequeueBuffer(v4l2_buffer& buffer)
{
    if (!isStreaming_)
        return EINVAL;
    if (queued_.empty() || frames_.empty())
        return EAGAIN;
    const Frame frame = frames_.front();
    frames_.pop_front();
    buffer.index = frame.index != ~0u ? frame.index : queued_.front();
    buffer.sequence = frame.sequence;
    buffer.flags = frame.isDamaged ? V4L2_BUF_FLAG_ERROR : 0;
    buffer.timestamp = {static_cast<time_t>(frame.sequence), 7};
    const std::uint32_t bytesUsed = frame.bytesUsed != 0 ? frame.bytesUsed : imageSize();
    buffer.bytesused = isMultiPlanar() ? 0 : bytesUsed;
    if (isMultiPlanar()) {
        buffer.m.planes[0].bytesused = bytesUsed;
        buffer.length = planesPerBuffer;
    }
    if (std::uint8_t* image = imageOf_[queued_.front()])
        std::memset(image, static_cast<std::uint8_t>(frame.sequence), imageSize());
    queued_.pop_front();
    return 0;
}

void* FakeCaptureNode::map(std::size_t length, off_t offset)
{
    const std::lock_guard<std::mutex> lock(mutex_);
    record("mmap " + std::to_string(length) + " at " + std::to_string(offset / kOffsetStep));
    if ((errno = shouldFail()) != 0)
        return MAP_FAILED;
    ++mappings;
    Memory memory(new std::uint8_t[length]());
    void* address = memory.get();
    imageOf_[static_cast<std::uint32_t>(offset / kOffsetStep)] = memory.get();
    memory_[address] = std::move(memory);
    return address;
}

int FakeCaptureNode::unmap(void* address)
{
    const std::lock_guard<std::mutex> lock(mutex_);
    record("munmap");
    --mappings;
    for (auto& image : imageOf_) {
        if (image.second == address)
            image.second = nullptr;
    }
    memory_.erase(address);
    return 0;
}

void FakeCaptureNode::record(std::string entry)
{
    log_.push_back(std::move(entry));
    changed_.notify_all();
}

void FakeCaptureNode::updateReadiness()
{
    const bool isReady = !isStreaming_ || queued_.empty() || !frames_.empty();
    if (isReady)
        readiness_->Signal();
    else
        readiness_->Clear();
}

} // namespace test
