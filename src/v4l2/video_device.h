// The kernel's side of a capture node: the only code that speaks V4L2.
#pragma once

#include "v4l2/ivideo_device.h"
#include "v4l2/system_calls.h"

namespace V4L2
{

class VideoDevice final : public IVideoDevice
{
public:
    /// Opens the node, non-blocking. V4L2::Error if that fails or the node can't capture by
    /// streaming; the descriptor is closed then.
    explicit VideoDevice(std::string path);
    VideoDevice(std::string path, SystemCalls calls);
    VideoDevice(const VideoDevice&) = delete;
    VideoDevice& operator=(const VideoDevice&) = delete;
    ~VideoDevice() override;

    const std::uint32_t& GetCapabilities() const override { return capabilities_; }
    const std::string& GetDriverName() const override { return driverName_; }
    std::vector<std::unique_ptr<Buffer>> RequestBuffers(std::uint32_t count) override;
    void StreamOn() override;
    void StreamOff() override;
    v4l2_format GetFormat() override;
    void SetFormat(v4l2_format& format) override;
    std::optional<std::uint32_t> FindControl(std::string_view name) override;
    void SetControl(std::uint32_t id, std::int32_t value) override;
    void QueueBuffer(Buffer& buffer) override;
    Buffer* DequeueBuffer() override;
    int GetFileDescriptor() const override { return fd_; }

private:
    void queryCapabilities();
    void checkCapabilities() const;
    bool isMultiPlanar() const noexcept;
    std::uint32_t requestKernelBuffers(std::uint32_t count);
    std::unique_ptr<Buffer> queryAndMap(std::uint32_t index);
    MappedRegion MapMemoryRegion(std::size_t length, off_t offset);

    SystemCalls calls_;
    std::string path_;
    int fd_ = -1;
    std::uint32_t capabilities_ = 0;
    std::string driverName_;
    std::uint32_t bufferType_ = 0;
    std::vector<Buffer*> queuedBuffers_; ///< by kernel index; null unless with the driver
};

} // namespace V4L2
