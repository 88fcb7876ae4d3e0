#include "features/register_table.h"

#include "features/acquisition_features.h"
#include "features/camera_registers.h"
#include "features/image_format_features.h"
#include "features/pixel_formats.h"
#include "features/runtime_mcm.h"

namespace GenTLProducer
{

namespace
{

template <typename Group>
Group& GroupOf(CameraRegisters& camera, void (Group::*)())
{
    return camera.group<Group>();
}

/// The operation of a feature group as an action.
template <auto kOperation>
void Do(CameraRegisters& camera)
{
    (GroupOf(camera, kOperation).*kOperation)();
}

constexpr Behaviour Word()
{
    return {Role::Word};
}
constexpr Behaviour Text(std::string RuntimeMCM::*text)
{
    return {Role::Text, 0, nullptr, text};
}
constexpr Behaviour Feature(std::int64_t initial, Action action)
{
    return {Role::Feature, initial, action};
}
constexpr Behaviour Setting(std::int64_t initial, Action action)
{
    return {Role::Setting, initial, action};
}
constexpr Behaviour Command(Action action)
{
    return {Role::Command, 0, action};
}

using Format = ImageFormatFeatures;
using Acquisition = AcquisitionFeatures;

constexpr std::uint32_t kUyvy = PixelFormatIndex(Pfnc::YUV422_8_UYVY);

// Limits of image size and scaling and the valid formats follow from the platform at open.
constexpr RegisterRow kRows[] = {
    // clang-format off
    // address    key                               family and limits          behaviour
    {0x10000004, Reg::PixelSize,                   EnumRO(5),                 Word()},
    {0x10000008, Reg::PixelDynamicRangeMax,        NumericRO(),               Word()},
    {0x10000014, Reg::TlmScaledSensorWidth,        NumericRO(),               Word()},
    {0x10000018, Reg::TlmScaledSensorHeight,       NumericRO(),               Word()},
    {0x10000020, Reg::StreamingStartAvailable,     BoolRO(),                  Word()},
    {0x1000002c, Reg::StreamingEndAvailable,       BoolRO(),                  Word()},
    {0x10000038, Reg::AcquisitionStartAvailable,   BoolRO(),                  Word()},
    {0x10000044, Reg::AcquisitionStopAvailable,    BoolRO(),                  Word()},
    {0x10000050, Reg::AcquisitionAbortAvailable,   BoolRO(),                  Word()},
    {0x10000058, Reg::WidthMax,                    NumericRO(),               Word()},
    {0x1000005c, Reg::HeightMax,                   NumericRO(),               Word()},
    {0x10000060, Reg::DeviceFirmwareVersion,       StringRO(236),             Text(&RuntimeMCM::firmwareVersion)},
    {0x1000014c, Reg::TlmV4lDevicePath,            StringRO(255),             Text(&RuntimeMCM::devicePath)},
    {0x10000264, Reg::PayloadSize,                 NumericRO(),               Word()},
    {0x10000268, Reg::PixelFormatLocked,           BoolRO(),                  Word()},
    {0x100002bc, Reg::WidthLocked,                 BoolRO(),                  Word()},
    {0x100002c8, Reg::HeightLocked,                BoolRO(),                  Word()},
    {0x10000310, Reg::TLParamsLockedLocked,        BoolRO(),                  Word()},
    {0x100004cc, Reg::PixelFormat,                 EnumRW(25, 0, kPixelFormatValues),
                                                                              Feature(kUyvy, Do<&Format::writePixelFormat>)},
    {0x10000a0c, Reg::Width,                       NumericRW(96, 2592, 8),    Feature(2592, Do<&Format::writeWidth>)},
    {0x10000a1c, Reg::Height,                      NumericRW(104, 1944, 8),   Feature(1944, Do<&Format::writeHeight>)},
    {0x10000a2c, Reg::OffsetX,                     NumericRW(0, 0, 8),        Feature(0, Do<&Format::writeOffsetX>)},
    {0x10000a3c, Reg::OffsetY,                     NumericRW(0, 0, 8),        Feature(0, Do<&Format::writeOffsetY>)},
    {0x10000ad0, Reg::TlmScalingFactor,            IntRW(30, 100, 1),         Feature(100, Do<&Format::writeScalingFactor>)},
    {0x10000b84, Reg::TLParamsLocked,              NumericRW(0, 1, 1),        Setting(0, Do<&Acquisition::applyTLParamsLocked>)},
    {0x10001b38, Reg::StreamingStart,              CommandRW(),               Command(Do<&CameraRegisters::startStreaming>)},
    {0x10001b44, Reg::StreamingEnd,                CommandRW(),               Command(Do<&CameraRegisters::endStreaming>)},
    {0x10001b50, Reg::AcquisitionStart,            CommandRW(),               Command(Do<&Acquisition::start>)},
    {0x10001b5c, Reg::AcquisitionStop,             CommandRW(),               Command(Do<&Acquisition::stop>)},
    {0x10001b68, Reg::AcquisitionAbort,            CommandRW(),               Command(Do<&Acquisition::abort>)},
    {0x10001b90, Reg::TlmCenterX,                  CommandRW(),               Command(Do<&Format::centerX>)},
    {0x10001b9c, Reg::TlmCenterY,                  CommandRW(),               Command(Do<&Format::centerY>)},
    {0xfffffff0, Reg::DeviceReset,                 ValueOnly(BoolRW()),       Command(Do<&CameraRegisters::resetDevice>)},
    // clang-format on
};

constexpr bool IsInKeyOrder()
{
    std::uint16_t key = 0;
    for (const RegisterRow& row : kRows) {
        if (row.key != static_cast<Reg>(key++))
            return false;
    }
    return static_cast<Reg>(key) == Reg::Count;
}

static_assert(IsInAddressOrder(kRows), "device registers overlap or are out of order");
static_assert(IsInKeyOrder(), "the rows of the table and the names of the registers differ");
static_assert(kPixelFormatCount == 25, "PixelFormat has 25 entries");

} // namespace

Span<const RegisterRow> DeviceRegisterRows()
{
    return kRows;
}

} // namespace GenTLProducer
