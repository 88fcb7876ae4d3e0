// Transfers of any length over a bridge that takes short ones.
#pragma once

#include <cstdint>
#include <memory>

#include "bus/address.h"
#include "bus/imcm_bridge.h"

namespace mcm
{

/// Longest pieces that the other side takes, in bytes; 0 means no limit.
struct TransferLimits {
    std::int64_t maximumReadLength;
    std::int64_t maximumWriteLength;
};

/// A value: copies share the bridge. A transfer holds the bridge's lock across all its pieces,
/// which go to consecutive CCI addresses (modulo 65536). If a piece fails, its exception passes
/// on, and what was sent before stays sent. A size of 0 or below moves nothing.
class ChunkedConnection final
{
public:
    ChunkedConnection(std::shared_ptr<IMcmBridge> bridge, TransferLimits limits)
        : bridge_(std::move(bridge)), limits_(limits)
    {
    }

    const std::shared_ptr<IMcmBridge>& bridge() const noexcept { return bridge_; }
    const TransferLimits& limits() const noexcept { return limits_; }
    void setLimits(TransferLimits limits) noexcept { limits_ = limits; }

    void read(CciAddress address, void* data, long size) const;
    void write(CciAddress address, const void* data, long size) const;

private:
    std::shared_ptr<IMcmBridge> bridge_;
    TransferLimits limits_;
};

} // namespace mcm
