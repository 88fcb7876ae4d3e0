#include "cli/words.h"

#include <cctype>

#include "failure.h"

namespace zevo_tool
{

std::vector<std::string> SplitWords(const std::string& line)
{
    std::vector<std::string> words;
    char quote = '\0';
    bool isInWord = false;
    for (std::size_t i = 0; i < line.size(); ++i) {
        const char letter = line[i];
        const bool isBlank = std::isspace(static_cast<unsigned char>(letter)) != 0;
        if (quote == '\0' && isBlank) {
            isInWord = false;
            continue;
        }
        if (quote == '\0' && !isInWord && letter == '#')
            break;
        if (!isInWord)
            words.emplace_back();
        isInWord = true;
        if (letter == '\\' && quote != '\'' && i + 1 < line.size())
            words.back() += line[++i];
        else if (letter == quote)
            quote = '\0';
        else if (quote == '\0' && (letter == '"' || letter == '\''))
            quote = letter;
        else
            words.back() += letter;
    }
    if (quote != '\0')
        throw UsageError("the closing quotation mark is missing");
    return words;
}

} // namespace zevo_tool
