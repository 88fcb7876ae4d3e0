#include "sim/core/renderer.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>

namespace zevo_sim
{

namespace
{

constexpr unsigned kMaxSize = 8192;
constexpr int kPhases = 4;

/// Where an output pixel takes its two neighbours on one axis.
struct Tap {
    int first;  ///< -1 outside the sensor
    int second; ///< the same as first at the last pixel
    int phase;  ///< quarters of the way from first to second
};

/// Output size and region, in 1/16384 of the sensor, of one axis.
std::vector<Tap> MakeTaps(unsigned size, int roi0, int roi1, unsigned sensor)
{
    std::vector<Tap> taps(size);
    const double start = roi0 / 16384.0 * sensor;
    const double step = (roi1 - roi0) / 16384.0 * sensor / size;
    const int last = static_cast<int>(sensor) - 1;
    for (unsigned i = 0; i < size; ++i) {
        const double centre = start + (i + 0.5) * step - 0.5;
        const int quarters = static_cast<int>(std::floor(centre * kPhases + 0.5));
        const int index =
            quarters >= 0 ? quarters / kPhases : -((kPhases - 1 - quarters) / kPhases);
        Tap& tap = taps[i];
        tap = {index, index + 1, quarters - index * kPhases};
        if (index == -1)
            tap = {0, 0, 0};
        else if (index == last)
            tap.second = last;
        else if (index < -1 || index > last)
            tap = {-1, -1, 0};
    }
    return taps;
}

std::uint8_t Blend(int a, int b, int phase)
{
    return static_cast<std::uint8_t>((a * (kPhases - phase) + b * phase + kPhases / 2) / kPhases);
}

/// Cuts rows of RGB pixels out of the scene.
class Scaler
{
public:
    Scaler(const Scene& scene, const PictureSetup& setup)
        : scene_(scene), columns_(MakeTaps(setup.width, setup.roiX0, setup.roiX1, kSensorPixelsX)),
          rows_(MakeTaps(setup.height, setup.roiY0, setup.roiY1, kSensorPixelsY)),
          blended_(Scene::kRowBytes), isPlainCopy_(true)
    {
        for (std::size_t i = 0; i < columns_.size(); ++i)
            isPlainCopy_ = isPlainCopy_ && columns_[i].first >= 0 && columns_[i].phase == 0 &&
                           columns_[i].first == columns_[0].first + static_cast<int>(i);
    }

    void Row(unsigned y, std::uint8_t* rgb)
    {
        const Tap& tap = rows_[y];
        if (tap.first < 0) {
            std::memset(rgb, 0, columns_.size() * 3);
            return;
        }
        const std::uint8_t* source = scene_.Row(static_cast<unsigned>(tap.first));
        if (tap.phase != 0) {
            const std::uint8_t* below = scene_.Row(static_cast<unsigned>(tap.second));
            for (std::size_t i = 0; i < blended_.size(); ++i)
                blended_[i] = Blend(source[i], below[i], tap.phase);
            source = blended_.data();
        }
        if (isPlainCopy_) {
            std::memcpy(rgb, source + std::size_t{3} * static_cast<unsigned>(columns_[0].first),
                        columns_.size() * 3);
            return;
        }
        for (const Tap& column : columns_) {
            for (int channel = 0; channel < 3; ++channel)
                *rgb++ = column.first < 0
                             ? std::uint8_t{0}
                             : Blend(source[column.first * 3 + channel],
                                     source[column.second * 3 + channel], column.phase);
        }
    }

private:
    const Scene& scene_;
    std::vector<Tap> columns_;
    std::vector<Tap> rows_;
    std::vector<std::uint8_t> blended_;
    bool isPlainCopy_;
};

/// Finished rows of the picture, from the top down. A row stays until the next but one is asked
/// for.
class RowSource
{
public:
    RowSource(const Scene& scene, const PictureSetup& setup)
        : scaler_(scene, setup), colours_(setup.look), width_(setup.width), height_(setup.height),
          rgb_(width_ * 3)
    {
        for (auto& row : coloured_)
            row.resize(width_);
        if (colours_.IsSharpening())
            for (auto& row : sharpened_)
                row.resize(width_);
    }

    const Yuv* Row(unsigned y)
    {
        if (!colours_.IsSharpening())
            return Coloured(y);
        const Yuv* above = Coloured(y == 0 ? 0 : y - 1);
        const Yuv* row = Coloured(y);
        const Yuv* below = Coloured(std::min(y + 1, height_ - 1));
        Yuv* target = sharpened_[y % sharpened_.size()].data();
        colours_.Sharpen(above, row, below, width_, target);
        return target;
    }

private:
    const Yuv* Coloured(unsigned y)
    {
        for (; next_ <= y; ++next_) {
            scaler_.Row(next_, rgb_.data());
            colours_.Row(rgb_.data(), width_, coloured_[next_ % coloured_.size()].data());
        }
        return coloured_[y % coloured_.size()].data();
    }

    Scaler scaler_;
    const ColourStage colours_;
    const std::size_t width_;
    const unsigned height_;
    unsigned next_ = 0;
    std::vector<std::uint8_t> rgb_;
    std::array<std::vector<Yuv>, 4> coloured_;
    std::array<std::vector<Yuv>, 2> sharpened_;
};

std::uint8_t Mean(int a, int b)
{
    return static_cast<std::uint8_t>((a + b + 1) / 2);
}

void Pack422(const Yuv* row, std::size_t pixels, FrameLayout layout, std::uint8_t* target)
{
    const std::size_t luma = layout == FrameLayout::Yuyv ? 0 : 1;
    for (std::size_t i = 0; i < pixels; i += 2, target += 4) {
        target[luma] = row[i].y;
        target[luma + 2] = row[i + 1].y;
        target[1 - luma] = Mean(row[i].cb, row[i + 1].cb);
        target[3 - luma] = Mean(row[i].cr, row[i + 1].cr);
    }
}

void PackLinePair(const Yuv* even, const Yuv* odd, std::size_t pixels, std::uint8_t* target)
{
    for (std::size_t i = 0; i < pixels; ++i)
        *target++ = even[i].y;
    for (std::size_t i = 0; i < pixels; i += 2) {
        *target++ = Mean(Mean(even[i].cb, even[i + 1].cb), Mean(odd[i].cb, odd[i + 1].cb));
        *target++ = odd[i].y;
        *target++ = Mean(Mean(even[i].cr, even[i + 1].cr), Mean(odd[i].cr, odd[i + 1].cr));
        *target++ = odd[i + 1].y;
    }
}

bool IsUsable(unsigned size)
{
    return size != 0 && size % 2 == 0 && size <= kMaxSize;
}

} // namespace

std::optional<FrameLayout> SentLayout(std::uint16_t outputFormat, FrameLayout nodes422)
{
    if (outputFormat == static_cast<std::uint16_t>(OutputFormat::Yuv422))
        return nodes422;
    if (outputFormat == static_cast<std::uint16_t>(OutputFormat::Yuv420LineInterleaved))
        return FrameLayout::LineInterleaved420;
    return std::nullopt;
}

bool IsRenderable(const PictureSetup& setup)
{
    return IsUsable(setup.width) && IsUsable(setup.height);
}

std::vector<std::uint8_t> Render(const Scene& scene, const PictureSetup& setup, FrameLayout layout)
{
    if (!IsRenderable(setup))
        return {};
    const std::size_t width = setup.width;
    std::vector<std::uint8_t> frame(FrameSize(layout, setup.width, setup.height));
    RowSource rows(scene, setup);
    std::uint8_t* target = frame.data();
    const std::size_t pairBytes = FrameSize(layout, setup.width, 2);
    for (unsigned y = 0; y < setup.height; y += 2, target += pairBytes) {
        const Yuv* even = rows.Row(y);
        const Yuv* odd = rows.Row(y + 1);
        if (layout == FrameLayout::LineInterleaved420) {
            PackLinePair(even, odd, width, target);
        } else {
            Pack422(even, width, layout, target);
            Pack422(odd, width, layout, target + width * 2);
        }
    }
    return frame;
}

} // namespace zevo_sim
