// What is to go wrong on a board, when and how often, as the option --fault tells it.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace zevo_sim
{

/// What a fault happens to.
enum class FaultPlace : std::uint8_t {
    // Calls of the program. "open" is that of a node or file, "ioctl" any request.
    Open,
    Stat,
    Access,
    Directory,
    Map,
    Poll,
    Close,
    Request,
    // Register transfers on the link, whatever the driver's form.
    Read,
    Write,
    Transfer, ///< either of them
    Frame,    ///< that the receiver finishes
    File,     ///< content of a system file
    // The ISP's own answers.
    Stage,
    Checksum,
    Stall,
    Atomic,
    Dma
};

enum class FaultEffect : std::uint8_t {
    Error,  ///< the value is the errno
    Signal, ///< the value is the signal's number, sent during the call
    Unplug, ///< the camera is pulled, for good
    Short,  ///< the value is the number of bytes that are left
    Value,  ///< a read gives this, big-endian
    Gap,    ///< the value is the number of frames that are lost before this one
    Flag,   ///< a frame has the driver's error flag
    Index,  ///< a frame is announced in a buffer of this index
    Break,  ///< the receiver gives up, until the stream is switched off
    Late,   ///< the value is the number of reads that still show the old state
    Stuck,
    Wrong
};

/// One option --fault.
struct FaultRule {
    static constexpr std::uint64_t kAlways = ~std::uint64_t{0};

    FaultPlace place{};
    FaultEffect effect{};
    std::uint64_t value = 0;
    std::optional<unsigned long> request; ///< of FaultPlace::Request; absent for any
    std::uint64_t after = 0;              ///< what matches so often goes well first
    std::uint64_t times = 1;
    std::optional<unsigned> camera; ///< index; absent for any
    /// The part of the link's address space, or of the ISP's, that a transfer must touch.
    std::optional<std::uint16_t> address;
    std::optional<std::uint16_t> ispRegister;
    std::string text; ///< as it was given

    /// "PLACE:EFFECT:after=N:times=N", see sim/README.md. std::invalid_argument with a text for
    /// people.
    static FaultRule FromText(std::string_view text);
};

} // namespace zevo_sim
