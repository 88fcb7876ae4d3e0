// Frames' memory and what it costs to get a frame from one place to another.
#pragma once

#include <cstdint>
#include <functional>
#include <vector>

#include "report.h"

namespace zevo_bench
{

/// More buffers than the caches hold, used in turn: those of the kernel's side and those of the
/// user's, which begin some bytes behind a page's start.
class FrameMemory final
{
public:
    using Transport = std::function<void(const std::uint8_t* source, std::uint8_t* destination)>;

    FrameMemory(const Effort& effort, std::size_t sourceOffset, std::size_t destinationOffset);
    ~FrameMemory();
    FrameMemory(const FrameMemory&) = delete;
    FrameMemory& operator=(const FrameMemory&) = delete;

    /// Seconds of this thread for one transport, of several; each with a reader of so many bytes
    /// of the destination behind it.
    double TimeOf(const Transport& transport, std::size_t readSize = 0);

private:
    std::size_t mappedSize_;
    std::vector<std::uint8_t*> sources_;
    std::vector<std::uint8_t*> destinations_;
    std::size_t sourceOffset_;
    std::size_t destinationOffset_;
    std::size_t next_ = 0;
};

/// The rows of copy and conversion.
void MeasureCopies(const Effort& effort);
/// The same in a child whose memcpy goes past the caches from 1 MiB on, which a process can't
/// change for itself. The number of rows beyond their limits.
int MeasureCopiesTuned(const Effort& effort);

} // namespace zevo_bench
