// Runs a program as a shell does, and keeps what it says.
#pragma once

#include <sys/types.h>

#include <string>
#include <vector>

#include "../unit/tools/temporary_folder.h"

/// How a program has ended.
struct Outcome {
    int code;        ///< exit code, or 128 and the signal's number
    std::string out; ///< standard output
    std::string err; ///< standard error
};

std::string contentOf(const std::string& path);

/// A running program; killed by the destructor if nobody has waited for it.
class Process
{
public:
    /// `words` are program and arguments, `input` its standard input. Without an output file the
    /// output is kept. Ends the test program when it can't be started.
    explicit Process(std::vector<std::string> words, const std::string& input = {},
                     const std::string& outputFile = {});
    ~Process();
    Process(const Process&) = delete;
    Process& operator=(const Process&) = delete;

    pid_t Id() const { return id_; }
    Outcome Wait();

private:
    TemporaryFolder folder_;
    pid_t id_ = -1;
};
