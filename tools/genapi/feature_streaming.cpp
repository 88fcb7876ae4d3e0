#include "genapi/feature_streaming.h"

#include <exception>
#include <map>
#include <optional>
#include <utility>

#include "failure.h"
#include "genapi/value_text.h"

namespace zevo_tool
{

namespace
{

/// A selector with more values than that isn't walked through.
constexpr std::int64_t kMostSelectorValues = 256;

struct Commands {
    const char* start;
    const char* end;
};

constexpr Commands kCommands[] = {
    {"DeviceFeaturePersistenceStart", "DeviceFeaturePersistenceEnd"},
    {"DeviceRegistersStreamingStart", "DeviceRegistersStreamingEnd"},
};

using SelectorNames = std::vector<std::string>;

/// The selectors of each selected feature.
std::map<std::string, SelectorNames> SelectorsByFeature(const FeatureMap& features)
{
    std::map<std::string, SelectorNames> selectors;
    for (const std::string& name : features.Names())
        for (const Feature& selected : features.Find(name).Selected())
            selectors[selected.Name()].push_back(name);
    return selectors;
}

std::vector<std::string> SelectorValues(const Feature& selector)
{
    if (!selector.IsWritable() || selector.IsLocked())
        return {selector.Value()};
    if (selector.Kind() == FeatureKind::Enumeration)
        return selector.Entries();
    return selector.Steps(kMostSelectorValues);
}

/// Sets selectors back when the walk through their values is over.
class SelectorKeeper final
{
public:
    SelectorKeeper(const FeatureMap& features, const SelectorNames& names) : features_(features)
    {
        for (const std::string& name : names)
            values_.emplace_back(name, features.Find(name).Value());
    }
    ~SelectorKeeper()
    {
        for (const auto& [name, value] : values_) {
            try {
                const Feature selector = features_.Find(name);
                if (selector.Value() != value)
                    selector.Set(value);
            } catch (const Failure&) {
                // A selector that stays where it is harms nothing.
            }
        }
    }
    SelectorKeeper(const SelectorKeeper&) = delete;
    SelectorKeeper& operator=(const SelectorKeeper&) = delete;

private:
    const FeatureMap& features_;
    std::vector<std::pair<std::string, std::string>> values_;
};

bool IsStored(const Feature& feature)
{
    return feature.IsStreamable() && feature.IsReadable() && feature.IsAvailable();
}

void CollectOne(const Feature& feature, std::vector<StoredSetting>& settings)
{
    if (IsStored(feature))
        settings.push_back({feature.Name(), feature.Value(Digits::Exact), feature.Unit()});
}

/// All features of one set of selectors, for every combination of their values from `next` on.
void CollectSelected(const FeatureMap& features, const SelectorNames& selectors,
                     const std::vector<std::string>& names, std::size_t next,
                     std::vector<StoredSetting>& settings)
{
    if (next == selectors.size()) {
        for (const std::string& name : names)
            CollectOne(features.Find(name), settings);
        return;
    }
    const Feature selector = features.Find(selectors[next]);
    const std::vector<std::string> values = SelectorValues(selector);
    for (const std::string& value : values) {
        if (selector.Value() != value)
            selector.Set(value);
        if (values.size() > 1)
            settings.push_back({selectors[next], value, {}});
        CollectSelected(features, selectors, names, next + 1, settings);
    }
}

void Write(const Feature& feature, const std::string& value)
{
    // A selector lives in the description; one that can't be changed is right or is wrong.
    if (!feature.IsWritable() && feature.Value() == value)
        return;
    feature.Set(value, Checking::SyntaxOnly);
}

/// Whether two texts are the same value, though the digits that nobody sees may differ.
bool IsSameValue(const std::string& wanted, const std::string& found)
{
    const std::optional<double> a = ParseFloat(wanted);
    const std::optional<double> b = ParseFloat(found);
    if (a && b)
        return FormatFloat(*a) == FormatFloat(*b);
    const std::optional<std::int64_t> c = ParseInteger(wanted);
    return wanted == found || (c && c == ParseInteger(found));
}

/// What has become of the settings, once they count.
std::vector<std::string> Compare(const FeatureMap& features,
                                 const std::vector<StoredSetting>& settings)
{
    std::vector<std::string> changes;
    for (const StoredSetting& setting : settings) {
        const Feature feature = features.Find(setting.name);
        if (!feature.IsAvailable() || !feature.IsReadable())
            continue;
        if (!feature.Selected().empty() && feature.Value() != setting.value && feature.IsWritable())
            feature.Set(setting.value);
        const std::string found = feature.Value(Digits::Exact);
        const bool isBoolean = feature.Kind() == FeatureKind::Boolean;
        if (isBoolean ? ParseBoolean(setting.value) != ParseBoolean(found)
                      : !IsSameValue(setting.value, found))
            changes.push_back(setting.name + ": the camera has made " + feature.Value() + " of " +
                              setting.value);
    }
    return changes;
}

} // namespace

FeatureStreaming::FeatureStreaming(const FeatureMap& features) : features_(features)
{
    for (const Commands& commands : kCommands) {
        const std::optional<Feature> start = features.TryFind(commands.start);
        if (!start || !features.TryFind(commands.end))
            continue;
        start->Execute();
        endCommand_ = commands.end;
        return;
    }
}

FeatureStreaming::~FeatureStreaming()
{
    try {
        End();
    } catch (const std::exception&) {
        // On the way out of a failure that has been told already.
    }
}

void FeatureStreaming::End()
{
    if (const char* command = std::exchange(endCommand_, nullptr))
        features_.Find(command).Execute();
}

std::vector<StoredSetting> CollectSettings(const FeatureMap& features)
{
    FeatureStreaming streaming(features);
    const std::map<std::string, SelectorNames> selectors = SelectorsByFeature(features);
    std::map<SelectorNames, std::vector<std::string>> groups;
    for (const std::string& name : features.Names())
        if (const auto found = selectors.find(name);
            found != selectors.end() && features.Find(name).IsStreamable())
            groups[found->second].push_back(name);

    std::vector<StoredSetting> settings;
    for (const std::string& name : features.Names()) {
        const auto found = selectors.find(name);
        if (found == selectors.end()) {
            CollectOne(features.Find(name), settings);
            continue;
        }
        // A group stands where its first feature stands.
        const auto group = groups.find(found->second);
        if (group == groups.end() || group->second.front() != name)
            continue;
        const SelectorKeeper keeper(features, group->first);
        CollectSelected(features, group->first, group->second, 0, settings);
    }
    streaming.End();
    return settings;
}

std::vector<std::string> ApplySettings(const FeatureMap& features,
                                       const std::vector<StoredSetting>& settings,
                                       const std::string& source)
{
    SelectorNames selectors;
    const auto at = [&](const StoredSetting& setting, const auto& action) {
        try {
            action();
        } catch (const Failure& failure) {
            throw Failure(source + ":" + std::to_string(setting.line) + ": " + failure.what());
        }
    };
    for (const StoredSetting& setting : settings)
        at(setting, [&] {
            if (!features.Find(setting.name).Selected().empty())
                selectors.push_back(setting.name);
        });
    const SelectorKeeper keeper(features, selectors);
    FeatureStreaming streaming(features);
    for (const StoredSetting& setting : settings)
        at(setting, [&] { Write(features.Find(setting.name), setting.value); });
    streaming.End();
    return Compare(features, settings);
}

} // namespace zevo_tool
