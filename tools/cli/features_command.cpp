// zevo features: the tree of categories with values, limits and states.
#include <fnmatch.h>

#include <algorithm>
#include <cstdio>
#include <utility>

#include "cli/command.h"
#include "failure.h"

namespace zevo_tool
{

namespace
{

/// What is shown of a feature or category.
struct Row {
    std::string name; ///< indented
    std::string access;
    std::string value;
    std::string choice;
    std::string state;
};

std::string Access(const Feature& feature)
{
    if (feature.Kind() == FeatureKind::Command)
        return "exec";
    if (!feature.IsWritable())
        return "ro";
    return feature.IsReadable() ? "rw" : "wo";
}

/// One feature whose registers can't be read isn't to hide the others.
template <typename Text>
std::string Try(Row& row, const Text& text)
{
    try {
        return text();
    } catch (const Failure& failure) {
        row.state += (row.state.empty() ? "" : ", ") + std::string(failure.what());
        return {};
    }
}

Row Describe(const Feature& feature, int depth)
{
    Row row{std::string(static_cast<std::size_t>(depth) * 2, ' ') + feature.Name(), {}, {}, {}, {}};
    if (feature.Kind() == FeatureKind::Category)
        return row;
    row.access = Access(feature);
    row.state = Try(row, [&] {
        if (!feature.IsAvailable())
            return "unavailable";
        return feature.IsLocked() ? "locked" : "";
    });
    if (feature.Kind() == FeatureKind::Command || row.state == "unavailable")
        return row;
    if (feature.IsReadable())
        row.value = Try(row, [&] { return feature.Value(); });
    if (const std::string unit = feature.Unit(); !unit.empty())
        row.value += " " + unit;
    if (feature.IsWritable())
        row.choice = Try(row, [&] { return feature.Choice(); });
    return row;
}

void Print(const std::vector<Row>& rows)
{
    constexpr std::size_t kWidestValue = 32;
    std::size_t nameWidth = 0;
    std::size_t valueWidth = 0;
    for (const Row& row : rows) {
        nameWidth = std::max(nameWidth, row.name.size());
        valueWidth = std::max(valueWidth, std::min(row.value.size(), kWidestValue));
    }
    for (const Row& row : rows) {
        std::string line = row.name;
        if (!row.access.empty()) {
            line.resize(nameWidth + 2, ' ');
            line += row.access + std::string(6 - row.access.size(), ' ') + row.value;
            line.resize(std::max(line.size(), nameWidth + 8 + valueWidth), ' ');
            if (!row.choice.empty())
                line += "  [" + row.choice + "]";
            if (!row.state.empty())
                line += "  (" + row.state + ")";
        }
        line.erase(line.find_last_not_of(' ') + 1);
        std::printf("%s\n", line.c_str());
    }
}

class FeaturesCommand final : public CameraCommand
{
public:
    CLI::App* Define(CLI::App& parent) override
    {
        CLI::App* command =
            parent.add_subcommand("features", "Show features with values, limits and states");
        command->add_flag("-a,--all", isAll_, "Also what is meant for gurus and programs");
        command->add_option("PATTERN", pattern_,
                            "A part of a feature's or category's name, or a pattern with * and ?");
        return command;
    }
    int Run(Camera& camera) override;

private:
    bool Matches(const Feature& feature) const;

    bool isAll_ = false;
    std::string pattern_;
};

bool FeaturesCommand::Matches(const Feature& feature) const
{
    std::string pattern = pattern_;
    if (pattern.find_first_of("*?[") == std::string::npos)
        pattern = "*" + pattern + "*";
    return fnmatch(pattern.c_str(), feature.Name().c_str(), FNM_CASEFOLD) == 0;
}

int FeaturesCommand::Run(Camera& camera)
{
    struct Category {
        Feature feature;
        bool isMatch;
        bool isPrinted;
    };
    std::vector<Category> path; // the categories from the root down to here
    std::vector<Row> rows;
    camera.Features().Walk([&](const Feature& feature, int depth) {
        path.erase(path.begin() +
                       std::min<std::ptrdiff_t>(depth, static_cast<std::ptrdiff_t>(path.size())),
                   path.end());
        const bool isMatch = Matches(feature) || (!path.empty() && path.back().isMatch);
        if (feature.Kind() == FeatureKind::Category) {
            path.push_back({feature, isMatch, false});
            return;
        }
        if (!isMatch || (!isAll_ && feature.Visibility() < ARV_GC_VISIBILITY_EXPERT))
            return;
        for (std::size_t level = 0; level < path.size(); ++level)
            if (!std::exchange(path[level].isPrinted, true))
                rows.push_back(Describe(path[level].feature, static_cast<int>(level)));
        rows.push_back(Describe(feature, depth));
    });
    if (rows.empty())
        throw Failure("no feature matches " + pattern_ + (isAll_ ? "" : "; -a looks at all"));
    Print(rows);
    return kExitSuccess;
}

} // namespace

std::unique_ptr<CameraCommand> MakeFeaturesCommand()
{
    return std::make_unique<FeaturesCommand>();
}

} // namespace zevo_tool
