// The boards as data: which nodes they have, under which drivers, with which formats.
#pragma once

#include <cstdint>

#include "base/span.h"
#include "sim/core/frame_layout.h"

namespace zevo_sim
{

/// A format of a capture node.
struct NodeFormat {
    std::uint32_t fourcc;
    const char* description;
    FrameLayout layout;
    /// Bytes to a multiple of which a line is filled up.
    unsigned lineAlignment;
};

/// Step of the chain from the sensor to the memory, as an entity of the media graph.
struct ChainEntity {
    const char* name; ///< "%u" stands for the camera's index
    std::uint32_t function;
    bool hasSubDevice; ///< a sub-device node of its own
};

/// A file of the board with fixed content.
struct BoardFile {
    const char* path;
    const char* content;
};

struct BoardDefinition {
    const char* name;
    const char* description;
    const char* captureDriver;
    const char* captureCard;
    GenTLProducer::Span<const NodeFormat> formats;
    unsigned maxWidth;
    unsigned maxHeight;
    bool isMultiPlanar;      ///< unless the options say otherwise
    bool hasLowLatencyMode;  ///< the control "Low Latency Mode"
    bool hasConnectionFile;  ///< csi_id in the device tree
    const char* mediaDriver; ///< null: one node for both roles, no media graph
    const char* mediaModel;
    bool isGraphShared; ///< one media device for all cameras
    const char* sensorEntity;
    GenTLProducer::Span<const ChainEntity> chain; ///< between sensor and capture entity
    const char* captureEntity;
    GenTLProducer::Span<const BoardFile> files;
};

GenTLProducer::Span<const BoardDefinition> Boards();
/// Null for a name that no board has.
const BoardDefinition* FindBoard(const char* name);

} // namespace zevo_sim
