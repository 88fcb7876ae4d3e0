// The grabber's hold on its capture node: format, kernel buffers, stream.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "v4l2/ivideo_device.h"

namespace V4lX
{

/// The image that the capture node is to deliver.
struct ImageRequest {
    std::uint32_t width;
    std::uint32_t height;
    std::uint32_t pixelFormat; ///< PFNC value
    std::size_t payloadSize;   ///< bytes
};

/// Operations that can fail give false then, with the words in the trace. V4L2::Error doesn't
/// come through, failing allocations do. The owner serialises the calls.
class CaptureNode final
{
public:
    using DeviceFactory =
        std::function<std::unique_ptr<V4L2::IVideoDevice>(const std::string& path)>;

    CaptureNode() = default;
    CaptureNode(const CaptureNode&) = delete;
    CaptureNode& operator=(const CaptureNode&) = delete;
    ~CaptureNode() { Close(); }

    /// Null on failure. An open node isn't touched: that is what Adopt is for.
    static std::unique_ptr<V4L2::IVideoDevice> OpenDevice(const std::string& path,
                                                          const DeviceFactory& makeDevice);
    void Adopt(std::unique_ptr<V4L2::IVideoDevice> device) noexcept;
    void Close() noexcept;
    bool IsOpen() const noexcept { return m_device != nullptr; }

    bool SetImage(const ImageRequest& request);
    /// Kernel buffers by memory mapping; at least two. What can't be used is given back.
    bool AllocateBuffers(std::uint32_t count);
    void ReleaseBuffers() noexcept;
    bool QueueAllBuffers();
    bool StreamOn(const char* caller);
    bool StreamOff(const char* caller) noexcept;

    /// Only while the node is open.
    V4L2::IVideoDevice& GetDevice() const noexcept { return *m_device; }

private:
    bool setFormat(v4l2_format& format);
    bool hasUsableBuffers() const;

    std::unique_ptr<V4L2::IVideoDevice> m_device;
    std::vector<std::unique_ptr<V4L2::Buffer>> m_deviceBuffers; ///< gone before the device is
    bool m_buffersReady = false;
};

} // namespace V4lX
