// A port with registers, a parent and a handle: what the four GenTL modules share.
#pragma once

#include "modules/generic/default_port.h"
#include "modules/generic/handle_registry.h"
#include "modules/generic/port_description.h"
#include "registers/space/cregister_map.h"
#include "trace/gentl_trace.h"

namespace GenTLProducer
{

/// Implements the register port and the handles for T, an IModule. Writes, and reads whose
/// results are traced, throw as CRegisterMap does; the exported port functions turn that into the
/// results that the others give.
template <typename T>
class CDefaultModule : public CDefaultPort<T>
{
public:
    explicit CDefaultModule(Handle parent) : parent_(parent) {}

    GC_ERROR ReadPort(std::uint64_t iAddress, void* pBuffer, std::size_t* piSize) override
    {
        const Lock lock(this->mutex_);
        if (!this->isOpen_)
            return GC_ERR_NOT_INITIALIZED;
        // Consumers try registers: an exception is thrown only where its words are traced.
        if (IsGenTLTraced(kTraceResults, 1)) {
            registers_.UserRead(iAddress, pBuffer, *piSize);
            return GC_ERR_SUCCESS;
        }
        switch (registers_.TryUserRead(iAddress, pBuffer, *piSize)) {
        case CRegisterMap::Refusal::Address:
            return GC_ERR_INVALID_ADDRESS;
        case CRegisterMap::Refusal::Access:
            return GC_ERR_ACCESS_DENIED;
        case CRegisterMap::Refusal::None:
            break;
        }
        return GC_ERR_SUCCESS;
    }

    GC_ERROR WritePort(std::uint64_t iAddress, const void* pBuffer, std::size_t* piSize) override
    {
        const Lock lock(this->mutex_);
        if (!this->isOpen_)
            return GC_ERR_NOT_INITIALIZED;
        registers_.UserWrite(iAddress, pBuffer, *piSize);
        return GC_ERR_SUCCESS;
    }

    GC_ERROR RegisterEvent(std::int32_t /*iEventID*/, EVENT_HANDLE* /*phEvent*/) override
    {
        const Lock lock(this->mutex_);
        return this->isOpen_ ? GC_ERR_NOT_IMPLEMENTED : GC_ERR_NOT_INITIALIZED;
    }

    GC_ERROR UnregisterEvent(std::int32_t /*iEventID*/) override
    {
        const Lock lock(this->mutex_);
        return this->isOpen_ ? GC_ERR_NOT_IMPLEMENTED : GC_ERR_NOT_INITIALIZED;
    }

    Handle GetParent() const override
    {
        const Lock lock(this->mutex_);
        return parent_;
    }

    Handle GetHandle() const override
    {
        const Lock lock(this->mutex_);
        return handle_;
    }

    void SetHandle(Handle handle) override
    {
        const Lock lock(this->mutex_);
        handle_ = handle;
    }

protected:
    using Lock = typename CDefaultPort<T>::Lock;

    static constexpr std::uint32_t kReadOnly = CRegisterMap::kReadable;
    static constexpr std::uint32_t kWriteOnly = CRegisterMap::kWritable;
    static constexpr std::uint32_t kReadWrite = CRegisterMap::kReadable | CRegisterMap::kWritable;

    /// A read-only string register of a fixed width.
    void DeclareText(std::uint64_t address, const std::string& text, std::size_t width)
    {
        registers_.DeclareString(address, kReadOnly, text.c_str(), width, nullptr);
    }

    /// Rewrites a string register, cut to its width.
    void RewriteText(std::uint64_t address, const std::string& text, std::size_t width)
    {
        if (text.size() < width)
            registers_.WriteString(address, text.c_str());
        else
            registers_.Write(address, text.data(), width);
    }

    /// Publishes the module's description, if it has one, as a register and a URL.
    void AttachDescription(std::uint64_t address)
    {
        std::vector<std::uint8_t> xmlBytes;
        boost::shared_ptr<CDefaultUrlInfo> urlInfo;
        if (!AttachPortXml(this->portInfo_->GetId(), xmlBytes, urlInfo, address))
            return;
        registers_.Declare(address, kReadOnly, xmlBytes.data(), xmlBytes.size(), nullptr);
        this->urls_.push_back(urlInfo);
    }

    void RemoveOwnHandle()
    {
        HandleRegistry::Instance()->Remove(handle_);
        handle_ = 0;
    }

    void CloseModule()
    {
        const Lock lock(this->mutex_);
        registers_.Clear();
        this->ClosePort();
    }

    CRegisterMap registers_;

private:
    Handle parent_;
    Handle handle_ = 0;
};

} // namespace GenTLProducer
