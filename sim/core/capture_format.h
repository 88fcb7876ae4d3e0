// Pixel format and size of a capture node.
#pragma once

#include <cstddef>

#include "base/span.h"
#include "sim/core/board_table.h"
#include "sim/core/picture_setup.h"

struct v4l2_format;

namespace zevo_sim
{

/// What a node can be set to.
struct FormatLimits {
    GenTLProducer::Span<const NodeFormat> formats;
    unsigned maxWidth;
    unsigned maxHeight;
    unsigned widthStep;
};

struct CaptureFormat {
    const NodeFormat* pixels;
    unsigned width;
    unsigned height;

    /// The nearest that the node takes: a format that it lacks becomes its first, sizes are even.
    static CaptureFormat Nearest(const v4l2_format& wanted, const FormatLimits& limits);

    unsigned BytesPerLine() const;
    /// Bytes of a buffer.
    std::size_t Size() const;
    /// Fills the structure, whose type is set, with one plane where that is multi-planar.
    void Describe(v4l2_format& target) const;
    /// Whether the receiver recognises what the set-up puts on the link as frames of this format.
    bool Receives(const PictureSetup& setup) const;

    static constexpr unsigned kMinSize = 16;
};

} // namespace zevo_sim
