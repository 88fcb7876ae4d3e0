// Sub-device nodes of a media graph: the camera driver's own, and the silent ones of the chain.
#pragma once

#include <atomic>
#include <mutex>
#include <vector>

#include "sim/core/camera.h"
#include "sim/core/device_node.h"

namespace zevo_sim
{

class SubDeviceNode final : public DeviceNode
{
public:
    /// Null for a sub-device that knows no request. The camera must outlive the node.
    SubDeviceNode(NodeIdentity identity, Camera* camera)
        : DeviceNode(std::move(identity)), camera_(camera)
    {
    }

    bool IsUnplugged() const override { return isUnplugged_; }
    void Opened(OpenFile& file) override;
    void Released(OpenFile& file) override;
    int Ioctl(OpenFile& file, int fd, unsigned long request, void* argument) override;
    short Poll(OpenFile& file, int fd, short events) override;

    void Unplug();

private:
    Camera* const camera_;
    std::atomic<bool> isUnplugged_{false};
    std::mutex mutex_;
    std::vector<OpenFile*> files_;
};

} // namespace zevo_sim
