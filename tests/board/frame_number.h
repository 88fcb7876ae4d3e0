// The frame number that the simulated camera draws into its pictures.
#pragma once

#include <cstdint>
#include <optional>

#include "base/pfnc.h"
#include "camera.h"
#include "sim/core/frame_counter.h"
#include "sim/core/frame_layout.h"

inline zevo_sim::FrameLayout layoutOf(uint64_t pixelFormat)
{
    switch (pixelFormat) {
    case GenTLProducer::Pfnc::YUV422_8_UYVY:
        return zevo_sim::FrameLayout::Uyvy;
    case GenTLProducer::Pfnc::YUV422_8:
        return zevo_sim::FrameLayout::Yuyv;
    default:
        return zevo_sim::FrameLayout::Semiplanar420;
    }
}

/// The number drawn into a frame, if it says the same at the top and at the bottom.
inline std::optional<uint32_t> numberIn(const Streaming& camera, BUFFER_HANDLE buffer)
{
    const auto width = static_cast<unsigned>(camera.info(buffer, BUFFER_INFO_WIDTH));
    const auto height = static_cast<unsigned>(camera.info(buffer, BUFFER_INFO_HEIGHT));
    const zevo_sim::FrameLayout layout = layoutOf(camera.info(buffer, BUFFER_INFO_PIXELFORMAT));
    const auto read = [&](zevo_sim::CounterPlace place) {
        return zevo_sim::ReadCounter(camera.data(buffer), layout, width, height, place);
    };
    const auto top = read(zevo_sim::CounterPlace::Top);
    return top == read(zevo_sim::CounterPlace::Bottom) ? top : std::nullopt;
}
