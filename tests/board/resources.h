// What a process holds of the kernel's.
#pragma once

#include <sched.h>

#include <algorithm>
#include <cstddef>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <ostream>
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

/// Waits for threads that have been joined: they may be counted for a moment longer, in an emulator
/// above all. False if more than the wanted number stay.
inline bool comesDownToThreads(std::size_t wanted)
{
    constexpr int kTries = 100'000;
    for (int i = 0; i < kTries; ++i) {
        if (entriesOf("/proc/self/task") <= wanted)
            return true;
        sched_yield();
    }
    return false;
}

struct Resources {
    std::size_t descriptors = entriesOf("/proc/self/fd");
    std::size_t threads = entriesOf("/proc/self/task");
    std::size_t mappings = bufferMappings();

    /// Compares what was held with what is held now.
    bool operator==(const Resources& other) const
    {
        return descriptors == other.descriptors && mappings == other.mappings &&
               (threads == other.threads || comesDownToThreads(std::min(threads, other.threads)));
    }
};

inline std::ostream& operator<<(std::ostream& stream, const Resources& resources)
{
    return stream << resources.descriptors << " descriptors, " << resources.threads << " threads, "
                  << resources.mappings << " mappings";
}
