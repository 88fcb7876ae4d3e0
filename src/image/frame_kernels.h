// The loops that touch every byte of a frame, in one set for each kind of processor.
#pragma once

#include <cstddef>
#include <cstdint>

#include "base/span.h"

namespace V4lX
{

/// Source and destination begin at any address and don't overlap; nothing beyond them is read or
/// written. All sets give the same bytes.
struct FrameKernels {
    using Copy = void (*)(const std::uint8_t* source, std::uint8_t* destination,
                          std::size_t size) noexcept;
    /// See ConvertYuv420.
    using Convert = void (*)(const std::uint8_t* source, std::uint8_t* destination,
                             std::size_t width, std::size_t height) noexcept;

    const char* name;
    Convert convertYuv420;
    /// The same past the caches: faster for what is larger than these, slower on memory that was
    /// never written before. Null where the processor has no such stores.
    Copy copyStreamed;
    Convert convertYuv420Streamed; ///< width at least kStreamedWidth
};

constexpr std::size_t kStreamedWidth = 64; ///< pixels

// One set for each instruction set that the build knows; see AvailableFrameKernels.
extern const FrameKernels kPortableKernels;
extern const FrameKernels kSse2Kernels;
extern const FrameKernels kAvx2Kernels;
extern const FrameKernels kAvx512Kernels;
extern const FrameKernels kNeonKernels;

/// The sets that this processor can run, from the portable one to the fastest.
GenTLProducer::Span<const FrameKernels* const> AvailableFrameKernels() noexcept;

/// True where size bytes at destination are better written past the caches.
bool IsStreamingWorthwhile(const void* destination, std::size_t size) noexcept;

} // namespace V4lX
