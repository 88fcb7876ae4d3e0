// The event of a data stream: a filled buffer is waiting.
#pragma once

#include <mutex>

#include <boost/weak_ptr.hpp>

#include "modules/generic/default_event.h"
#include "modules/generic/istream.h"

namespace GenTLProducer
{

/// Takes its data from the stream's output queue. The stream owns the event; the event's
/// reference is a weak one, held only while it fetches, so that a closing stream and a waiting
/// thread don't wait for each other.
class CEventNewBuffer final : public CDefaultEvent
{
public:
    /// Starts to wait on the stream's pipes. The result of Init.
    GC_ERROR Attach(boost::weak_ptr<IStream> stream, Span<PipeEvent* const> pipes);

    GC_ERROR GetInfo(std::int32_t iInfoCmd, INFO_DATATYPE* piType, void* pBuffer,
                     std::size_t* piSize) override;
    GC_ERROR GetDataInfo(const void* pInBuffer, std::size_t iInSize, std::int32_t iInfoCmd,
                         INFO_DATATYPE* piType, void* pOutBuffer, std::size_t* piOutSize) override;
    GC_ERROR Flush() override;
    void Close() override;

private:
    GC_ERROR GetDataImpl(void* pBuffer, std::size_t* piSize) override;
    boost::shared_ptr<IStream> Stream() const;

    mutable std::mutex streamMutex_; // leaf
    boost::weak_ptr<IStream> stream_;
};

} // namespace GenTLProducer
