#include "genapi/nearest_name.h"

#include <algorithm>
#include <cctype>
#include <numeric>
#include <utility>

namespace zevo_tool
{

namespace
{

std::string Lower(std::string text)
{
    for (char& letter : text)
        letter = static_cast<char>(std::tolower(static_cast<unsigned char>(letter)));
    return text;
}

/// Letters to insert, remove, replace, or swap with the next one, to get from one to the other.
std::size_t Distance(const std::string& from, const std::string& to)
{
    std::vector<std::size_t> beforeLast;
    std::vector<std::size_t> last(to.size() + 1);
    std::iota(last.begin(), last.end(), std::size_t{0});
    for (std::size_t i = 1; i <= from.size(); ++i) {
        std::vector<std::size_t> row(to.size() + 1);
        row[0] = i;
        for (std::size_t j = 1; j <= to.size(); ++j) {
            const bool isSame = from[i - 1] == to[j - 1];
            row[j] = std::min({last[j] + 1, row[j - 1] + 1, last[j - 1] + (isSame ? 0 : 1)});
            if (i > 1 && j > 1 && from[i - 1] == to[j - 2] && from[i - 2] == to[j - 1])
                row[j] = std::min(row[j], beforeLast[j - 2] + 1);
        }
        beforeLast = std::exchange(last, std::move(row));
    }
    return last.back();
}

/// A name that is only the beginning or the end of another, such as "Format" of "PixelFormat".
bool IsPartOf(const std::string& part, const std::string& whole)
{
    return part.size() >= 3 && whole.find(part) != std::string::npos;
}

} // namespace

std::string NearestName(const std::string& name, const std::vector<std::string>& candidates)
{
    const std::string wanted = Lower(name);
    std::string nearest;
    std::size_t best = std::max<std::size_t>(2, wanted.size() / 3) + 1;
    for (const std::string& candidate : candidates) {
        const std::size_t distance = Distance(wanted, Lower(candidate));
        if (distance < best) {
            best = distance;
            nearest = candidate;
        }
    }
    if (!nearest.empty())
        return nearest;
    for (const std::string& candidate : candidates)
        if (IsPartOf(wanted, Lower(candidate)) &&
            (nearest.empty() || candidate.size() < nearest.size()))
            nearest = candidate;
    return nearest;
}

std::string Suggestion(const std::string& name, const std::vector<std::string>& candidates)
{
    const std::string nearest = NearestName(name, candidates);
    return nearest.empty() ? std::string() : "; did you mean " + nearest + "?";
}

} // namespace zevo_tool
