// One consumer buffer as the grabber knows it.
#pragma once

#include <cstdint>

namespace V4lX
{

/// Memory and size stay as registered. The memory is the caller's, from registration until
/// DeregisterBuffer has returned.
struct UserBuffer {
    void* address;
    std::uint64_t size;     ///< bytes
    std::uint64_t context;  ///< as given at the last queueing
    std::uint64_t handle;   ///< what the caller knows it by
    std::uint32_t reserved; ///< 0 from queueing on
    bool queued;            ///< waiting to be filled
};

} // namespace V4lX
