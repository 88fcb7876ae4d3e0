#include "v4l2/media_graph.h"

#include <algorithm>
#include <stdexcept>

#include <linux/media.h>

#include "base/exception.h"

namespace V4L2
{

bool MediaPad::IsSource() const
{
    if ((flags & MEDIA_PAD_FL_SINK) != 0)
        return false;
    if ((flags & MEDIA_PAD_FL_SOURCE) != 0)
        return true;
    throw GenTLProducer::InternalError("Unhandled media pad type");
}

bool MediaEntity::IsCameraSensor() const noexcept
{
    return function == MEDIA_ENT_F_CAM_SENSOR;
}

const MediaEntity& NextEntity(const MediaEntity& entity)
{
    const auto pad = std::find_if(entity.pads.begin(), entity.pads.end(),
                                  [](const MediaPad* candidate) { return candidate->IsSource(); });
    if (pad == entity.pads.end())
        throw std::runtime_error("First source pad not found");
    if ((*pad)->links.empty())
        throw std::runtime_error("pad has invalid link count");
    return *(*pad)->links.front()->sink->entity;
}

} // namespace V4L2
