#include "sim/core/board_options.h"

#include <charconv>
#include <stdexcept>
#include <string_view>

#include "sim/core/board_table.h"

namespace zevo_sim
{

namespace
{

constexpr unsigned kMaxCameras = 8;
constexpr double kMaxFps = 10'000;
constexpr double kMinLight = 0.001;
constexpr double kMaxLight = 1'000;
constexpr double kMinTemperature = 2'500;
constexpr double kMaxTemperature = 7'500;

[[noreturn]] void Refuse(std::string_view key, std::string_view value, std::string_view expected)
{
    std::string text(key);
    text.append(": \"").append(value).append("\" is not ").append(expected);
    throw std::invalid_argument(text);
}

template <typename Number>
Number ParseNumber(std::string_view key, std::string_view value, Number minimum, Number maximum)
{
    Number number{};
    const char* end = value.data() + value.size();
    const auto result = std::from_chars(value.data(), end, number);
    if (result.ec != std::errc() || result.ptr != end || !(number >= minimum) || number > maximum) {
        std::string expected = "a number from ";
        char text[32];
        expected.append(text, std::to_chars(text, text + sizeof(text), minimum).ptr);
        expected += " to ";
        expected.append(text, std::to_chars(text, text + sizeof(text), maximum).ptr);
        Refuse(key, value, expected);
    }
    return number;
}

std::string ParseText(std::string_view key, std::string_view value)
{
    constexpr std::size_t longest = 63;
    if (value.size() > longest)
        Refuse(key, value, "a text of at most 63 bytes");
    return std::string(value);
}

/// "major.minor".
InterfaceVersion ParseVersion(std::string_view key, std::string_view value)
{
    const std::size_t dot = value.find('.');
    if (dot == std::string_view::npos)
        Refuse(key, value, "a version like 1.0");
    const auto major = ParseNumber<std::uint16_t>(key, value.substr(0, dot), 0, 0xFFFF);
    return {major, ParseNumber<std::uint16_t>(key, value.substr(dot + 1), 0, 0xFFFF)};
}

std::string FormatVersion(const InterfaceVersion& version)
{
    return std::to_string(version.major) + "." + std::to_string(version.minor);
}

std::string FormatNumber(double number)
{
    char text[32];
    return {text, std::to_chars(text, text + sizeof(text), number).ptr};
}

constexpr std::string_view kEscaped = ";%\n";
constexpr char kHexDigits[] = "0123456789ABCDEF";

void AppendSetting(std::string& text, std::string_view key, std::string_view value)
{
    if (!text.empty())
        text += ';';
    text.append(key).append("=");
    for (const char sign : value) {
        if (kEscaped.find(sign) == std::string_view::npos) {
            text += sign;
            continue;
        }
        const auto code = static_cast<unsigned char>(sign);
        text.append({'%', kHexDigits[code >> 4], kHexDigits[code & 15]});
    }
}

std::string Unescape(std::string_view value)
{
    std::string text;
    for (std::size_t i = 0; i < value.size(); ++i) {
        unsigned code = 0;
        const char* digits = value.data() + i + 1;
        if (value[i] == '%' && i + 2 < value.size() &&
            std::from_chars(digits, digits + 2, code, 16).ptr == digits + 2) {
            text += static_cast<char>(code);
            i += 2;
        } else {
            text += value[i];
        }
    }
    return text;
}

} // namespace

void BoardOptions::Set(std::string_view key, std::string_view value)
{
    if (key == "board") {
        board = value;
        if (!FindBoard(board.c_str()))
            Refuse(key, value, "a board; --list shows them");
    } else if (key == "cameras") {
        cameras = ParseNumber(key, value, 1u, kMaxCameras);
    } else if (key == "form") {
        if (value != "native" && value != "controls")
            Refuse(key, value, "native or controls");
        form = value == "native" ? RequestForm::Native : RequestForm::Controls;
    } else if (key == "planes") {
        if (value != "single" && value != "multi")
            Refuse(key, value, "single or multi");
        isMultiPlanar = value == "multi";
    } else if (key == "csi-id") {
        csiId = ParseNumber<std::uint32_t>(key, value, 0, 0xFFFFFFFF);
    } else if (key == "fps") {
        fps = ParseNumber(key, value, 0.0, kMaxFps);
    } else if (key == "serial") {
        serial = ParseText(key, value);
    } else if (key == "user-name") {
        userName = ParseText(key, value);
    } else if (key == "model") {
        model = ParseText(key, value);
    } else if (key == "lanes") {
        lanes = ParseNumber(key, value, 1u, 4u);
    } else if (key == "lane-rate") {
        laneRateBps = ParseNumber<std::uint64_t>(key, value, 0, 10'000'000'000);
    } else if (key == "light") {
        light = ParseNumber(key, value, kMinLight, kMaxLight);
    } else if (key == "light-temperature") {
        lightTemperature = ParseNumber(key, value, kMinTemperature, kMaxTemperature);
    } else if (key == "driver-version") {
        driverVersion = ParseVersion(key, value);
    } else if (key == "information-version") {
        informationVersion = ParseVersion(key, value);
    } else if (key == "module-version") {
        moduleVersion = ParseVersion(key, value);
    } else if (key == "max-buffers") {
        maxBuffers = ParseNumber(key, value, 1u, 32u);
    } else if (key == "max-width") {
        maxWidth = ParseNumber(key, value, 16u, 4096u);
    } else if (key == "width-step") {
        widthStep = ParseNumber(key, value, 2u, 256u);
    } else if (key == "fault") {
        faults.push_back(FaultRule::FromText(value));
    } else if (key == "kmsg") {
        kmsg = value;
    } else if (key == "scene") {
        scene = value;
    } else {
        throw std::invalid_argument("unknown setting \"" + std::string(key) + "\"");
    }
}

std::string BoardOptions::ToText() const
{
    std::string text;
    AppendSetting(text, "board", board);
    AppendSetting(text, "cameras", std::to_string(cameras));
    if (form)
        AppendSetting(text, "form", *form == RequestForm::Native ? "native" : "controls");
    if (isMultiPlanar)
        AppendSetting(text, "planes", *isMultiPlanar ? "multi" : "single");
    if (csiId)
        AppendSetting(text, "csi-id", std::to_string(*csiId));
    if (fps)
        AppendSetting(text, "fps", FormatNumber(*fps));
    if (serial)
        AppendSetting(text, "serial", *serial);
    if (userName)
        AppendSetting(text, "user-name", *userName);
    if (model)
        AppendSetting(text, "model", *model);
    if (lanes)
        AppendSetting(text, "lanes", std::to_string(*lanes));
    if (laneRateBps)
        AppendSetting(text, "lane-rate", std::to_string(*laneRateBps));
    if (driverVersion)
        AppendSetting(text, "driver-version", FormatVersion(*driverVersion));
    if (informationVersion)
        AppendSetting(text, "information-version", FormatVersion(*informationVersion));
    if (moduleVersion)
        AppendSetting(text, "module-version", FormatVersion(*moduleVersion));
    if (maxBuffers)
        AppendSetting(text, "max-buffers", std::to_string(*maxBuffers));
    if (maxWidth)
        AppendSetting(text, "max-width", std::to_string(*maxWidth));
    if (widthStep)
        AppendSetting(text, "width-step", std::to_string(*widthStep));
    for (const FaultRule& fault : faults)
        AppendSetting(text, "fault", fault.text);
    if (light)
        AppendSetting(text, "light", FormatNumber(*light));
    if (lightTemperature)
        AppendSetting(text, "light-temperature", FormatNumber(*lightTemperature));
    if (!kmsg.empty())
        AppendSetting(text, "kmsg", kmsg);
    if (!scene.empty())
        AppendSetting(text, "scene", scene);
    return text;
}

BoardOptions BoardOptions::FromText(const std::string& text)
{
    BoardOptions options;
    const std::string_view all(text);
    for (std::size_t start = 0; start < all.size();) {
        const std::size_t end = std::min(all.find(';', start), all.size());
        const std::string_view setting = all.substr(start, end - start);
        start = end + 1;
        if (setting.empty())
            continue;
        const std::size_t equals = std::min(setting.find('='), setting.size());
        const std::string value =
            Unescape(equals < setting.size() ? setting.substr(equals + 1) : std::string_view());
        options.Set(setting.substr(0, equals), value);
    }
    return options;
}

} // namespace zevo_sim
