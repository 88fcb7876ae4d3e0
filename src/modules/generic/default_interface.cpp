#include "modules/generic/default_interface.h"

#include "registers/space/register_data.h"

namespace GenTLProducer
{

namespace
{

// Register space of the interface module.
enum Address : std::uint64_t {
    kInterfaceId = 0x0,
    kInterfaceDisplayName = 0x100,
    kUpdateDeviceList = 0x280,
    kInterfaceType = 0x284,
    kInterfaceTLVersionMajor = 0x288,
    kInterfaceTLVersionMinor = 0x28C,
    kDeviceSelectorMax = 0x290,
    kDeviceId = 0x380,
    kVersionWord = 0x480,
    kDeviceSelector = 0x484,
    kDeviceVendorName = 0x488,
    kDeviceModelName = 0x4C8,
    kDeviceType = 0x508,
    kReservedWord = 0x548,
    kDeviceAccessStatus = 0x54C,
    kDeviceSerialNumber = 0x550,
    kReservedWordBehindSerialNumber = 0x590,
    kDeviceTLVersionMajor = 0x5A0,
    kDeviceTLVersionMinor = 0x5A4,
    kDescription = 0x700,
};

constexpr std::size_t kDeviceIdWidth = 256;
constexpr std::size_t kDeviceTextWidth = 64;
constexpr std::uint64_t kRegisterUpdateTimeoutMs = 500;
constexpr std::uint64_t kImplicitUpdateTimeoutMs = 1000;

// The texts for "none" differ in one letter from register to register, and by the way there.
constexpr char kNoDevice[] = "No device selected";
constexpr char kNoDeviceCapital[] = "No Device selected";

std::uint32_t AccessStatusOf(const ChildEntry<IDevice>& entry)
{
    return entry.module ? static_cast<std::uint32_t>(entry.module->GetAccessStatus()) : 0;
}

} // namespace

CDefaultInterface::CDefaultInterface(InfoPtr interfaceInfo, Handle parent)
    : CDefaultModule<IInterface>(parent), interfaceInfo_(std::move(interfaceInfo))
{
}

GC_ERROR CDefaultInterface::Open()
{
    const Lock lock(mutex_);
    OpenPort();
    DeclareRegisters();
    AttachDescription(kDescription);
    isOpen_ = true;
    return GC_ERR_SUCCESS;
}

void CDefaultInterface::DeclareRegisters()
{
    DeclareText(kInterfaceId, ReadInfoString(interfaceInfo_, INTERFACE_INFO_ID), 256);
    DeclareText(kInterfaceDisplayName, ReadInfoString(interfaceInfo_, INTERFACE_INFO_DISPLAYNAME),
                256);
    registers_.Declare32(kUpdateDeviceList, kWriteOnly, 0, this);
    registers_.Declare32(kInterfaceType, kReadOnly,
                         static_cast<std::uint32_t>(ReadInfoInt(interfaceInfo_)), nullptr);
    registers_.Declare32(kInterfaceTLVersionMajor, kReadOnly, 1, this);
    registers_.Declare32(kInterfaceTLVersionMinor, kReadOnly, 5, this);
    registers_.Declare32(kDeviceSelectorMax, kReadOnly, 0, this);
    DeclareText(kDeviceId, kNoDevice, kDeviceIdWidth);
    registers_.Declare32(kVersionWord, kReadOnly, 1, this);
    registers_.Declare32(kDeviceSelector, kReadWrite, 0, this);
    DeclareText(kDeviceVendorName, kNoDevice, kDeviceTextWidth);
    DeclareText(kDeviceModelName, kNoDevice, kDeviceTextWidth);
    DeclareText(kDeviceType, ReadInfoString(interfaceInfo_, INTERFACE_INFO_TLTYPE), 32);
    registers_.Declare32(kReservedWord, kReadOnly, 0, nullptr);
    registers_.Declare32(kDeviceAccessStatus, kReadOnly, 0, nullptr);
    DeclareText(kDeviceSerialNumber, kNoDeviceCapital, kDeviceTextWidth);
    registers_.Declare32(kReservedWordBehindSerialNumber, kReadOnly, 0, nullptr);
    registers_.Declare32(kDeviceTLVersionMajor, kReadOnly, 1, this);
    registers_.Declare32(kDeviceTLVersionMinor, kReadOnly, 5, this);
}

void CDefaultInterface::Close()
{
    const Lock lock(mutex_);
    interfaceInfo_.reset();
    deviceSelector_ = 0;
    updated_ = false;
    devices_.clear();
    RemoveOwnHandle();
    CloseModule();
}

GC_ERROR CDefaultInterface::GetNumDevices(std::uint32_t* piNumDevices)
{
    const Lock lock(mutex_);
    if (!isOpen_)
        return GC_ERR_NOT_INITIALIZED;
    if (!updated_)
        return GC_ERR_NOT_AVAILABLE;
    *piNumDevices = static_cast<std::uint32_t>(devices_.size());
    return GC_ERR_SUCCESS;
}

GC_ERROR CDefaultInterface::GetDeviceID(std::uint32_t iIndex, char* sID, std::size_t* piSize)
{
    const Lock lock(mutex_);
    if (!isOpen_)
        return GC_ERR_NOT_INITIALIZED;
    return CopyChildId(devices_, iIndex, sID, piSize);
}

GC_ERROR CDefaultInterface::EnsureUpdated()
{
    return updated_ ? GC_ERR_SUCCESS : UpdateDeviceList(nullptr, kImplicitUpdateTimeoutMs);
}

GC_ERROR CDefaultInterface::GetDeviceInfo(const char* sDeviceID, std::int32_t iInfoCmd,
                                          INFO_DATATYPE* piType, void* pBuffer, std::size_t* piSize)
{
    const Lock lock(mutex_);
    if (!isOpen_)
        return GC_ERR_NOT_INITIALIZED;
    if (const GC_ERROR result = EnsureUpdated(); result != GC_ERR_SUCCESS)
        return result;
    if (devices_.empty())
        return GC_ERR_NOT_INITIALIZED;
    ChildEntry<IDevice>* const entry = FindChild(devices_, sDeviceID);
    if (!entry)
        return GC_ERR_INVALID_ID;
    if (iInfoCmd == DEVICE_INFO_ACCESS_STATUS && entry->module) {
        return InfoValue::Int32("DEVICE_INFO_ACCESS_STATUS", entry->module->GetAccessStatus())
            .Answer(piType, pBuffer, piSize);
    }
    return entry->info->GetInfo(iInfoCmd, piType, pBuffer, piSize);
}

GC_ERROR CDefaultInterface::OpenDevice(const char* sDeviceID, DEVICE_ACCESS_FLAGS iOpenFlags,
                                       DEV_HANDLE* phDevice)
{
    const Lock lock(mutex_);
    if (!isOpen_)
        return GC_ERR_NOT_INITIALIZED;
    if (const GC_ERROR result = EnsureUpdated(); result != GC_ERR_SUCCESS)
        return result;
    ChildEntry<IDevice>* const entry = FindChild(devices_, sDeviceID);
    if (!entry)
        return GC_ERR_INVALID_ID;
    if (entry->module)
        return GC_ERR_RESOURCE_IN_USE;
    const auto index = static_cast<std::size_t>(entry - devices_.data());
    const GC_ERROR result = CreateDevice(index, iOpenFlags, phDevice);
    if (deviceSelector_ == index)
        registers_.Write32(kDeviceAccessStatus, AccessStatusOf(*entry));
    return result;
}

GC_ERROR CDefaultInterface::CloseDevice(const char* sDeviceID)
{
    const Lock lock(mutex_);
    if (!isOpen_)
        return GC_ERR_NOT_INITIALIZED;
    ChildEntry<IDevice>* const entry = FindChild(devices_, sDeviceID);
    if (!entry)
        return GC_ERR_INVALID_ID;
    if (!entry->module)
        return GC_ERR_INVALID_PARAMETER;
    CloseChild(*entry);
    return GC_ERR_SUCCESS;
}

std::string CDefaultInterface::GetId() const
{
    const Lock lock(mutex_);
    return interfaceInfo_ ? interfaceInfo_->GetId() : std::string();
}

bool CDefaultInterface::OnRegisterWrite(std::uint64_t address, const std::uint32_t* pUiRegisterData,
                                        std::size_t uiRegisterDataSize)
{
    switch (address) {
    case kUpdateDeviceList:
        UpdateDeviceList(nullptr, kRegisterUpdateTimeoutMs);
        return true;
    case kDeviceSelector:
        deviceSelector_ = ReadRegisterValue(pUiRegisterData, uiRegisterDataSize);
        RefreshSelectedDevice(deviceSelector_);
        return true;
    default:
        return false;
    }
}

bool CDefaultInterface::OnRegisterRead(std::uint64_t address, std::uint32_t* pUiRegisterData,
                                       std::size_t uiRegisterDataSize)
{
    switch (address) {
    case kDeviceSelectorMax:
        WriteRegisterValue(pUiRegisterData, uiRegisterDataSize, LastIndex(devices_));
        return true;
    case kDeviceSelector:
        WriteRegisterValue(pUiRegisterData, uiRegisterDataSize, deviceSelector_);
        return true;
    default:
        return false;
    }
}

void CDefaultInterface::OnListUpdated()
{
    deviceSelector_ = std::min(deviceSelector_, LastIndex(devices_));
    registers_.Write32(kDeviceSelector, deviceSelector_);
    if (!devices_.empty()) {
        RefreshSelectedDevice(deviceSelector_);
        return;
    }
    registers_.Write32(kDeviceSelectorMax, 0);
    RewriteText(kDeviceId, kNoDevice, kDeviceIdWidth);
    RewriteText(kDeviceVendorName, kNoDevice, kDeviceTextWidth);
    RewriteText(kDeviceModelName, kNoDevice, kDeviceTextWidth);
    RewriteText(kDeviceSerialNumber, kNoDeviceCapital, kDeviceTextWidth);
}

void CDefaultInterface::RefreshSelectedDevice(std::uint32_t index)
{
    if (index >= devices_.size()) {
        RewriteText(kDeviceVendorName, kNoDeviceCapital, kDeviceTextWidth);
        RewriteText(kDeviceModelName, kNoDeviceCapital, kDeviceTextWidth);
        RewriteText(kDeviceId, kNoDeviceCapital, kDeviceIdWidth);
        RewriteText(kDeviceSerialNumber, kNoDeviceCapital, kDeviceTextWidth);
        registers_.Write32(kDeviceAccessStatus, 0);
        return;
    }
    const ChildEntry<IDevice>& entry = devices_[index];
    RewriteText(kDeviceVendorName, ReadInfoString(entry.info, DEVICE_INFO_VENDOR),
                kDeviceTextWidth);
    RewriteText(kDeviceModelName, ReadInfoString(entry.info, DEVICE_INFO_MODEL), kDeviceTextWidth);
    RewriteText(kDeviceId, ReadInfoString(entry.info, DEVICE_INFO_ID), kDeviceIdWidth);
    RewriteText(kDeviceSerialNumber,
                ReadInfoString(entry.info, DEVICE_PRIVATE_INFO_SERIAL_NUMBER, true),
                kDeviceTextWidth);
    registers_.Write32(kDeviceAccessStatus, AccessStatusOf(entry));
}

} // namespace GenTLProducer
