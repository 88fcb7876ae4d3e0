// A consumer of the C interface that calls what the input tells it to.
#pragma once

#include <gentl/gentl.h>

#include <array>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "board_host.h"
#include "bytes.h"

namespace fuzz
{

/// Every function of the interface with handles that are right, stale, of another kind, null or
/// made up, memory that is exactly as large as told, null pointers and numbers of all sorts. What
/// is no consumer's right stays out: sizes larger than the memory, and memory that goes too soon.
/// A result that the interface doesn't know, or more bytes than there was room for, ends the
/// program. Closes the library at the end.
class Consumer final
{
public:
    Consumer(BoardHost& board, Bytes& input) : board_(board), in_(input) {}
    Consumer(const Consumer&) = delete;
    Consumer& operator=(const Consumer&) = delete;
    ~Consumer();

    /// One call of any function, or one of the steps below.
    void callAny();
    /// One access of a port, or a step that changes what ports show.
    void callPort();

    /// From GCInitLib to the remote port and a stream with a small image.
    void openAll();
    /// Buffers, event, and both ends started.
    void startStreaming();

private:
    enum Kind : std::uint8_t { System, Interface, Device, Remote, Stream, Buffer, Event, Kinds };
    using Call = void (Consumer::*)();
    using Memory = std::unique_ptr<std::uint8_t[]>;

    static constexpr std::size_t kMostHandles = 64;
    static const Call kCalls[];
    static const std::size_t kCallCount;

    // Arguments.
    void* handle(Kind kind);
    void* newest(Kind kind) const;
    void* port();
    const char* id();
    std::size_t size();
    std::uint64_t address();
    bool isNull() { return in_.isOneIn(64); }
    std::int32_t number();

    /// Runs call(void** handle) and keeps the handle.
    template <typename Function>
    void produce(Kind kind, Function call);
    /// Runs call(void* buffer, size_t* size) on memory of the input's size.
    template <typename Function>
    std::optional<std::string> answer(Function call);
    /// The same for call(command, type, buffer, size).
    template <typename Function>
    void inform(Function call);
    /// Runs call(T* number).
    template <typename T, typename Function>
    void count(Function call);
    template <typename Function>
    void stack(Function call);
    template <typename Function>
    void learn(Function call);

    void write(std::uint64_t registerAddress, std::uint32_t value);
    void takeFrame(std::uint64_t timeoutMs);

#define GENTL_FUNCTION(name) void call##name();
#include <gentl/gentl_functions.inc>
#undef GENTL_FUNCTION

    BoardHost& board_;
    Bytes& in_;
    std::array<std::vector<void*>, Kinds> handles_;
    std::vector<std::string> ids_{"", "Tolmen ZEVO GenTL Interface Module", "Stream0"};
    std::vector<Memory> frames_; ///< announced, and so alive until the end
    std::string text_;
};

} // namespace fuzz
