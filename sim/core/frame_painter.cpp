#include "sim/core/frame_painter.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <mutex>
#include <system_error>

#include "sim/core/frame_counter.h"
#include "sim/core/renderer.h"
#include "sim/core/test_pattern.h"

namespace zevo_sim
{

const Scene& SceneStore::Get()
{
    const std::lock_guard lock(monitor_);
    if (scene_)
        return *scene_;
    if (!rawFile_.empty()) {
        try {
            scene_ = std::make_unique<const Scene>(Scene::FromRawFile(rawFile_));
            return *scene_;
        } catch (const std::system_error& error) {
            std::fprintf(stderr, "zevo-board: can't use the scene: %s\n", error.what());
        }
    }
    scene_ = std::make_unique<const Scene>(Scene::TestChart());
    return *scene_;
}

const Scene& FramePainter::SceneOf(const PictureLook& look)
{
    if (!look.pattern) {
        pattern_.reset();
        return scenes_.Get();
    }
    if (!pattern_ || patternChoice_ != *look.pattern) {
        pattern_.emplace(MakeTestPattern(*look.pattern));
        patternChoice_ = *look.pattern;
    }
    return *pattern_;
}

bool FramePainter::Paint(unsigned char* buffer, const CaptureFormat& format, const SentFrame& frame)
{
    const PictureSetup& setup = *frame.setup;
    const FrameLayout layout = format.pixels->layout;
    if (setup_ != frame.setup || layout_ != layout) {
        picture_ = Render(SceneOf(setup.look), setup, layout);
        DrawCounterGround(picture_.data(), layout, setup.width, setup.height, name_);
        setup_ = frame.setup;
        layout_ = layout;
    }
    DrawCounter(picture_.data(), layout, setup.width, setup.height, frame.number);

    const bool isRight = setup.width == format.width && setup.height == format.height;
    if (!isRight || format.Size() == picture_.size()) {
        std::memcpy(buffer, picture_.data(), std::min(picture_.size(), format.Size()));
        return isRight;
    }
    const std::size_t line = std::size_t{format.width} * 2;
    for (std::size_t y = 0; y < format.height; ++y)
        std::memcpy(buffer + y * format.BytesPerLine(), picture_.data() + y * line, line);
    return true;
}

} // namespace zevo_sim
