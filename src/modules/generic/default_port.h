// The port operations that every module and the remote device share.
#pragma once

#include <cstring>
#include <mutex>
#include <string>
#include <vector>

#include <boost/make_shared.hpp>
#include <boost/shared_ptr.hpp>
#include <boost/thread/recursive_mutex.hpp>

#include "modules/generic/imodule.h"
#include "modules/generic/info_records.h"

namespace GenTLProducer
{

using CUrlInfoVector = std::vector<boost::shared_ptr<CDefaultUrlInfo>>;

/// Gives the URLs of a port as one sequence, each with its NUL, a further NUL at the end.
/// A size below that is GC_ERR_INVALID_PARAMETER.
GC_ERROR CopyUrlList(const CUrlInfoVector& urls, char* sURL, std::size_t* piSize);

/// Implements URLs and port info for T, an IPort. Holds the module's one lock, which is recursive
/// since a module's operations call each other; a parent's lock is taken before its child's.
template <typename T>
class CDefaultPort : public T
{
public:
    CDefaultPort() = default;
    CDefaultPort(const CDefaultPort&) = delete;
    CDefaultPort& operator=(const CDefaultPort&) = delete;

    GC_ERROR GetNumPortURLs(std::uint32_t* piNumURLs) override
    {
        const Lock lock(mutex_);
        if (!isOpen_)
            return GC_ERR_NOT_INITIALIZED;
        *piNumURLs = static_cast<std::uint32_t>(urls_.size());
        return GC_ERR_SUCCESS;
    }

    GC_ERROR GetPortInfo(std::int32_t iInfoCmd, INFO_DATATYPE* piType, void* pBuffer,
                         std::size_t* piSize) override
    {
        const Lock lock(mutex_);
        if (!isOpen_ || !portInfo_)
            return GC_ERR_NOT_INITIALIZED;
        return portInfo_->GetInfo(iInfoCmd, piType, pBuffer, piSize);
    }

    GC_ERROR GetPortURL(char* sURL, std::size_t* piSize) override
    {
        const Lock lock(mutex_);
        if (!isOpen_)
            return GC_ERR_NOT_INITIALIZED;
        return CopyUrlList(urls_, sURL, piSize);
    }

    GC_ERROR GetPortURLInfo(std::uint32_t iURLIndex, std::int32_t iInfoCmd, INFO_DATATYPE* piType,
                            void* pBuffer, std::size_t* piSize) override
    {
        const Lock lock(mutex_);
        if (!isOpen_)
            return GC_ERR_NOT_INITIALIZED;
        if (iURLIndex >= urls_.size())
            return GC_ERR_INVALID_INDEX;
        if (!urls_[iURLIndex])
            return GC_ERR_ERROR;
        return urls_[iURLIndex]->GetInfo(iInfoCmd, piType, pBuffer, piSize);
    }

protected:
    using Lock = std::lock_guard<boost::recursive_mutex>;

    /// Makes the port info record. The concrete ports override it.
    virtual void CreatePortInfo()
    {
        SetPortInfo({CDefaultPortInfo::Endianness::Little, "DefaultPort", "PortModule", "Port",
                     "OEM", "GenTL Producer", "1.0.0.0", "Custom", "Custom"});
    }

    GC_ERROR OpenPort()
    {
        CreatePortInfo();
        return GC_ERR_SUCCESS;
    }

    void ClosePort()
    {
        const Lock lock(mutex_);
        urls_.clear();
        isOpen_ = false;
    }

    void SetPortInfo(CDefaultPortInfo::Fields fields)
    {
        portInfo_ = boost::make_shared<CDefaultPortInfo>(std::move(fields));
    }

    mutable boost::recursive_mutex mutex_;
    CUrlInfoVector urls_;
    bool isOpen_ = false;
    boost::shared_ptr<IEnumerationInfo> portInfo_;
};

} // namespace GenTLProducer
