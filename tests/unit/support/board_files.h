// The C library's entry points for board paths, bent to a folder of the test.
#pragma once

#include <functional>
#include <string>

namespace test
{

/// While it lives, paths and patterns below /dev/, /sys/ and /proc/device-tree/ lead into an own
/// empty folder, and ioctl asks the handler first. One at a time, one thread.
class BoardFiles
{
public:
    /// True if it has answered, with result and errno as for ioctl.
    using IoctlHandler =
        std::function<bool(int fd, unsigned long request, void* argument, int& result)>;

    BoardFiles();
    BoardFiles(const BoardFiles&) = delete;
    BoardFiles& operator=(const BoardFiles&) = delete;
    ~BoardFiles();

    /// Makes the file and its folders.
    void Write(const std::string& boardPath, const std::string& content);

    /// True if the descriptor is this file.
    bool IsOpenAs(int fd, const std::string& boardPath) const;

    IoctlHandler onIoctl;
};

} // namespace test
