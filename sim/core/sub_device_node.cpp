#include "sim/core/sub_device_node.h"

#include <algorithm>
#include <cerrno>

namespace zevo_sim
{

/// A sub-device without events is always ready, by POLLERR.
void SubDeviceNode::Opened(OpenFile& file)
{
    const std::lock_guard lock(mutex_);
    files_.push_back(&file);
    file.Show(true);
}

void SubDeviceNode::Released(OpenFile& file)
{
    const std::lock_guard lock(mutex_);
    files_.erase(std::remove(files_.begin(), files_.end(), &file), files_.end());
}

int SubDeviceNode::Ioctl(OpenFile& /*file*/, int /*fd*/, unsigned long request, void* argument)
{
    if (isUnplugged_)
        return -ENODEV;
    return camera_ ? camera_->Ioctl(request, argument) : -ENOTTY;
}

short SubDeviceNode::Poll(OpenFile& /*file*/, int /*fd*/, short events)
{
    const short gone = POLLPRI | POLLERR | POLLHUP;
    return static_cast<short>((isUnplugged_ ? gone : short{POLLERR}) &
                              (events | POLLERR | POLLHUP));
}

void SubDeviceNode::Unplug()
{
    const std::lock_guard lock(mutex_);
    isUnplugged_ = true;
    for (OpenFile* file : files_)
        file->HangUp();
}

} // namespace zevo_sim
