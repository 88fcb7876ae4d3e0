#include "modules/generic/default_system.h"

#include "registers/space/register_data.h"

namespace GenTLProducer
{

namespace
{

// Register space of the system module.
enum Address : std::uint64_t {
    kInterfaceCount = 0x4,
    kInterfaceSelector = 0x8,
    kInterfaceSelectorMax = 0xC,
    kInterfaceUpdateList = 0x44,
    kVendorName = 0x48,
    kModelName = 0x88,
    kVersion = 0xC8,
    kGenTLVersionMinor = 0xD8,
    kGenTLVersionMajor = 0xDC,
    kSfncVersionMinor = 0xE8,
    kSfncVersionMajor = 0xEC,
    kFileName = 0x100,
    kPath = 0x200,
    kDisplayName = 0x600,
    kTypeText = 0x700,
    kInterfaceId = 0x740,
    kInterfaceDisplayName = 0x840,
    kType = 0x940,
    kDescription = 0x944,
};

constexpr std::size_t kInterfaceTextWidth = 256;
constexpr std::uint64_t kUpdateTimeoutMs = 500;

} // namespace

CDefaultSystem::CDefaultSystem(InfoPtr systemInfo)
    : CDefaultModule<ISystem>(0), systemInfo_(std::move(systemInfo))
{
}

GC_ERROR CDefaultSystem::Open()
{
    const Lock lock(mutex_);
    OpenPort();
    DeclareRegisters();
    AttachDescription(kDescription);
    isOpen_ = true;
    return GC_ERR_SUCCESS;
}

void CDefaultSystem::DeclareRegisters()
{
    registers_.Declare32(kInterfaceCount, kReadOnly, static_cast<std::uint32_t>(interfaces_.size()),
                         nullptr);
    registers_.Declare32(kInterfaceSelector, kReadWrite, 0, this);
    registers_.Declare32(kInterfaceSelectorMax, kReadOnly, 0, this);
    registers_.Declare32(kInterfaceUpdateList, kReadWrite, 0, this);
    DeclareText(kVendorName, ReadInfoString(systemInfo_, TL_INFO_VENDOR), 64);
    DeclareText(kModelName, ReadInfoString(systemInfo_, TL_INFO_MODEL), 64);
    DeclareText(kVersion, ReadInfoString(systemInfo_, TL_INFO_VERSION), 16);
    registers_.Declare32(kGenTLVersionMinor, kReadOnly, 5, nullptr);
    registers_.Declare32(kGenTLVersionMajor, kReadOnly, 1, nullptr);
    registers_.Declare32(kSfncVersionMinor, kReadOnly, 1, nullptr);
    registers_.Declare32(kSfncVersionMajor, kReadOnly, 1, nullptr);
    // A path may be longer than what the record's reader takes; here it is cut to the register.
    const std::string path = LibraryPath();
    DeclareText(kFileName, BaseName(path), 256);
    DeclareText(kPath, path, 1024);
    DeclareText(kDisplayName, ReadInfoString(systemInfo_, TL_INFO_DISPLAYNAME), 256);
    DeclareText(kTypeText, ReadInfoString(systemInfo_, TL_INFO_TLTYPE), 64);
    DeclareText(kInterfaceId, "No Interface selected", kInterfaceTextWidth);
    DeclareText(kInterfaceDisplayName, "No interface selected", kInterfaceTextWidth);
    registers_.Declare32(kType, kReadOnly, static_cast<std::uint32_t>(ReadInfoInt(systemInfo_)),
                         nullptr);
}

void CDefaultSystem::Close()
{
    const Lock lock(mutex_);
    interfaceSelector_ = 0;
    interfaces_.clear();
    systemInfo_.reset();
    RemoveOwnHandle();
    CloseModule();
}

GC_ERROR CDefaultSystem::GetInfo(std::int32_t iInfoCmd, INFO_DATATYPE* piType, void* pBuffer,
                                 std::size_t* piSize)
{
    const Lock lock(mutex_);
    if (!isOpen_)
        return GC_ERR_NOT_INITIALIZED;
    return systemInfo_->GetInfo(iInfoCmd, piType, pBuffer, piSize);
}

GC_ERROR CDefaultSystem::UpdateInterfaceList(bool8_t* pbChanged, std::uint64_t /*iTimeout*/)
{
    const Lock lock(mutex_);
    if (!isOpen_)
        return GC_ERR_NOT_INITIALIZED;
    if (pbChanged)
        *pbChanged = false;
    ClampSelector();
    return GC_ERR_SUCCESS;
}

GC_ERROR CDefaultSystem::GetNumInterfaces(std::uint32_t* piNumIfaces)
{
    const Lock lock(mutex_);
    if (!isOpen_)
        return GC_ERR_NOT_INITIALIZED;
    *piNumIfaces = static_cast<std::uint32_t>(interfaces_.size());
    return GC_ERR_SUCCESS;
}

GC_ERROR CDefaultSystem::GetInterfaceID(std::uint32_t iIndex, char* sID, std::size_t* piSize)
{
    const Lock lock(mutex_);
    if (!isOpen_)
        return GC_ERR_NOT_INITIALIZED;
    return CopyChildId(interfaces_, iIndex, sID, piSize);
}

GC_ERROR CDefaultSystem::GetInterfaceInfo(const char* sIfaceID, std::int32_t iInfoCmd,
                                          INFO_DATATYPE* piType, void* pBuffer, std::size_t* piSize)
{
    const Lock lock(mutex_);
    if (!isOpen_ || interfaces_.empty())
        return GC_ERR_NOT_INITIALIZED;
    ChildEntry<IInterface>* const entry = FindChild(interfaces_, sIfaceID);
    if (!entry)
        return GC_ERR_INVALID_ID;
    return entry->info->GetInfo(iInfoCmd, piType, pBuffer, piSize);
}

GC_ERROR CDefaultSystem::OpenInterface(const char* sIfaceID, IF_HANDLE* phIface)
{
    constexpr std::uint64_t kSearchTimeoutMs = 1000;

    const Lock lock(mutex_);
    if (!isOpen_)
        return GC_ERR_NOT_INITIALIZED;
    if (!phIface)
        return GC_ERR_INVALID_PARAMETER;
    ChildEntry<IInterface>* entry = FindChild(interfaces_, sIfaceID);
    if (!entry) {
        UpdateInterfaceList(nullptr, kSearchTimeoutMs);
        entry = FindChild(interfaces_, sIfaceID);
    }
    if (!entry)
        return GC_ERR_INVALID_ID;
    if (entry->module)
        return GC_ERR_RESOURCE_IN_USE;
    return CreateInterface(static_cast<std::size_t>(entry - interfaces_.data()), phIface);
}

GC_ERROR CDefaultSystem::CloseInterface(const char* sIfaceID)
{
    const Lock lock(mutex_);
    if (!isOpen_)
        return GC_ERR_NOT_INITIALIZED;
    ChildEntry<IInterface>* const entry = FindChild(interfaces_, sIfaceID);
    if (!entry || !entry->module)
        return GC_ERR_INVALID_PARAMETER;
    CloseChild(*entry);
    return GC_ERR_SUCCESS;
}

bool CDefaultSystem::OnRegisterWrite(std::uint64_t address, const std::uint32_t* pUiRegisterData,
                                     std::size_t uiRegisterDataSize)
{
    if (!isOpen_)
        return true;
    if (address == kInterfaceUpdateList) {
        UpdateInterfaceList(nullptr, kUpdateTimeoutMs);
        return true;
    }
    if (address != kInterfaceSelector)
        return false;

    interfaceSelector_ = ReadRegisterValue(pUiRegisterData, uiRegisterDataSize);
    std::string identifier = "No Interface selected";
    std::string displayName = identifier;
    if (interfaceSelector_ < interfaces_.size()) {
        const InfoPtr& info = interfaces_[interfaceSelector_].info;
        identifier = ReadInfoString(info, INTERFACE_INFO_ID);
        displayName = ReadInfoString(info, INTERFACE_INFO_DISPLAYNAME);
    }
    RewriteText(kInterfaceId, identifier, kInterfaceTextWidth);
    RewriteText(kInterfaceDisplayName, displayName, kInterfaceTextWidth);
    return true;
}

bool CDefaultSystem::OnRegisterRead(std::uint64_t address, std::uint32_t* pUiRegisterData,
                                    std::size_t uiRegisterDataSize)
{
    switch (address) {
    case kInterfaceSelector:
        WriteRegisterValue(pUiRegisterData, uiRegisterDataSize, interfaceSelector_);
        return true;
    case kInterfaceSelectorMax:
        WriteRegisterValue(pUiRegisterData, uiRegisterDataSize, LastIndex(interfaces_));
        return true;
    default:
        return false;
    }
}

void CDefaultSystem::ClampSelector()
{
    interfaceSelector_ = std::min(interfaceSelector_, LastIndex(interfaces_));
    registers_.Write32(kInterfaceSelector, interfaceSelector_);
}

} // namespace GenTLProducer
