#include "cli/configuration.h"

#include <map>

#include "failure.h"
#include "genapi/value_text.h"

namespace zevo_tool
{

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
    command.add_option("--format", "Pixel format, as PixelFormat names it")
        ->type_name("FORMAT")
        ->take_all();
    command.add_option("--size", "Width and height of the images in pixels")
        ->type_name("WIDTHxHEIGHT")
        ->take_all();
    command.add_option("--set", "Gives a feature a value; may be repeated")
        ->type_name("NAME=VALUE")
        ->take_all();
}

void Configuration::Check()
{
    settings_.clear();
    std::map<const CLI::Option*, std::size_t> taken;
    for (const CLI::Option* option : command_->parse_order()) {
        const std::string name = option->get_name();
        if (name != "--format" && name != "--size" && name != "--set")
            continue;
        const std::string text = option->results().at(taken[option]++);
        if (name == "--format")
            settings_.emplace_back("PixelFormat", text);
        else if (name == "--set")
            settings_.push_back(ParseSetting(text));
        else
            for (const Setting& setting : ParseSize(text))
                settings_.push_back(setting);
    }
}

void Configuration::Apply(const FeatureMap& features) const
{
    for (const auto& [name, value] : settings_)
        features.Find(name).Set(value);
}

} // namespace zevo_tool
