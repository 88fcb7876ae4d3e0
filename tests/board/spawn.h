// Runs a program as a shell does, and keeps what it says.
#pragma once

#include <sys/types.h>

#include <map>
#include <string>
#include <vector>

/// How a program has ended.
struct Outcome {
    int code;        ///< exit code, or 128 and the signal's number
    std::string out; ///< standard output
    std::string err; ///< standard error
};

/// A running program; killed by the destructor if nobody has waited for it.
class Process
{
public:
    /// `words` are program and arguments, `input` its standard input; a variable with an empty
    /// value is taken out of the environment. Ends the test program when it can't be started.
    Process(const std::vector<std::string>& words,
            const std::map<std::string, std::string>& environment, const std::string& input = {},
            const std::string& outputFile = {});
    ~Process();
    Process(const Process&) = delete;
    Process& operator=(const Process&) = delete;

    pid_t Id() const { return id_; }
    Outcome Wait();

private:
    std::string out_;
    std::string err_;
    std::string in_;
    pid_t id_ = -1;
};
