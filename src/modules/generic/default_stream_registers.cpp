// The register space of the stream module.
#include "modules/generic/default_stream.h"
#include "registers/space/register_data.h"

namespace GenTLProducer
{

namespace
{

// Register space of the stream module.
enum Address : std::uint64_t {
    kStreamId = 0x0,
    kStreamType = 0x100,
    kAnnouncedBufferCount = 0x104,
    kBufferHandlingMode = 0x108,
    kAnnounceBufferMinimum = 0x10C,
    kDeliveredFrameCount = 0x110,
    kInputBufferCount = 0x118,
    kOutputBufferCount = 0x11C,
    kStartedFrameCount = 0x120,
    kPayloadSize = 0x124,
    kIsGrabbing = 0x128,
    kBufferAlignment = 0x130,
    kAnnounceAnytimeEnable = 0x134,
    kAutoBufferProperties = 0x138,
    kMaxNumBuffer = 0x13C,
    kMaxBufferSize = 0x140,
    kDescription = 0x1000,
};

constexpr std::uint64_t kLiveReadOnly[] = {
    kAnnouncedBufferCount, kBufferHandlingMode, kAnnounceBufferMinimum, kDeliveredFrameCount,
    kInputBufferCount,     kOutputBufferCount,  kStartedFrameCount,     kPayloadSize,
    kIsGrabbing,           kBufferAlignment,
};
constexpr std::uint64_t kLiveReadWrite[] = {
    kAnnounceAnytimeEnable,
    kAutoBufferProperties,
    kMaxNumBuffer,
    kMaxBufferSize,
};

constexpr std::uint32_t kHandlingOldestFirst = 0; // the only buffer handling mode

} // namespace

void CDefaultStream::DeclareRegisters()
{
    DeclareText(kStreamId, ReadInfoString(streamInfo_, STREAM_INFO_ID), 256);
    registers_.Declare32(kStreamType, kReadOnly,
                         static_cast<std::uint32_t>(ReadInfoInt(streamInfo_)), nullptr);
    for (const std::uint64_t address : kLiveReadOnly)
        registers_.Declare32(address, kReadOnly, 0, this);
    for (const std::uint64_t address : kLiveReadWrite)
        registers_.Declare32(address, kReadWrite, 0, this);
    AttachDescription(kDescription);
}

bool CDefaultStream::OnRegisterWrite(std::uint64_t address, const std::uint32_t* pUiRegisterData,
                                     std::size_t uiRegisterDataSize)
{
    const auto value = [&] { return ReadRegisterValue(pUiRegisterData, uiRegisterDataSize); };
    switch (address) {
    case kAnnounceAnytimeEnable:
        announceAnytime_ = value() != 0;
        return true;
    case kAutoBufferProperties:
        autoBufferProperties_ = value() != 0;
        return true;
    case kMaxNumBuffer:
        maxNumBuffers_ = value();
        return true;
    case kMaxBufferSize:
        maxBufferSize_ = value();
        return true;
    default:
        return false;
    }
}

bool CDefaultStream::OnRegisterRead(std::uint64_t address, std::uint32_t* pUiRegisterData,
                                    std::size_t uiRegisterDataSize)
{
    const auto show = [&](std::uint64_t value) {
        WriteRegisterValue(pUiRegisterData, uiRegisterDataSize, static_cast<std::uint32_t>(value));
        return true;
    };
    switch (address) {
    case kAnnouncedBufferCount:
        return show(slots_.size() - freeQueue_.count());
    case kBufferHandlingMode:
        return show(kHandlingOldestFirst);
    case kAnnounceBufferMinimum:
        return show(kAnnounceMinimum);
    case kDeliveredFrameCount:
        return show(delivered_);
    case kInputBufferCount:
        return show(inputQueue_.count() + toFillQueue_.count());
    case kOutputBufferCount:
        return show(outputQueue_.count());
    case kStartedFrameCount:
        return show(toFillQueue_.count());
    case kPayloadSize:
        payloadSize_ = LowLevelGetPayloadSize();
        return show(payloadSize_);
    case kIsGrabbing:
        return show(isGrabbing_);
    case kBufferAlignment:
        return show(kAlignment);
    case kAnnounceAnytimeEnable:
        return show(announceAnytime_);
    case kAutoBufferProperties:
        return show(autoBufferProperties_);
    case kMaxNumBuffer:
        return show(maxNumBuffers_);
    case kMaxBufferSize:
        return show(maxBufferSize_);
    default:
        return false;
    }
}

} // namespace GenTLProducer
