// A running acquisition: buffers announced, stream and camera started.
#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "genapi/feature_map.h"
#include "grab/statistics.h"
#include "image/picture.h"
#include "producer/modules.h"
#include "producer/port.h"

namespace zevo_tool
{

/// A delivered frame; its data belongs to the acquisition until the frame is given back.
struct Frame {
    BUFFER_HANDLE buffer;
    bool isIncomplete;
    std::optional<Nanoseconds> timestamp;
    RawImage image;
};

/// Streams from a device from construction to Stop(), or to the destructor, which stops without
/// a word. One thread. GenTLFailure from every operation.
class Acquisition final
{
public:
    /// `camera` are the features of the device's remote port.
    Acquisition(const Device& device, const FeatureMap& camera, std::size_t buffers);
    ~Acquisition();
    Acquisition(const Acquisition&) = delete;
    Acquisition& operator=(const Acquisition&) = delete;

    /// The next frame, or nothing when none has come in time.
    std::optional<Frame> Next(std::chrono::milliseconds timeout);
    void GiveBack(const Frame& frame);
    void Stop();

    /// Frames that the stream couldn't deliver, counted afresh. Also after Stop().
    std::uint64_t Lost();

private:
    std::size_t PayloadSize() const;
    void Announce(std::size_t buffers);
    void Start();
    void Release() noexcept;
    void SetLocked(bool isLocked) const;
    Frame Describe(BUFFER_HANDLE buffer) const;

    const Producer& producer_;
    const FeatureMap& camera_;
    Stream stream_;
    GenTLPort streamPort_;
    std::unique_ptr<FeatureMap> streamFeatures_; ///< null when the stream has no description
    EVENT_HANDLE event_ = GENTL_INVALID_HANDLE;
    std::vector<BUFFER_HANDLE> buffers_;
    std::uint64_t tickRate_; ///< of the frames' time stamps, per second
    bool isStreamRunning_ = false;
    bool isCameraRunning_ = false;
};

} // namespace zevo_tool
