#include "file_content.h"

#include <array>
#include <cerrno>
#include <cstdio>
#include <memory>
#include <system_error>

#include "failure.h"

namespace zevo_tool
{

namespace
{

struct CloseFile {
    void operator()(std::FILE* file) const { std::fclose(file); }
};

[[noreturn]] void Fail(const char* verb, const std::string& path)
{
    throw Failure(std::string("can't ") + verb + " " + path + ": " +
                  std::generic_category().message(errno));
}

} // namespace

std::string ReadFile(const std::string& path)
{
    const std::unique_ptr<std::FILE, CloseFile> file(std::fopen(path.c_str(), "rb"));
    if (!file)
        Fail("read", path);
    std::string content;
    std::array<char, 4096> part;
    while (const std::size_t size = std::fread(part.data(), 1, part.size(), file.get()))
        content.append(part.data(), size);
    if (std::ferror(file.get()) != 0)
        Fail("read", path);
    return content;
}

void WriteFile(const std::string& path, const std::string& content)
{
    std::FILE* file = std::fopen(path.c_str(), "wb");
    if (file == nullptr)
        Fail("write", path);
    const bool isWritten = std::fwrite(content.data(), 1, content.size(), file) == content.size();
    if (std::fclose(file) != 0 || !isWritten)
        Fail("write", path);
}

} // namespace zevo_tool
