// A V4L2 capture node.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <linux/videodev2.h>

#include "v4l2/buffer.h"

namespace V4L2
{

/// An open capture node with memory-mapped streaming; single- and multi-planar nodes look alike.
/// Failures throw V4L2::Error. One thread at a time, but for QueueBuffer and DequeueBuffer,
/// which may run on one thread while StreamOff runs on another.
class IVideoDevice
{
public:
    virtual ~IVideoDevice() = default;

    /// The driver's capability word, which also tells what its other nodes can do.
    virtual const std::uint32_t& GetCapabilities() const = 0;
    virtual const std::string& GetDriverName() const = 0;

    /// Asks for kernel buffers and maps those granted, which may be more or fewer. 0 frees the
    /// kernel's buffers; drop the Buffer objects before. After a failure the kernel holds none.
    virtual std::vector<std::unique_ptr<Buffer>> RequestBuffers(std::uint32_t count) = 0;
    virtual void StreamOn() = 0;
    virtual void StreamOff() = 0;
    /// Its type tells whether pix or pix_mp is in use; width, height, pixelformat, field and the
    /// (first plane's) sizeimage can be reached through pix in both.
    virtual v4l2_format GetFormat() = 0;
    /// The driver puts what it made of the format in its place.
    virtual void SetFormat(v4l2_format& format) = 0;
    /// ID of the enabled control with exactly this name.
    virtual std::optional<std::uint32_t> FindControl(std::string_view name) = 0;
    virtual void SetControl(std::uint32_t id, std::int32_t value) = 0;
    /// Gives the buffer to the driver; it must live until it is dequeued or the buffers are
    /// requested anew. std::out_of_range for an index that was not granted.
    virtual void QueueBuffer(Buffer& buffer) = 0;
    /// The next filled buffer, null if there is none. Never blocks. GrabBufferIndexError for an
    /// index that was not granted.
    virtual Buffer* DequeueBuffer() = 0;
    /// What to poll. Stays the device's.
    virtual int GetFileDescriptor() const = 0;
};

} // namespace V4L2
