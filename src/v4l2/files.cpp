#include "v4l2/files.h"

#include <cstdio>
#include <memory>
#include <new>
#include <string_view>

#include <glob.h>

#include "base/scope_exit.h"

namespace V4L2
{

namespace
{

struct FileCloser {
    void operator()(std::FILE* file) const noexcept { std::fclose(file); }
};

} // namespace

std::vector<std::string> ExpandFileNames(const std::string& pattern)
{
    glob_t matches{};
    const int result = ::glob(pattern.c_str(), 0, nullptr, &matches);
    const GenTLProducer::ScopeExit freeMatches([&matches] { ::globfree(&matches); });
    if (result == GLOB_NOSPACE)
        throw std::bad_alloc();
    if (result != 0)
        return {};
    return {matches.gl_pathv, matches.gl_pathv + matches.gl_pathc};
}

std::optional<std::string> ReadFile(const std::string& path, std::size_t limit)
{
    const std::unique_ptr<std::FILE, FileCloser> file(std::fopen(path.c_str(), "r"));
    if (!file)
        return std::nullopt;
    std::string content(limit, '\0');
    content.resize(std::fread(content.data(), 1, limit, file.get()));
    if (std::ferror(file.get()))
        return std::nullopt;
    return content;
}

std::string ReadFirstLine(const std::string& path)
{
    constexpr std::size_t kLongestLine = 4096;
    std::string line = ReadFile(path, kLongestLine).value_or(std::string());
    line.resize(std::min(line.size(), line.find_first_of(std::string_view("\n\0", 2))));
    return line;
}

} // namespace V4L2
