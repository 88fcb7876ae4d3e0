#include "modules/generic/default_device.h"

#include "registers/space/register_data.h"

namespace GenTLProducer
{

namespace
{

// Register space of the device module.
enum Address : std::uint64_t {
    kStreamSelector = 0x0,
    kStreamSelectorMax = 0x4,
    kStreamId = 0x8,
    kDeviceId = 0x108,
    kSerialNumber = 0x208,
    kVendorName = 0x308,
    kModelName = 0x408,
    kProduct = 0x508,
    kVersion = 0x608,
    kManufacturerInfo = 0x708,
    kType = 0x808,
    kDisplayName = 0x840,
    kAccessStatus = 0x940,
    kReservedWord = 0x944,
    kSecondReservedWord = 0x948,
    kEndiannessMechanism = 0x94C,
    kUserDefinedName = 0x950,
    kEventSelector = 0x9A0,
    kEventNotification = 0x9A4,
    kDescription = 0x1000,
};

constexpr std::size_t kTextWidth = 256;

// Values of the event notification register.
constexpr std::uint32_t kNotificationOff = 0;
constexpr std::uint32_t kNotificationOn = 1;
constexpr std::uint32_t kNotificationOnce = 2;

constexpr std::uint32_t kEventDeviceLost = 0;

DEVICE_ACCESS_STATUS statusOf(DEVICE_ACCESS_FLAGS iOpenFlags)
{
    switch (iOpenFlags) {
    case DEVICE_ACCESS_NONE:
        return DEVICE_ACCESS_STATUS_NOACCESS;
    case DEVICE_ACCESS_READONLY:
        return DEVICE_ACCESS_STATUS_READONLY;
    case DEVICE_ACCESS_CONTROL:
    case DEVICE_ACCESS_EXCLUSIVE:
        return DEVICE_ACCESS_STATUS_READWRITE;
    default:
        return DEVICE_ACCESS_STATUS_UNKNOWN;
    }
}

} // namespace

CDefaultDevice::CDefaultDevice(InfoPtr deviceInfo, Handle parent, DEVICE_ACCESS_FLAGS iOpenFlags)
    : CDefaultModule<IDevice>(parent), deviceInfo_(std::move(deviceInfo)),
      accessStatus_(statusOf(iOpenFlags))
{
}

GC_ERROR CDefaultDevice::Open()
{
    const Lock lock(mutex_);
    OpenPort();
    DeclareRegisters();
    AttachDescription(kDescription);
    isOpen_ = true;
    return GC_ERR_SUCCESS;
}

void CDefaultDevice::DeclareRegisters()
{
    const auto info = [this](std::int32_t command) { return ReadInfoString(deviceInfo_, command); };
    const auto privateInfo = [this](std::int32_t command) {
        return ReadInfoString(deviceInfo_, command, true);
    };

    registers_.Declare32(kStreamSelector, kReadWrite, 0, this);
    registers_.Declare32(kStreamSelectorMax, kReadWrite, LastIndex(streams_), nullptr);
    DeclareText(kStreamId, "No Stream selected", kTextWidth);
    DeclareText(kDeviceId, info(DEVICE_INFO_ID), kTextWidth);
    DeclareText(kSerialNumber, privateInfo(DEVICE_PRIVATE_INFO_SERIAL_NUMBER), kTextWidth);
    DeclareText(kVendorName, info(DEVICE_INFO_VENDOR), kTextWidth);
    DeclareText(kModelName, info(DEVICE_INFO_MODEL), kTextWidth);
    DeclareText(kProduct, privateInfo(DEVICE_PRIVATE_INFO_PRODUCT), kTextWidth);
    DeclareText(kVersion, privateInfo(DEVICE_PRIVATE_INFO_VERSION), kTextWidth);
    DeclareText(kManufacturerInfo, privateInfo(DEVICE_PRIVATE_INFO_MANUFACTURER), kTextWidth);
    registers_.Declare32(kType, kReadOnly, static_cast<std::uint32_t>(ReadInfoInt(deviceInfo_)),
                         nullptr);
    DeclareText(kDisplayName, info(DEVICE_INFO_DISPLAYNAME), kTextWidth);
    // Whatever the access: an open device shows as readable and writable here.
    registers_.Declare32(kAccessStatus, kReadOnly, DEVICE_ACCESS_STATUS_READWRITE, nullptr);
    registers_.Declare32(kReservedWord, kReadOnly, 2, nullptr);
    registers_.Declare32(kSecondReservedWord, kReadOnly, 2, nullptr);
    registers_.Declare32(kEndiannessMechanism, kReadWrite, 1, nullptr);
    DeclareText(kUserDefinedName, info(DEVICE_INFO_USER_DEFINED_NAME), 64);
    registers_.Declare32(kEventSelector, kReadWrite, kEventDeviceLost, this);
    registers_.Declare32(kEventNotification, kReadWrite, kNotificationOff, this);
}

void CDefaultDevice::Close()
{
    const Lock lock(mutex_);
    streams_.clear();
    deviceInfo_.reset();
    streamSelector_ = 0;
    accessStatus_ = DEVICE_ACCESS_STATUS_UNKNOWN;
    RemoveOwnHandle();
    CloseModule();
}

GC_ERROR CDefaultDevice::GetNumDataStreams(std::uint32_t* piNumDataStreams)
{
    const Lock lock(mutex_);
    if (!isOpen_)
        return GC_ERR_NOT_INITIALIZED;
    *piNumDataStreams = static_cast<std::uint32_t>(streams_.size());
    return GC_ERR_SUCCESS;
}

GC_ERROR CDefaultDevice::GetDataStreamID(std::uint32_t iIndex, char* sDataStreamID,
                                         std::size_t* piSize)
{
    const Lock lock(mutex_);
    if (!isOpen_)
        return GC_ERR_NOT_INITIALIZED;
    return CopyChildId(streams_, iIndex, sDataStreamID, piSize);
}

GC_ERROR CDefaultDevice::OpenDataStream(const char* sDataStreamID, DS_HANDLE* phDataStream)
{
    const Lock lock(mutex_);
    if (!isOpen_)
        return GC_ERR_NOT_INITIALIZED;
    ChildEntry<IStream>* const entry = FindChild(streams_, sDataStreamID);
    if (!entry)
        return GC_ERR_INVALID_PARAMETER;
    if (entry->module)
        return GC_ERR_RESOURCE_IN_USE;
    return CreateStream(static_cast<std::size_t>(entry - streams_.data()), phDataStream);
}

GC_ERROR CDefaultDevice::CloseDataStream(const char* sDataStreamID)
{
    const Lock lock(mutex_);
    if (!isOpen_)
        return GC_ERR_NOT_INITIALIZED;
    ChildEntry<IStream>* const entry = FindChild(streams_, sDataStreamID);
    if (!entry || !entry->module)
        return GC_ERR_INVALID_PARAMETER;
    CloseChild(*entry);
    return GC_ERR_SUCCESS;
}

DEVICE_ACCESS_STATUS CDefaultDevice::GetAccessStatus() const
{
    const Lock lock(mutex_);
    return accessStatus_;
}

std::string CDefaultDevice::GetId() const
{
    const Lock lock(mutex_);
    return deviceInfo_ ? deviceInfo_->GetId() : std::string();
}

void CDefaultDevice::AddStream(const InfoPtr& info)
{
    if (ChildEntry<IStream>* const entry = FindChild(streams_, info->GetId())) {
        entry->found = true;
    } else {
        streams_.emplace_back(info);
        streams_.back().isNew = true;
    }
    registers_.Write32(kStreamSelector, 0);
    registers_.Write32(kStreamSelectorMax, LastIndex(streams_));
}

bool CDefaultDevice::isDeviceLostSelected()
{
    return registers_.Read32(kEventSelector) == kEventDeviceLost;
}

bool CDefaultDevice::OnRegisterWrite(std::uint64_t address, const std::uint32_t* pUiRegisterData,
                                     std::size_t uiRegisterDataSize)
{
    switch (address) {
    case kStreamSelector:
        streamSelector_ = ReadRegisterValue(pUiRegisterData, uiRegisterDataSize);
        RewriteText(kStreamId,
                    streamSelector_ < streams_.size()
                        ? ReadInfoString(streams_[streamSelector_].info, STREAM_INFO_ID)
                        : "No Stream selected",
                    kTextWidth);
        return true;
    case kEventNotification:
        if (isDeviceLostSelected())
            eventNotification_ = ReadRegisterValue(pUiRegisterData, uiRegisterDataSize);
        return true;
    default:
        return false;
    }
}

bool CDefaultDevice::OnRegisterRead(std::uint64_t address, std::uint32_t* pUiRegisterData,
                                    std::size_t uiRegisterDataSize)
{
    switch (address) {
    case kStreamSelector:
        WriteRegisterValue(pUiRegisterData, uiRegisterDataSize, streamSelector_);
        return true;
    case kEventNotification:
        if (isDeviceLostSelected())
            WriteRegisterValue(pUiRegisterData, uiRegisterDataSize, eventNotification_.load());
        return true;
    default:
        return false;
    }
}

bool CDefaultDevice::TakeNotification(std::uint32_t event)
{
    if (event != kEventDeviceLost)
        return false;
    std::uint32_t once = kNotificationOnce;
    return eventNotification_.compare_exchange_strong(once, kNotificationOff) ||
           once == kNotificationOn;
}

} // namespace GenTLProducer
