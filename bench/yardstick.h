// memcpy with another threshold for its stores past the caches, which a process can't change.
#pragma once

#include <sys/types.h>

#include "report.h"

namespace zevo_bench
{

/// A child of this program that copies on demand.
class TunedMemcpy final
{
public:
    explicit TunedMemcpy(const Effort& effort);
    ~TunedMemcpy();
    TunedMemcpy(const TunedMemcpy&) = delete;
    TunedMemcpy& operator=(const TunedMemcpy&) = delete;

    /// Seconds of the child's time for one copy, of several; with a reader behind each or without.
    double Measure(std::size_t size, bool isRead);

private:
    int toChild_ = -1;
    int fromChild_ = -1;
    pid_t child_ = -1;
};

/// The child's side: answers requests on descriptors 0 and 1 to their end.
int ServeTunedMemcpy(const Effort& effort);

} // namespace zevo_bench
