// One kernel buffer of a video node.
#pragma once

#include <cstdint>
#include <vector>

#include "v4l2/mapped_region.h"

namespace V4L2
{

/// Made by IVideoDevice::RequestBuffers, owned by its caller. Dropping it unmaps its memory, so
/// it must go before the device does. The device fills it again at every dequeue.
struct Buffer {
    struct Plane {
        std::uint64_t length;    ///< bytes mapped at address
        void* address;           ///< read and write
        std::uint64_t bytesUsed; ///< as the driver told at the last dequeue, unchecked
    };

    std::vector<Plane> planes;
    std::vector<MappedRegion> mappedRegions; ///< the memory behind the planes
    std::uint32_t index = 0;
    std::uint32_t sequence = 0;  ///< the driver's frame count
    bool valid = false;          ///< the driver didn't mark the frame as damaged
    std::uint64_t timestamp = 0; ///< nanoseconds
};

} // namespace V4L2
