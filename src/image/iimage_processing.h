// The operation between kernel memory and the consumer's buffer.
#pragma once

#include <cstddef>
#include <cstdint>
#include <stdexcept>

namespace V4lX
{

/// One side of the operation.
struct ImageProperties {
    std::uint32_t width;       ///< pixels
    std::uint32_t height;      ///< lines
    std::uint32_t pixelFormat; ///< source: V4L2 fourcc; destination: PFNC value
    std::size_t payloadSize;   ///< bytes
};

/// No operation leads from the source's format to the destination's.
class UnsupportedFormats : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

/// Copies or converts images, from a Prepare on all those that have its properties.
/// One thread at a time.
class IImageProcessing
{
public:
    virtual ~IImageProcessing() = default;

    /// Chooses the operation. UnsupportedFormats if there is none, std::invalid_argument for
    /// properties that contradict each other.
    virtual void Prepare(const ImageProperties& srcImageProperties,
                         const ImageProperties& dstImageProperties) = 0;

    /// Fills destination, which holds at least the destination's payload, from size bytes at
    /// source. Reads and writes nothing beyond these. The memory may begin at any address and
    /// must not overlap. Never fails: always true.
    virtual bool Process(const void* source, void* destination, std::size_t size) = 0;
};

} // namespace V4lX
