// An open camera with its features.
#pragma once

#include <string>
#include <vector>

#include "genapi/description.h"
#include "genapi/feature_map.h"
#include "inventory/inventory.h"

namespace zevo_tool
{

/// Opening a camera sends it its defaults, so settings last as long as this object. One thread.
class Camera final
{
public:
    /// Failure when there is no such camera or it can't be opened. `selector` as for
    /// Inventory::Find; an empty list of files stands for the producers of the environment.
    Camera(const std::vector<std::string>& producerFiles, const std::string& selector);

    const Inventory& Found() const { return inventory_; }
    const CameraEntry& Entry() const { return entry_; }
    const Device& Module() const { return device_; }
    const std::string& Description() const { return description_; }
    const FeatureMap& Features() const { return features_; }

private:
    Inventory inventory_;
    const CameraEntry& entry_;
    Device device_;
    GenTLPort port_;
    std::string description_;
    FeatureMap features_;
};

} // namespace zevo_tool
