// What the layers above know of the image grabber.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

namespace V4lX
{

/// Result codes of the grabber.
enum class Result : std::uint32_t {
    Success = 0,
    Failure = 1,         ///< device, format, buffer set-up or thread; the words are in the trace
    NoFrame = 6,         ///< RetrieveBuffer: no finished frame is waiting
    BadArgument = 12,    ///< null out-parameter or unknown buffer handle
    BadState = 13,       ///< not prepared, already prepared, or buffer still queued
    BufferTooSmall = 14, ///< only as a buffer's error: smaller than the payload
    Unfilled = 15,       ///< only as a buffer's error: capturing stopped before it was filled
};

/// Frame ID of a frame that is incomplete and of a buffer that comes back unfilled.
constexpr std::uint64_t kNoFrameId = ~std::uint64_t{0};

/// One finished or returned buffer.
struct GrabResult {
    std::uint64_t frameId;     ///< number in this acquisition, from 1, or kNoFrameId
    std::uint64_t timestamp;   ///< kernel's buffer time in nanoseconds; 0 for a returned buffer
    std::uint32_t pixelFormat; ///< PFNC value in force
    std::uint32_t width;       ///< pixels
    std::uint32_t height;      ///< lines
    std::uint32_t offsetX;
    std::uint32_t offsetY;
    std::uint32_t reserved;
    std::uint64_t size;    ///< bytes of the user buffer
    std::uint64_t handle;  ///< what RegisterBuffer gave
    void* address;         ///< the user buffer
    std::uint64_t context; ///< as given to QueueBuffer
    Result error;          ///< Success, Failure for the kernel's error flag, or Unfilled
    std::uint32_t reservedEnd;
};

/// The grabber of one camera: a capture node, its kernel buffers and the capture thread.
///
/// Setters only store, in any state, and take effect at the next prepareCapturing. Calls run
/// Open, prepareCapturing, startCapturing, finishCapturing, Close; buffers can be registered and
/// queued at any time. The caller runs Open, Close, startCapturing and finishCapturing one at a
/// time; all other operations may come from any thread.
class IStreamGrabber
{
public:
    /// Told about each push to the output queue. Called on the capture thread and on the thread
    /// in finishCapturing, with the grabber's mutex held: it must return at once, take no lock
    /// and not call the grabber.
    class IBufferAvailable
    {
    public:
        virtual void OnBufferAvailable() noexcept = 0;

    protected:
        ~IBufferAvailable() = default;
    };

    virtual ~IStreamGrabber() = default;

    /// Path of the capture node, /dev/videoN.
    virtual std::string GetDevicePath() const = 0;

    virtual void SetWidth(std::uint32_t width) = 0;
    virtual void SetHeight(std::uint32_t height) = 0;
    /// Offsets are told in grab results only: a capture node has no notion of them.
    virtual void SetOffsetX(std::uint32_t offsetX) = 0;
    virtual void SetOffsetY(std::uint32_t offsetY) = 0;
    virtual void SetPixelFormat(std::uint32_t pfncValue) = 0;
    /// Bytes of one image; the capture node's sizeimage must equal it.
    virtual void SetPayloadSize(std::size_t payloadSize) = 0;
    virtual void SetScalingEnable(bool scalingEnable) = 0;

    virtual Result Open() = 0;
    virtual void Close() = 0;
    /// The handler stays the caller's; null for none.
    virtual Result SetBufferAvailable(IBufferAvailable* handler) = 0;
    /// Memory stays the caller's and must live until DeregisterBuffer.
    virtual Result RegisterBuffer(void* address, std::size_t size, std::uint64_t* handle) = 0;
    /// address may be null. BadState for a buffer that was still queued; its handle is gone too.
    /// Returns only when the capture thread doesn't write to the buffer.
    virtual Result DeregisterBuffer(std::uint64_t handle, void** address) = 0;
    /// BadState for a buffer that is queued already or being filled.
    virtual Result QueueBuffer(std::uint64_t handle, std::uint64_t context) = 0;
    /// Takes the oldest grab result; NoFrame, with nothing written, when there is none.
    /// remaining, which may be null, gets the number of results still waiting.
    virtual Result RetrieveBuffer(GrabResult* result, std::size_t* remaining) = 0;
    virtual Result prepareCapturing() = 0;
    virtual Result startCapturing() = 0;
    virtual Result finishCapturing() = 0;
    /// Device open and prepared.
    virtual bool IsPrepared() const = 0;
    /// The last SetPayloadSize.
    virtual std::size_t GetPayloadSize() const = 0;
    /// Frames missing in this acquisition, for any reason.
    virtual std::uint64_t GetLostFrameCount() const = 0;

    /// Takes every user buffer out of the input queue, without a grab result, and returns when
    /// no copy into one is in progress: from then on the capture thread writes to no buffer that
    /// isn't queued anew. Finished results stay in the output queue, that of a copy which was in
    /// progress among them.
    virtual void TakeBackBuffers() = 0;
    /// Payload size of the last successful prepareCapturing; 0 unless prepared.
    virtual std::size_t GetPreparedPayloadSize() const = 0;
};

} // namespace V4lX
