// The settings that a command line makes before it grabs.
#pragma once

#include <string>
#include <utility>
#include <vector>

#include <CLI/CLI.hpp>

#include "genapi/feature_map.h"

namespace zevo_tool
{

/// A feature and the value it is to get.
using Setting = std::pair<std::string, std::string>;

/// "NAME=VALUE"; the value may be empty and may hold more signs of equality. UsageError.
Setting ParseSetting(const std::string& text);
/// "WIDTHxHEIGHT" as settings of Width and Height. UsageError.
std::vector<Setting> ParseSize(const std::string& text);

/// The options --format, --size and --set, made in the order in which they are given: limits of
/// one feature often depend on another.
class Configuration final
{
public:
    void AddOptions(CLI::App& command);
    /// Looks at the options' texts without a camera. UsageError.
    void Check();
    const std::vector<Setting>& Settings() const { return settings_; }
    void Apply(const FeatureMap& features) const;

private:
    CLI::App* command_ = nullptr;
    std::vector<Setting> settings_;
};

} // namespace zevo_tool
