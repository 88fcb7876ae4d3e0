#include "capture/grabber/capture_node.h"

#include <algorithm>
#include <cerrno>
#include <cstring>

#include <sys/stat.h>

#include "capture/grabber/pixel_format_table.h"
#include "trace/v4lx_trace.h"
#include "v4l2/error.h"

namespace V4lX
{

namespace
{

constexpr std::size_t kFewestBuffers = 2;

// Runs a call on the device; a failure is traced and gives false.
template <typename Call>
bool succeeds(Call call)
{
    try {
        call();
        return true;
    } catch (const V4L2::Error& error) {
        V4LX_TRACE(kTraceError, "%s", error.what());
        return false;
    }
}

// The names of pix that both forms share stand in the same place; these two don't.
struct PlaneSize {
    std::uint32_t bytesPerLine;
    std::uint32_t sizeImage;
};

PlaneSize sizeOf(const v4l2_format& format)
{
    if (format.type != V4L2_BUF_TYPE_VIDEO_CAPTURE_MPLANE)
        return {format.fmt.pix.bytesperline, format.fmt.pix.sizeimage};
    const v4l2_plane_pix_format& plane = format.fmt.pix_mp.plane_fmt[0];
    return {plane.bytesperline, plane.sizeimage};
}

void askFor(v4l2_format& format, const ImageRequest& request, std::uint32_t fourcc)
{
    format.fmt.pix.width = request.width;
    format.fmt.pix.height = request.height;
    format.fmt.pix.pixelformat = fourcc;
    format.fmt.pix.field = V4L2_FIELD_NONE;
    format.fmt.pix.bytesperline = 0;
    format.fmt.pix.sizeimage = 0;
    if (format.type == V4L2_BUF_TYPE_VIDEO_CAPTURE_MPLANE) {
        format.fmt.pix_mp.plane_fmt[0].bytesperline = 0;
        format.fmt.pix_mp.plane_fmt[0].sizeimage = 0;
        format.fmt.pix_mp.num_planes = 1;
    }
}

bool isAsAsked(const v4l2_format& format, const ImageRequest& request)
{
    const std::uint32_t width = format.fmt.pix.width;
    const std::uint32_t height = format.fmt.pix.height;
    const PlaneSize size = sizeOf(format);
    if (width == request.width && height == request.height &&
        size.sizeImage == request.payloadSize) {
        V4LX_TRACE(kTraceDetail, "Width=%u Height=%u Size=%u", width, height, size.sizeImage);
        return true;
    }
    V4LX_TRACE(kTraceError, "Width=%u (exp=%u) Height=%u (exp=%u) Bytesperline=%u Size=%u (exp=%u)",
               width, request.width, height, request.height, size.bytesPerLine, size.sizeImage,
               static_cast<unsigned>(request.payloadSize));
    return false;
}

} // namespace

std::unique_ptr<V4L2::IVideoDevice> CaptureNode::OpenDevice(const std::string& path,
                                                            const DeviceFactory& makeDevice)
{
    struct stat status {
    };
    if (::stat(path.c_str(), &status) != 0) {
        const int error = errno;
        V4LX_TRACE(kTraceError, "There is no %s device. (%d %s)", path.c_str(), error,
                   std::generic_category().message(error).c_str());
        return nullptr;
    }
    if (!S_ISCHR(status.st_mode)) {
        V4LX_TRACE(kTraceError, "Device %s is not a valid character device", path.c_str());
        return nullptr;
    }
    std::unique_ptr<V4L2::IVideoDevice> device;
    succeeds([&] { device = makeDevice(path); });
    return device;
}

void CaptureNode::Adopt(std::unique_ptr<V4L2::IVideoDevice> device) noexcept
{
    Close();
    m_device = std::move(device);
}

void CaptureNode::Close() noexcept
{
    ReleaseBuffers();
    m_device.reset();
}

bool CaptureNode::SetImage(const ImageRequest& request)
{
    v4l2_format format{};
    if (!succeeds([&] { format = m_device->GetFormat(); }))
        return false;
    const auto fourcc = FindFourcc(request.pixelFormat);
    if (!fourcc) {
        V4LX_TRACE(kTraceError, "Failed, didn't get correct pixelformat.");
        return false;
    }
    askFor(format, request, *fourcc);
    return setFormat(format) && isAsAsked(format, request);
}

bool CaptureNode::setFormat(v4l2_format& format)
{
    return succeeds([&] {
        v4l2_format attempt = format;
        try {
            m_device->SetFormat(attempt);
        } catch (const V4L2::Error& error) {
            if (error.code().value() != EBUSY)
                throw;
            V4LX_TRACE(kTraceNotice, "Can't set capture image format while stream is still on --> "
                                     "stopping stream now");
            V4LX_TRACE(kTraceDetail, "%s: VIDIOC_STREAMOFF", "PrepareLowLevelCaptureEngine");
            m_device->StreamOff();
            attempt = format;
            m_device->SetFormat(attempt);
        }
        format = attempt;
    });
}

bool CaptureNode::AllocateBuffers(std::uint32_t count)
{
    if (!succeeds([&] { m_deviceBuffers = m_device->RequestBuffers(count); }))
        return false;
    m_buffersReady = true;
    if (hasUsableBuffers())
        return true;
    ReleaseBuffers();
    return false;
}

bool CaptureNode::hasUsableBuffers() const
{
    if (m_deviceBuffers.size() < kFewestBuffers) {
        V4LX_TRACE(kTraceError, "Insufficient buffer memory. Could require only %d buffers.",
                   static_cast<int>(m_deviceBuffers.size()));
        return false;
    }
    const bool hasSeveralPlanes =
        std::any_of(m_deviceBuffers.begin(), m_deviceBuffers.end(),
                    [](const auto& buffer) { return buffer->planes.size() > 1; });
    if (hasSeveralPlanes)
        V4LX_TRACE(kTraceError, "Got buffer with more than one plane. Not supported.");
    return !hasSeveralPlanes;
}

void CaptureNode::ReleaseBuffers() noexcept
{
    if (!m_buffersReady)
        return;
    m_buffersReady = false;
    m_deviceBuffers.clear();
    try {
        m_device->RequestBuffers(0);
    } catch (const std::exception& error) {
        V4LX_TRACE(kTraceError, "Failed to issue VIDIOC_REQBUF (count = 0): %s", error.what());
    }
}

bool CaptureNode::QueueAllBuffers()
{
    return succeeds([&] {
        for (const auto& buffer : m_deviceBuffers)
            m_device->QueueBuffer(*buffer);
    });
}

bool CaptureNode::StreamOn(const char* caller)
{
    V4LX_TRACE(kTraceDetail, "%s: VIDIOC_STREAMON", caller);
    return succeeds([&] { m_device->StreamOn(); });
}

bool CaptureNode::StreamOff(const char* caller) noexcept
{
    V4LX_TRACE(kTraceDetail, "%s: VIDIOC_STREAMOFF", caller);
    try {
        m_device->StreamOff();
        return true;
    } catch (const std::exception& error) {
        V4LX_TRACE(kTraceError, "%s", error.what());
        return false;
    }
}

} // namespace V4lX
