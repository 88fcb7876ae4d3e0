// The data stream of a camera: GenTL buffers on one side, the grabber on the other.
#pragma once

#include <atomic>

#include "capture/binding/stream_buffer.h"
#include "capture/grabber/istream_grabber.h"
#include "modules/generic/default_stream.h"

namespace GenTLProducer
{

/// Turns buffers into grabber handles, grab results into buffer infos, and the grabber's results
/// into GenTL errors. Must be held by a boost::shared_ptr.
class Stream final : public CDefaultStream, public V4lX::IStreamGrabber::IBufferAvailable
{
public:
    /// Grabber and port stay the device's, which outlives its open streams. Without either, Open
    /// fails.
    Stream(InfoPtr streamInfo, Handle parent, V4lX::IStreamGrabber* grabber,
           const IPort* remotePort);
    ~Stream() override;

    GC_ERROR Open() override;
    void Close() override;

    /// Rings the wake pipe and nothing else: it comes from the capture thread.
    void OnBufferAvailable() noexcept override;

    bool OnRegisterRead(std::uint64_t address, std::uint32_t* pUiRegisterData,
                        std::size_t uiRegisterDataSize) override;

private:
    enum class State : std::int32_t {
        Closed = 0,
        New = 1,      ///< never prepared
        Idle = 2,     ///< behind an acquisition
        Prepared = 3, ///< the grabber holds kernel buffers and accepts user buffers
        Capturing = 4,
    };

    void CreatePortInfo() override;
    BufferPtr LowLevelCreateBuffer(std::size_t index) override;
    GC_ERROR LowLevelPrepareCapture() override;
    GC_ERROR LowLevelFlushToFill(QueueId destination) override;
    GC_ERROR LowLevelUnprepare() override;
    GC_ERROR LowLevelStartCapture() override;
    GC_ERROR LowLevelStopCapture() override;
    GC_ERROR LowLevelRegisterBuffer(CDefaultStreamBuffer& buffer) override;
    GC_ERROR LowLevelDeregisterBuffer(CDefaultStreamBuffer& buffer) override;
    GC_ERROR LowLevelQueueBuffer(CDefaultStreamBuffer& buffer) override;
    PipeEvent* LowLevelGetWakePipe() override { return wakePipe_.get(); }
    GC_ERROR LowLevelUpdateQueues() override;
    std::size_t LowLevelGetPayloadSize() override { return grabber_->GetPayloadSize(); }

    /// Ends a capture that the grabber holds prepared. A failure is stored, and that is all.
    void FinishCapturing();
    /// Moves what the grabber has finished from to-fill to that queue.
    GC_ERROR FetchResults(QueueId destination);
    void Deliver(const V4lX::GrabResult& result, StreamQueue& destination);
    CDefaultStreamBuffer* FindToFill(std::uint64_t grabberHandle) const;
    void ForgetBuffers();
    void TraceQueues(const char* title) const;

    std::atomic<State> state_{State::New};
    V4lX::IStreamGrabber* const grabber_;
    const IPort* const remotePort_;
    std::unique_ptr<PipeEvent> wakePipe_; ///< readable when grab results may be waiting
};

} // namespace GenTLProducer
