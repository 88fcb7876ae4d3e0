// A shell command's exit code and output.
#pragma once

#include <cstdio>
#include <string>

#include <sys/wait.h>

struct CommandResult {
    int exitCode; ///< -1 if it hasn't come to one
    std::string output;
};

/// Both channels where the command says so: "... 2>&1".
inline CommandResult runCommand(const std::string& command)
{
    CommandResult result{-1, {}};
    FILE* const pipe = ::popen(command.c_str(), "r");
    if (!pipe)
        return result;
    char part[512];
    while (std::fgets(part, sizeof part, pipe))
        result.output += part;
    const int status = ::pclose(pipe);
    result.exitCode = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    return result;
}
