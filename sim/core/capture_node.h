// A V4L2 capture node: the board's receiver at the end of the CSI link.
#pragma once

#include <atomic>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "sim/core/board_table.h"
#include "sim/core/buffer_queue.h"
#include "sim/core/camera.h"
#include "sim/core/capture_format.h"
#include "sim/core/controls.h"
#include "sim/core/device_node.h"
#include "sim/core/frame_painter.h"
#include "sim/core/frame_source.h"

struct v4l2_buffer;
struct v4l2_format;
struct v4l2_requestbuffers;

namespace zevo_sim
{

/// When frames come.
enum class Pace : std::uint8_t {
    Programmed, ///< at the rate that the ISP is programmed to
    Fixed,      ///< at the rate of the options
    AsTaken,    ///< as soon as a buffer is queued: none is ever missed
    Manual      ///< only by FrameTime()
};

struct CaptureOptions {
    bool isMultiPlanar = false;
    Pace pace = Pace::Programmed;
    double fps = 0; ///< for Pace::Fixed
    unsigned maxWidth = 4096;
    unsigned maxHeight = 4096;
    std::string busInfo;
    std::string cameraName; ///< drawn into the frames
    /// What the driver grants at most.
    unsigned maxBuffers = BufferQueue::kMaximum;
    unsigned widthStep = 2;                ///< widths are cut to a multiple of this
    std::shared_ptr<FaultInjector> faults; ///< null for none
    unsigned index = 0;                    ///< of the camera
};

/// Answers as a driver on the kernel's videobuf2 does.
class CaptureNode final : public DeviceNode
{
public:
    /// `driver` is the camera whose driver answers on this node, too; null where it has a node of
    /// its own. The references must outlive the node.
    CaptureNode(NodeIdentity identity, const BoardDefinition& board, CaptureOptions options,
                FrameSource& source, SceneStore& scenes, Camera* driver);
    ~CaptureNode() override;

    bool IsUnplugged() const override;
    void Opened(OpenFile& file) override;
    void Released(OpenFile& file) override;
    int Ioctl(OpenFile& file, int fd, unsigned long request, void* argument) override;
    long Map(OpenFile& file, void* address, std::size_t length, int protection, int flags,
             long offset) override;
    void Unmapped(const void* address, std::size_t length) override;
    short Poll(OpenFile& file, int fd, short events) override;

    /// One frame of the source, on the caller's thread; what the frame thread does otherwise.
    /// False if the source sends none, or the node doesn't capture.
    bool FrameTime() { return CaptureFrame(); }
    /// The driver finds its hardware broken.
    void GiveUp();
    /// The device is pulled.
    void Unplug();
    bool IsLowLatency() const { return isLowLatency_; }

private:
    int Dispatch(OpenFile& file, unsigned long request, void* argument);
    int QueryCapability(void* argument) const;
    int EnumerateFormats(void* argument) const;
    int EnumerateFrameSizes(void* argument) const;
    int AccessFormat(unsigned long request, v4l2_format& format);
    int RequestBuffers(OpenFile& file, v4l2_requestbuffers& request);
    int QueryBuffer(v4l2_buffer& buffer);
    int QueueBuffer(OpenFile& file, v4l2_buffer& buffer);
    int DequeueBuffer(OpenFile& file, v4l2_buffer& buffer);
    int SwitchStream(OpenFile& file, std::uint32_t type, bool isOn);

    int CheckBuffer(const v4l2_buffer& buffer) const;
    void Describe(std::uint32_t index, v4l2_buffer& target);
    bool IsBusy(const OpenFile& file) const { return owner_ && owner_ != &file; }
    void UpdateReadiness();
    short Readiness() const;

    void StartFrames();
    void StopFrames();
    void RunFrames();
    bool CaptureFrame();
    int WaitForBuffer(int fd);
    Nanoseconds FramePeriod() const;

    const BoardDefinition& board_;
    const CaptureOptions options_;
    FrameSource& source_;
    Camera* const driver_;
    const FormatLimits limits_;
    const std::uint32_t bufferType_;
    ControlList controls_;
    std::atomic<bool> isLowLatency_{false};

    /// Serialises requests; taken before monitor_. Never held while a dequeue waits.
    Monitor requests_;
    /// Guards what follows; taken before the source's lock.
    mutable Monitor monitor_;
    std::vector<OpenFile*> files_;
    const OpenFile* owner_ = nullptr; ///< the file whose program has the buffers
    bool isUnplugged_ = false;
    CaptureFormat format_;
    BufferQueue queue_;
    std::uint32_t sequence_ = 0;
    struct MappedArea {
        const char* start;
        std::size_t length;
        std::weak_ptr<BufferMemory> memory;
        std::uint32_t index;
    };
    std::vector<MappedArea> areas_;
    bool isStopping_ = false; ///< the frame thread is to end
    bool isFilling_ = false;

    std::thread frames_;   ///< guarded by requests_
    FramePainter painter_; ///< used by who captures frames
};

} // namespace zevo_sim
