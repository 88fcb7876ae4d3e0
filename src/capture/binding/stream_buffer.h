// The GenTL buffer that the grabber can fill.
#pragma once

#include "modules/generic/default_stream_buffer.h"

namespace GenTLProducer
{

class StreamBuffer final : public CDefaultStreamBuffer
{
public:
    using CDefaultStreamBuffer::CDefaultStreamBuffer;

    /// No frame of this camera has chunks: 0 of them, or GC_ERR_INVALID_HANDLE for an incomplete
    /// buffer or one without memory.
    GC_ERROR GetChunkData(SINGLE_CHUNK_DATA* pChunkData, std::size_t* piNumChunks) override
    {
        static_cast<void>(pChunkData);
        if (frame().incomplete || !GetData())
            return GC_ERR_INVALID_HANDLE;
        *piNumChunks = 0;
        return GC_ERR_SUCCESS;
    }

    /// The grabber's name for this buffer; 0 while it has none.
    std::uint64_t grabberHandle() const noexcept { return grabberHandle_; }
    void setGrabberHandle(std::uint64_t handle) noexcept { grabberHandle_ = handle; }

private:
    std::uint64_t grabberHandle_ = 0;
};

} // namespace GenTLProducer
