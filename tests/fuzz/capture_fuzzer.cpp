// A capture node that answers anything, under the grabber and its capture thread.
#include <linux/videodev2.h>
#include <poll.h>
#include <sys/mman.h>

#include <cerrno>
#include <mutex>

#include "base/pfnc.h"
#include "base/pipe_event.h"
#include "capture/grabber/stream_grabber.h"
#include "disturb.h"
#include "image/ap1302_image_processing.h"
#include "v4l2/video_device.h"

namespace
{

namespace Pfnc = GenTLProducer::Pfnc;
using V4lX::Result;

constexpr std::uint32_t kWidth = 32;
constexpr std::uint32_t kHeight = 4;

/// Plausible answers with the input's bytes in them. Frames come as long as there is input; then
/// the node is quiet. Calls come from the capture thread, too.
class CaptureNode final
{
public:
    explicit CaptureNode(fuzz::Bytes& input)
        : in_(input), isMultiPlanar_(input.isOneIn(2)), ready_(GenTLProducer::PipeEvent::Create())
    {
        ready_->Signal();
    }

    V4L2::SystemCalls calls()
    {
        V4L2::SystemCalls calls;
        calls.open = [this](const char*, int, int) {
            const std::lock_guard<std::mutex> lock(mutex_);
            errno = EBUSY;
            return in_.isOneIn(32) ? -1 : ready_->GetReadDescriptor();
        };
        calls.close = [](int) { return 0; };
        calls.ioctl = [this](int, unsigned long request, void* argument) {
            const std::lock_guard<std::mutex> lock(mutex_);
            const int error = answer(request, argument);
            if (error == 0 && in_.isOneIn(4))
                fuzz::disturbAnswer(in_, request, argument, argument);
            return V4L2::IoctlResult(error != 0 ? -1 : 0, error);
        };
        // Exactly as long as told: the sanitizer sees every byte beyond.
        calls.mmap = [](void*, std::size_t length, int, int, int, off_t) -> void* {
            if (length <= kLongestMapping)
                return new std::uint8_t[length];
            errno = ENOMEM;
            return MAP_FAILED;
        };
        calls.munmap = [](void* address, std::size_t) {
            delete[] static_cast<std::uint8_t*>(address);
            return 0;
        };
        return calls;
    }

    bool isQuiet()
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        return isQuiet_;
    }

    /// For the other threads' decisions.
    template <typename Use>
    auto withInput(Use use)
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        return use(in_);
    }

private:
    static constexpr std::uint32_t kPlanes = V4L2_BUF_TYPE_VIDEO_CAPTURE_MPLANE;
    static constexpr std::size_t kLongestMapping = 1u << 20;
    static constexpr std::uint32_t kImageSize = kWidth * kHeight * 2;

    int answer(unsigned long request, void* argument)
    {
        constexpr int kErrors[] = {EIO, ENODEV, EINVAL, EBUSY, EAGAIN, ENOMEM};
        if (in_.isOneIn(32))
            return in_.pick(kErrors);
        switch (request) {
        case VIDIOC_QUERYCAP:
            static_cast<v4l2_capability*>(argument)->capabilities =
                V4L2_CAP_STREAMING |
                (isMultiPlanar_ ? V4L2_CAP_VIDEO_CAPTURE_MPLANE : V4L2_CAP_VIDEO_CAPTURE);
            return 0;
        case VIDIOC_S_FMT:
            setSize(*static_cast<v4l2_format*>(argument));
            return 0;
        case VIDIOC_QUERYBUF:
            describe(*static_cast<v4l2_buffer*>(argument));
            return 0;
        case VIDIOC_DQBUF:
            return dequeue(*static_cast<v4l2_buffer*>(argument));
        default:
            return 0;
        }
    }

    static void setSize(v4l2_format& format)
    {
        const std::uint32_t size =
            format.fmt.pix.pixelformat == V4L2_PIX_FMT_NV12 ? kImageSize * 3 / 4 : kImageSize;
        if (format.type == kPlanes)
            format.fmt.pix_mp.plane_fmt[0].sizeimage = size;
        else
            format.fmt.pix.sizeimage = size;
    }

    // By the type that is asked for: the node may have told another.
    static void describe(v4l2_buffer& buffer)
    {
        if (buffer.type == kPlanes)
            buffer.m.planes[0].length = buffer.m.planes[0].bytesused = kImageSize;
        buffer.length = buffer.type == kPlanes ? 1 : kImageSize;
    }

    int dequeue(v4l2_buffer& buffer)
    {
        if (in_.isEmpty()) {
            if (!isQuiet_)
                ready_->Clear();
            isQuiet_ = true;
            return EAGAIN;
        }
        describe(buffer);
        buffer.index = sequence_ % 4;
        buffer.sequence = sequence_++;
        buffer.bytesused = kImageSize;
        return 0;
    }

    std::mutex mutex_;
    fuzz::Bytes& in_;
    const bool isMultiPlanar_;
    std::shared_ptr<GenTLProducer::PipeEvent> ready_;
    std::uint32_t sequence_ = 0;
    bool isQuiet_ = false;
};

/// Takes frames until none come any more. Gives up on a node that never gets quiet, as one does
/// whose capture thread has nothing to take.
void takeFrames(V4lX::StreamGrabber& grabber, CaptureNode& node)
{
    constexpr int kMostPauses = 30;
    for (int pauses = 0; !node.isQuiet() && pauses < kMostPauses;) {
        V4lX::GrabResult result{};
        if (grabber.RetrieveBuffer(&result, nullptr) != Result::Success) {
            ::poll(nullptr, 0, 1);
            ++pauses;
        } else {
            grabber.QueueBuffer(result.handle, result.context);
        }
    }
}

void acquire(V4lX::StreamGrabber& grabber, CaptureNode& node)
{
    constexpr std::uint32_t kFormats[] = {Pfnc::YUV422_8_UYVY, Pfnc::YUV422_8,
                                          Pfnc::YCbCr420_8_YY_CbCr_Semiplanar, 0};
    const std::uint32_t format = node.withInput([&](auto& input) { return input.pick(kFormats); });
    const std::size_t pixels = kWidth * kHeight;
    grabber.SetPixelFormat(format);
    grabber.SetPayloadSize(format == Pfnc::YCbCr420_8_YY_CbCr_Semiplanar ? pixels * 3 / 2
                                                                         : pixels * 2);
    if (grabber.prepareCapturing() != Result::Success)
        return;
    if (grabber.startCapturing() == Result::Success)
        takeFrames(grabber, node);
    grabber.finishCapturing();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    fuzz::Bytes input(data, size);
    CaptureNode node(input);
    std::vector<std::vector<std::uint8_t>> memory;
    V4lX::StreamGrabber grabber("/dev/null", std::make_shared<V4lX::AP1302ImageProcessing>(),
                                [&](const std::string& path) {
                                    return std::make_unique<V4L2::VideoDevice>(path, node.calls());
                                });
    grabber.SetWidth(kWidth);
    grabber.SetHeight(kHeight);
    for (int i = 0; i < 3; ++i) {
        memory.emplace_back(input.isOneIn(8) ? input.byte() : kWidth * kHeight * 2);
        std::uint64_t handle = 0;
        grabber.RegisterBuffer(memory.back().data(), memory.back().size(), &handle);
        grabber.QueueBuffer(handle, 0);
    }
    for (int round = 0; round < 2; ++round) {
        if (grabber.Open() == Result::Success)
            acquire(grabber, node);
        grabber.Close();
    }
    return 0;
}
