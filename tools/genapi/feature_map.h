// All features of a port, by name.
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "genapi/feature.h"
#include "genapi/port_device.h"

namespace zevo_tool
{

/// The features that a description defines on a port. One thread at a time; the port has to
/// outlive the map, and the map its features.
class FeatureMap final
{
public:
    /// Failure for a text that isn't a description.
    FeatureMap(Port& port, const std::string& description);

    /// Failure for an unknown name, with the nearest known one.
    Feature Find(const std::string& name) const;
    std::optional<Feature> TryFind(const std::string& name) const;
    /// The topmost category.
    Feature Root() const;
    /// Everything below the root in the order of the categories, these included; what stands in
    /// several categories comes several times.
    void Walk(const std::function<void(const Feature&, int depth)>& visit) const;
    /// The names of all features but categories, each once.
    std::vector<std::string> Names() const;

private:
    std::unique_ptr<ArvDevice, ReleaseObject> device_;
    std::unique_ptr<ArvGc, ReleaseObject> nodes_;
};

} // namespace zevo_tool
