// The operating system below the layers under test, replaced at the C library's functions.
#pragma once

#include <sys/stat.h>
#include <sys/types.h>

#include <climits>
#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace fuzz
{

/// While it lives, the functions that the layers reach the kernel with ask it first; the link
/// options of the fuzzers lead them here. One at a time. Any thread, as the layers call.
class Host
{
public:
    /// Not the host's business: the C library's function runs.
    static constexpr long kForeign = LONG_MIN;

    Host();
    Host(const Host&) = delete;
    Host& operator=(const Host&) = delete;
    virtual ~Host();

    // Results as of system calls: a value, or a negative error number.
    virtual long open(const char* /*path*/, int /*flags*/) { return kForeign; }
    virtual long close(int /*fd*/) { return kForeign; }
    virtual long ioctl(int /*fd*/, unsigned long /*request*/, void* /*argument*/)
    {
        return kForeign;
    }
    virtual long map(int /*fd*/, std::size_t /*length*/, int /*protection*/, int /*flags*/,
                     off_t /*offset*/)
    {
        return kForeign;
    }
    virtual long unmap(void* /*address*/, std::size_t /*length*/) { return kForeign; }
    virtual long stat(const char* /*path*/, struct stat& /*status*/) { return kForeign; }

    /// Content of a file that is opened with fopen.
    virtual std::optional<std::string> file(const std::string& /*path*/) { return std::nullopt; }
    /// What a pattern matches, sorted.
    virtual std::vector<std::string> matches(const char* /*pattern*/) { return {}; }
};

} // namespace fuzz
