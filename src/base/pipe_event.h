// The wake-up signal between threads: a pipe that holds at most one byte.
#pragma once

#include <memory>

#include "base/unique_fd.h"

namespace GenTLProducer
{

/// Readable while signalled, so that poll() can wait for it beside other descriptors.
/// Any thread may signal and clear; both never block and never throw.
class PipeEvent final
{
public:
    /// Makes the pipe, its read end non-blocking. Null if the system refuses, errno kept.
    static std::unique_ptr<PipeEvent> Create();

    /// A second event on the same pipe, with descriptors of its own: it stays usable when the
    /// first goes. Null if the system refuses, errno kept.
    std::unique_ptr<PipeEvent> Duplicate() const;

    /// Writes one byte unless one is waiting already.
    void Signal() noexcept;

    /// Takes the waiting byte, if there is one.
    void Clear() noexcept;

    /// True while a byte is waiting; leaves it there.
    bool IsSignalled() const noexcept;

    /// What to poll for POLLIN. Stays owned by the event.
    int GetReadDescriptor() const noexcept { return readEnd_.get(); }

private:
    PipeEvent(UniqueFd readEnd, UniqueFd writeEnd) noexcept;

    UniqueFd readEnd_;
    UniqueFd writeEnd_;
};

} // namespace GenTLProducer
