#include "genapi/feature_map.h"

#include <set>

#include "failure.h"
#include "genapi/nearest_name.h"

namespace zevo_tool
{

namespace
{

using Visit = std::function<void(const Feature&, int)>;

void WalkFrom(const Feature& category, int depth, std::set<std::string>& seen, const Visit& visit)
{
    for (const Feature& feature : category.Children()) {
        const bool isNew = seen.insert(feature.Name()).second;
        visit(feature, depth);
        if (isNew)
            WalkFrom(feature, depth + 1, seen, visit);
    }
}

} // namespace

FeatureMap::FeatureMap(Port& port, const std::string& description) : device_(MakePortDevice(port))
{
    // The library's parser complains aloud of any other document.
    if (description.find("<RegisterDescription") != std::string::npos)
        nodes_.reset(arv_gc_new(device_.get(), description.data(), description.size()));
    if (!nodes_ || !TryFind("Root"))
        throw Failure("the port's description can't be understood");
}

Feature FeatureMap::Find(const std::string& name) const
{
    if (std::optional<Feature> feature = TryFind(name))
        return *feature;
    throw Failure("there is no feature " + name + Suggestion(name, Names()));
}

std::optional<Feature> FeatureMap::TryFind(const std::string& name) const
{
    ArvGcNode* node = arv_gc_get_node(nodes_.get(), name.c_str());
    if (!ARV_IS_GC_FEATURE_NODE(node))
        return std::nullopt;
    return Feature(ARV_GC_FEATURE_NODE(node));
}

Feature FeatureMap::Root() const
{
    return Find("Root");
}

void FeatureMap::Walk(const Visit& visit) const
{
    std::set<std::string> seen;
    WalkFrom(Root(), 0, seen, visit);
}

std::vector<std::string> FeatureMap::Names() const
{
    std::vector<std::string> names;
    std::set<std::string> seen;
    Walk([&](const Feature& feature, int) {
        if (feature.Kind() != FeatureKind::Category && seen.insert(feature.Name()).second)
            names.push_back(feature.Name());
    });
    return names;
}

} // namespace zevo_tool
