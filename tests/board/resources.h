// What a process holds of the kernel's.
#pragma once

#include <cstddef>
#include <filesystem>
#include <iterator>

inline std::size_t entriesOf(const char* folder)
{
    const std::filesystem::directory_iterator entries(folder);
    return static_cast<std::size_t>(std::distance(begin(entries), end(entries)));
}

struct Resources {
    std::size_t descriptors = entriesOf("/proc/self/fd");
    std::size_t threads = entriesOf("/proc/self/task");

    bool operator==(const Resources& other) const
    {
        return descriptors == other.descriptors && threads == other.threads;
    }
};
