// Ctrl-C and its like, as a request to end in good order.
#pragma once

#include <csignal>

namespace zevo_tool
{

/// Catches SIGINT and SIGTERM as long as it lives; a later signal ends the program at once. One
/// object at a time.
class StopSignal final
{
public:
    StopSignal();
    ~StopSignal();
    StopSignal(const StopSignal&) = delete;
    StopSignal& operator=(const StopSignal&) = delete;

    /// The signal, or 0 while none has come.
    int Received() const;

private:
    struct sigaction oldInterrupt_ = {};
    struct sigaction oldTerminate_ = {};
};

} // namespace zevo_tool
