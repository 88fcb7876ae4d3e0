// The settings that a command line makes before it grabs.
#pragma once

#include <string>
#include <utility>
#include <vector>

#include <CLI/CLI.hpp>

#include "genapi/feature_streaming.h"

namespace zevo_tool
{

/// A feature and the value it is to get.
using Setting = std::pair<std::string, std::string>;

/// "NAME=VALUE"; the value may be empty and may hold more signs of equality. UsageError.
Setting ParseSetting(const std::string& text);
/// "WIDTHxHEIGHT" as settings of Width and Height. UsageError.
std::vector<Setting> ParseSize(const std::string& text);

/// The options --load, --format, --size and --set, made in the order in which they are given:
/// limits of one feature often depend on another.
class Configuration final
{
public:
    void AddOptions(CLI::App& command);
    /// A setting, or a file of them.
    struct Step {
        Setting setting;
        std::string file; ///< empty for a single setting
        std::vector<StoredSetting> stored;
    };

    /// Looks at the options' texts and files without a camera. UsageError, Failure.
    void Check();
    const std::vector<Step>& Steps() const { return steps_; }
    /// Gives a sentence for each value of a file that the camera has changed.
    std::vector<std::string> Apply(const FeatureMap& features) const;

private:
    CLI::App* command_ = nullptr;
    std::vector<Step> steps_;
};

} // namespace zevo_tool
