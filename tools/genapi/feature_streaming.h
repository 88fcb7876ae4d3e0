// All settings of a camera at once: read to be stored, and written back in whatever order.
#pragma once

#include <string>
#include <vector>

#include "genapi/feature_map.h"
#include "genapi/settings_file.h"

namespace zevo_tool
{

/// Puts the camera into its state for feature streaming, in which it takes values without looking
/// at limits and locks, and takes it out of that state again, which is when the values count.
/// Does nothing for a camera that has no such state.
class FeatureStreaming final
{
public:
    /// Failure when the camera has such a state but can't enter it now.
    explicit FeatureStreaming(const FeatureMap& features);
    ~FeatureStreaming();
    FeatureStreaming(const FeatureStreaming&) = delete;
    FeatureStreaming& operator=(const FeatureStreaming&) = delete;

    void End();

private:
    const FeatureMap& features_;
    const char* endCommand_ = nullptr;
};

/// The streamable features that are available, in the order of the categories; those behind a
/// selector for each of its values, with the selector's lines in between.
std::vector<StoredSetting> CollectSettings(const FeatureMap& features);

/// Writes all of them. Failure, with the line in `source`, for unknown names and texts that
/// aren't values. Gives a sentence for each value that the camera has changed.
std::vector<std::string> ApplySettings(const FeatureMap& features,
                                       const std::vector<StoredSetting>& settings,
                                       const std::string& source);

} // namespace zevo_tool
