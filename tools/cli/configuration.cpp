#include "cli/configuration.h"

#include <algorithm>
#include <iterator>
#include <map>

#include "failure.h"
#include "genapi/value_text.h"

namespace zevo_tool
{

namespace
{

struct OptionRow {
    const char* name;
    const char* type;
    const char* help;
};

constexpr OptionRow kOptions[] = {
    {"--load", "FILE", "Settings as zevo save has written them"},
    {"--format", "FORMAT", "Pixel format, as PixelFormat names it"},
    {"--size", "WIDTHxHEIGHT", "Width and height of the images in pixels"},
    {"--set", "NAME=VALUE", "Gives a feature a value; may be repeated"},
};

} // namespace

Setting ParseSetting(const std::string& text)
{
    const std::size_t mark = text.find('=');
    if (mark == std::string::npos || mark == 0)
        throw UsageError("\"" + text + "\" isn't of the form NAME=VALUE");
    return {text.substr(0, mark), text.substr(mark + 1)};
}

std::vector<Setting> ParseSize(const std::string& text)
{
    const std::size_t mark = text.find('x');
    const std::string width = text.substr(0, mark);
    const std::string height = mark == std::string::npos ? "" : text.substr(mark + 1);
    if (ParseInteger(width).value_or(0) <= 0 || ParseInteger(height).value_or(0) <= 0)
        throw UsageError("\"" + text + "\" isn't a size of the form WIDTHxHEIGHT");
    return {{"Width", width}, {"Height", height}};
}

void Configuration::AddOptions(CLI::App& command)
{
    command_ = &command;
    for (const OptionRow& row : kOptions)
        command.add_option(row.name, row.help)
            ->type_name(row.type)
            ->take_all()
            ->allow_extra_args(false);
}

void Configuration::Check()
{
    steps_.clear();
    std::map<const CLI::Option*, std::size_t> taken;
    for (const CLI::Option* option : command_->parse_order()) {
        const std::string name = option->get_name();
        const auto known = std::find_if(std::begin(kOptions), std::end(kOptions),
                                        [&](const OptionRow& row) { return name == row.name; });
        if (known == std::end(kOptions))
            continue;
        const std::string text = option->results().at(taken[option]++);
        if (name == "--load")
            steps_.push_back({{}, text, ReadSettings(text)});
        if (name == "--format")
            steps_.push_back({{"PixelFormat", text}, {}, {}});
        if (name == "--set")
            steps_.push_back({ParseSetting(text), {}, {}});
        if (name == "--size")
            for (const Setting& setting : ParseSize(text))
                steps_.push_back({setting, {}, {}});
    }
}

std::vector<std::string> Configuration::Apply(const FeatureMap& features) const
{
    std::vector<std::string> changes;
    for (const Step& step : steps_) {
        if (step.file.empty()) {
            features.Find(step.setting.first).Set(step.setting.second);
            continue;
        }
        for (std::string& change : ApplySettings(features, step.stored, step.file))
            changes.push_back(std::move(change));
    }
    return changes;
}

} // namespace zevo_tool
