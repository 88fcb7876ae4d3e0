// The transport below all register access.
#pragma once

#include <cstdint>

namespace mcm
{

/// Moves bytes to and from 16-bit CCI addresses, at most 256 in a call; a failure throws. The
/// caller holds the lock around a whole logical transfer: write and read don't take it.
class IMcmBridge
{
public:
    virtual ~IMcmBridge() = default;
    virtual void write(std::uint16_t cciAddress, const void* data, long size) = 0;
    virtual void read(std::uint16_t cciAddress, void* data, long size) = 0;
    virtual void lock() = 0;
    virtual void unlock() = 0;
};

} // namespace mcm
