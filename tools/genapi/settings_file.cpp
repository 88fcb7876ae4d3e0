#include "genapi/settings_file.h"

#include <algorithm>

#include "failure.h"
#include "file_content.h"

namespace zevo_tool
{

namespace
{

constexpr char kBlanks[] = " \t\r";

std::string Trim(const std::string& text)
{
    const std::size_t first = text.find_first_not_of(kBlanks);
    if (first == std::string::npos)
        return {};
    return text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

std::string Quote(const std::string& value)
{
    const bool isPlain =
        value == Trim(value) && value.find_first_of("\"#\n\\") == std::string::npos;
    if (isPlain)
        return value;
    std::string quoted = "\"";
    for (const char letter : value) {
        if (letter == '"' || letter == '\\')
            quoted += '\\';
        quoted += letter == '\n' ? std::string("\\n") : std::string(1, letter);
    }
    return quoted + "\"";
}

[[noreturn]] void FailAt(const std::string& source, std::size_t line, const std::string& reason)
{
    throw Failure(source + ":" + std::to_string(line) + ": " + reason);
}

/// The value behind the sign of equality, which may be quoted and followed by a comment.
std::string Unquote(const std::string& text, const std::string& source, std::size_t line)
{
    if (text.rfind('"', 0) != 0)
        return Trim(text.substr(0, text.find('#')));
    std::string value;
    std::size_t i = 1;
    for (; i < text.size() && text[i] != '"'; ++i) {
        if (text[i] == '\\' && i + 1 < text.size()) {
            ++i;
            value += text[i] == 'n' ? '\n' : text[i];
        } else {
            value += text[i];
        }
    }
    if (i >= text.size())
        FailAt(source, line, "the closing quotation mark is missing");
    const std::string rest = Trim(text.substr(i + 1));
    if (!rest.empty() && rest.front() != '#')
        FailAt(source, line, "there is text behind the closing quotation mark");
    return value;
}

} // namespace

std::string FormatSettings(const std::vector<StoredSetting>& settings, const std::string& title)
{
    std::string text = "# " + title + "\n";
    for (const StoredSetting& setting : settings) {
        text += setting.name + " = " + Quote(setting.value);
        if (!setting.comment.empty())
            text += "  # " + setting.comment;
        text += "\n";
    }
    return text;
}

std::vector<StoredSetting> ParseSettings(const std::string& text, const std::string& source)
{
    std::vector<StoredSetting> settings;
    std::size_t number = 0;
    for (std::size_t start = 0; start < text.size();) {
        const std::size_t end = std::min(text.find('\n', start), text.size());
        const std::string line = Trim(text.substr(start, end - start));
        start = end + 1;
        ++number;
        if (line.empty() || line.front() == '#')
            continue;
        const std::size_t mark = line.find('=');
        const std::string name = Trim(line.substr(0, mark));
        if (mark == std::string::npos || name.empty())
            FailAt(source, number, "\"" + line + "\" isn't of the form NAME = VALUE");
        settings.push_back(
            {name, Unquote(Trim(line.substr(mark + 1)), source, number), {}, number});
    }
    return settings;
}

std::vector<StoredSetting> ReadSettings(const std::string& path)
{
    return ParseSettings(ReadFile(path), path);
}

} // namespace zevo_tool
