// Frames of a camera into the buffers of its capture node.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "sim/core/capture_format.h"
#include "sim/core/frame_source.h"
#include "sim/core/monitor.h"
#include "sim/core/picture_look.h"
#include "sim/core/scene.h"

namespace zevo_sim
{

/// The scene, made when the first frame needs it and shared by all cameras of a board. Any thread.
class SceneStore final
{
public:
    /// Empty for the test chart. A file that can't be read is told on standard error and
    /// replaced by the chart.
    explicit SceneStore(std::string rawFile) : rawFile_(std::move(rawFile)) {}

    const Scene& Get();

private:
    std::string rawFile_;
    Monitor monitor_;
    std::unique_ptr<const Scene> scene_;
};

/// Keeps the picture of the last set-up, so that a frame costs its number and a copy. One thread
/// at a time.
class FramePainter final
{
public:
    /// The name is drawn beside the number.
    FramePainter(SceneStore& scenes, std::string name) : scenes_(scenes), name_(std::move(name)) {}

    /// Fills a buffer of the format, which has to receive the frame's set-up. False if picture
    /// and format differ in size: then the lines run on as they come in.
    bool Paint(unsigned char* buffer, const CaptureFormat& format, const SentFrame& frame);

private:
    const Scene& SceneOf(const PictureLook& look);

    SceneStore& scenes_;
    const std::string name_;
    std::optional<Scene> pattern_; ///< kept while it is shown
    PatternChoice patternChoice_;
    std::shared_ptr<const PictureSetup> setup_;
    FrameLayout layout_ = FrameLayout::Uyvy;
    std::vector<std::uint8_t> picture_;
};

} // namespace zevo_sim
