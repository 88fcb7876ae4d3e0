// Failed system calls on a video node.
#pragma once

#include <cstdint>
#include <string>
#include <system_error>

namespace V4L2
{

/// A failed operation on a video node: code() is the errno value in the generic category,
/// what() the operation's words, ": " and the system's text for the code.
class Error : public std::system_error
{
public:
    Error(int error, const std::string& words)
        : std::system_error(error, std::generic_category(), words)
    {
    }
};

/// The kernel handed out a buffer that nobody requested.
class GrabBufferIndexError : public Error
{
public:
    GrabBufferIndexError(int error, const std::string& words, std::uint32_t highestValidIndex)
        : Error(error, words), highestValidIndex_(highestValidIndex)
    {
    }

    std::uint32_t GetHighestValidIndex() const noexcept { return highestValidIndex_; }

private:
    std::uint32_t highestValidIndex_;
};

} // namespace V4L2
