// The CSI link as a capture node sees it.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>

#include "sim/core/picture_setup.h"

namespace zevo_sim
{

/// A frame that the ISP has put on the link.
struct SentFrame {
    std::uint64_t number; ///< counts the frames of the camera, from 1
    std::shared_ptr<const PictureSetup> setup;
};

/// Any thread.
class FrameSource
{
public:
    virtual ~FrameSource() = default;

    /// A call of SendFrame() would give a frame.
    virtual bool CanSend() const = 0;
    /// The next frame, if the ISP sends one now.
    virtual std::optional<SentFrame> SendFrame() = 0;
    /// Frames per second that the ISP sends.
    virtual double FrameRate() const = 0;
    /// Called when CanSend() or FrameRate() may have changed, on the thread that changed it and
    /// without a lock of the source. One listener, empty for none.
    virtual void SetStreamListener(std::function<void()> listener) = 0;
};

} // namespace zevo_sim
