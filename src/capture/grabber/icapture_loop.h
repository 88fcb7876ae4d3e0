// What the capture thread runs.
#pragma once

namespace V4lX
{

class ICaptureLoop
{
public:
    virtual ~ICaptureLoop() = default;

    /// Captures until it is told to stop. V4L2::GrabBufferIndexError if the driver hands out
    /// buffers that don't exist.
    virtual void Run() = 0;
};

} // namespace V4lX
