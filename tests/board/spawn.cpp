#include "spawn.h"

#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>

namespace
{

std::string temporaryFile()
{
    char name[] = "/tmp/zevo-test-XXXXXX";
    const int fd = mkstemp(name);
    if (fd < 0)
        std::abort();
    close(fd);
    return name;
}

std::string takeFile(const std::string& path)
{
    std::ifstream file(path, std::ios::binary);
    std::string content{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
    std::remove(path.c_str());
    return content;
}

std::vector<std::string> environmentWith(const std::map<std::string, std::string>& changes)
{
    std::vector<std::string> result;
    for (char** entry = environ; *entry != nullptr; ++entry) {
        const std::string text = *entry;
        if (changes.count(text.substr(0, text.find('='))) == 0)
            result.push_back(text);
    }
    for (const auto& [name, value] : changes)
        if (!value.empty())
            result.push_back(name + "=" + value);
    return result;
}

std::vector<char*> pointers(std::vector<std::string>& words)
{
    std::vector<char*> result;
    for (std::string& word : words)
        result.push_back(word.data());
    result.push_back(nullptr);
    return result;
}

} // namespace

Process::Process(const std::vector<std::string>& words,
                 const std::map<std::string, std::string>& environment, const std::string& input,
                 const std::string& outputFile)
    : out_(outputFile.empty() ? temporaryFile() : outputFile), err_(temporaryFile()),
      in_(temporaryFile())
{
    std::ofstream(in_, std::ios::binary) << input;
    std::vector<std::string> arguments = words;
    std::vector<std::string> variables = environmentWith(environment);
    posix_spawn_file_actions_t files;
    posix_spawn_file_actions_init(&files);
    posix_spawn_file_actions_addopen(&files, 0, in_.c_str(), O_RDONLY, 0);
    posix_spawn_file_actions_addopen(&files, 1, out_.c_str(), O_WRONLY | O_TRUNC, 0);
    posix_spawn_file_actions_addopen(&files, 2, err_.c_str(), O_WRONLY | O_TRUNC, 0);
    if (posix_spawnp(&id_, words.front().c_str(), &files, nullptr, pointers(arguments).data(),
                     pointers(variables).data()) != 0)
        std::abort();
    posix_spawn_file_actions_destroy(&files);
}

Process::~Process()
{
    if (id_ < 0)
        return;
    kill(id_, SIGKILL);
    Wait();
}

Outcome Process::Wait()
{
    int status = 0;
    while (waitpid(id_, &status, 0) < 0) {
    }
    id_ = -1;
    std::remove(in_.c_str());
    const bool isDevice = out_.rfind("/dev/", 0) == 0;
    return {WIFSIGNALED(status) ? 128 + WTERMSIG(status) : WEXITSTATUS(status),
            isDevice ? std::string() : takeFile(out_), takeFile(err_)};
}
