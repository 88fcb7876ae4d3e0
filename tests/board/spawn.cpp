#include "spawn.h"

#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <iterator>

std::string contentOf(const std::string& path)
{
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

Process::Process(std::vector<std::string> words, const std::string& input,
                 const std::string& outputFile)
{
    constexpr int kWriting = O_WRONLY | O_CREAT | O_TRUNC;
    folder_.Write("in", input);
    const std::string in = folder_.Path("in");
    const std::string out = outputFile.empty() ? folder_.Path("out") : outputFile;
    const std::string err = folder_.Path("err");
    posix_spawn_file_actions_t files;
    posix_spawn_file_actions_init(&files);
    posix_spawn_file_actions_addopen(&files, 0, in.c_str(), O_RDONLY, 0);
    posix_spawn_file_actions_addopen(&files, 1, out.c_str(), kWriting, 0600);
    posix_spawn_file_actions_addopen(&files, 2, err.c_str(), kWriting, 0600);
    std::vector<char*> arguments;
    for (std::string& word : words)
        arguments.push_back(word.data());
    arguments.push_back(nullptr);
    if (posix_spawnp(&id_, arguments[0], &files, nullptr, arguments.data(), environ) != 0)
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
    return {WIFSIGNALED(status) ? 128 + WTERMSIG(status) : WEXITSTATUS(status),
            contentOf(folder_.Path("out")), contentOf(folder_.Path("err"))};
}
