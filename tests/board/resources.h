// What a process holds of the kernel's.
#pragma once

#include <cstddef>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

inline std::size_t entriesOf(const char* folder)
{
    const std::filesystem::directory_iterator entries(folder);
    return static_cast<std::size_t>(std::distance(begin(entries), end(entries)));
}

// Mappings of capture nodes' buffers.
inline std::size_t bufferMappings()
{
    std::size_t count = 0;
    std::ifstream maps("/proc/self/maps");
    for (std::string line; std::getline(maps, line);)
        count += line.find("zevo-board-buffers") != std::string::npos ? 1 : 0;
    return count;
}

struct Resources {
    std::size_t descriptors = entriesOf("/proc/self/fd");
    std::size_t threads = entriesOf("/proc/self/task");
    std::size_t mappings = bufferMappings();

    bool operator==(const Resources& other) const
    {
        return descriptors == other.descriptors && threads == other.threads &&
               mappings == other.mappings;
    }
};
