#include "features/register_table.h"

#include <type_traits>

#include "features/camera_registers.h"
#include "features/feature_conditions.h"
#include "features/pixel_formats.h"

namespace GenTLProducer
{

namespace
{

template <typename Group, typename... Key>
Group& GroupOf(CameraRegisters& camera, void (Group::*)(Key...))
{
    return camera.group<Group>();
}

/// The operation of a feature group as an action; told which register was written if it asks.
template <auto kOperation>
void Do(CameraRegisters& camera, Reg key)
{
    auto& group = GroupOf(camera, kOperation);
    if constexpr (std::is_invocable_v<decltype(kOperation), decltype(group)>)
        (group.*kOperation)();
    else
        (group.*kOperation)(key);
}

template <typename Value>
Value InUnit(std::int64_t value, int perUnit, void (mcm::ICameraModule::*)(Value))
{
    if constexpr (std::is_same_v<Value, bool>)
        return value != 0;
    else if constexpr (std::is_floating_point_v<Value>)
        return static_cast<Value>(value) / perUnit;
    else
        return static_cast<Value>(value);
}

/// Hands a value to the module, whose unit is so many of the register's.
template <auto kOperation, int kPerUnit = 1>
void To(mcm::ICameraModule& module, std::int64_t value)
{
    (module.*kOperation)(InUnit(value, kPerUnit, kOperation));
}

/// The other way, cut to the register's unit.
template <auto kOperation, int kPerUnit = 1>
std::int64_t From(mcm::ICameraModule& module)
{
    return static_cast<std::int64_t>((module.*kOperation)() * kPerUnit);
}

constexpr Behaviour Word()
{
    return {Role::Word};
}
constexpr Behaviour Tells(const Condition& condition)
{
    Behaviour word = Word();
    word.condition = condition;
    return word;
}
constexpr Behaviour Locks(Reg target, bool (*holds)(const FeatureContext&))
{
    return Tells({target, RegisterFlag::WriteLocked, holds});
}
constexpr Behaviour Offers(Reg target, bool (*holds)(const FeatureContext&))
{
    return Tells({target, RegisterFlag::Available, holds});
}
constexpr Behaviour Text(std::string RuntimeMCM::*text)
{
    return {Role::Text, 0, nullptr, nullptr, nullptr, text};
}

constexpr Action kApply = Do<&CameraRegisters::apply>;
constexpr Behaviour Feature(std::int64_t initial, Action action, SendOperation send = nullptr)
{
    return {Role::Feature, initial, action, send};
}
constexpr Behaviour Feature(std::int64_t initial, SendOperation send = nullptr)
{
    return {Role::Feature, initial, kApply, send};
}
constexpr Behaviour Live(std::int64_t initial, Action action)
{
    return {Role::Live, initial, action};
}
constexpr Behaviour Live(std::int64_t initial, SendOperation send, MeasureOperation measure)
{
    return {Role::Live, initial, kApply, send, measure};
}
constexpr Behaviour Setting(std::int64_t initial)
{
    return {Role::Setting, initial, kApply};
}
constexpr Behaviour Command(Action action)
{
    return {Role::Command, 0, action};
}

using Module = mcm::ICameraModule;
using Format = ImageFormatFeatures;
using Picture = PictureFeatures;
using Acquisition = AcquisitionFeatures;
using Trigger = TriggerFeatures;

constexpr std::uint32_t kUyvy = PixelFormatIndex(Pfnc::YUV422_8_UYVY);

// Limits of image size and scaling and the valid formats follow from the platform at open.
constexpr RegisterRow kRows[] = {
    // clang-format off
    // address    key                            family and limits                    behaviour
    {0x10000004, Reg::PixelSize,                 EnumRO(5),                           Word()},
    {0x10000008, Reg::PixelDynamicRangeMax,      NumericRO(),                         Word()},
    {0x10000014, Reg::TlmScaledSensorWidth,      NumericRO(),                         Word()},
    {0x10000018, Reg::TlmScaledSensorHeight,     NumericRO(),                         Word()},
    {0x10000020, Reg::StreamingStartAvailable,   BoolRO(),                            Offers(Reg::StreamingStart, MayStartStreaming)},
    {0x1000002c, Reg::StreamingEndAvailable,     BoolRO(),                            Offers(Reg::StreamingEnd, MayEndStreaming)},
    {0x10000038, Reg::AcquisitionStartAvailable, BoolRO(),                            Offers(Reg::AcquisitionStart, IsNotStreaming)},
    {0x10000044, Reg::AcquisitionStopAvailable,  BoolRO(),                            Offers(Reg::AcquisitionStop, IsNotStreaming)},
    {0x10000050, Reg::AcquisitionAbortAvailable, BoolRO(),                            Offers(Reg::AcquisitionAbort, IsNotStreaming)},
    {0x10000058, Reg::WidthMax,                  NumericRO(),                         Word()},
    {0x1000005c, Reg::HeightMax,                 NumericRO(),                         Word()},
    {0x10000060, Reg::DeviceFirmwareVersion,     StringRO(236),                       Text(&RuntimeMCM::firmwareVersion)},
    {0x1000014c, Reg::TlmV4lDevicePath,          StringRO(255),                       Text(&RuntimeMCM::devicePath)},
    {0x10000264, Reg::PayloadSize,               NumericRO(),                         Word()},
    {0x10000268, Reg::PixelFormatLocked,         BoolRO(),                            Locks(Reg::PixelFormat, IsFormatFixed)},
    {0x10000274, Reg::ExposureTimeLocked,        BoolRO(),                            Locks(Reg::ExposureTime, IsExposureAutomatic)},
    {0x10000280, Reg::GainLocked,                BoolRO(),                            Locks(Reg::Gain, IsGainAutomatic)},
    {0x1000028c, Reg::TlmContrastLocked,         BoolRO(),                            Locks(Reg::TlmContrast, IsContrastFixed)},
    {0x10000298, Reg::BalanceRatioRedLocked,     BoolRO(),                            Locks(Reg::BalanceRatioRed, IsBalanceAutomatic)},
    {0x100002a4, Reg::BalanceRatioGreenLocked,   BoolRO(),                            Locks(Reg::BalanceRatioGreen, IsBalanceAutomatic)},
    {0x100002b0, Reg::BalanceRatioBlueLocked,    BoolRO(),                            Locks(Reg::BalanceRatioBlue, IsBalanceAutomatic)},
    {0x100002bc, Reg::WidthLocked,               BoolRO(),                            Locks(Reg::Width, IsFormatFixed)},
    {0x100002c8, Reg::HeightLocked,              BoolRO(),                            Locks(Reg::Height, IsFormatFixed)},
    {0x100002f8, Reg::GammaLocked,               BoolRO(),                            Locks(Reg::Gamma, IsGammaFixed)},
    {0x10000310, Reg::TLParamsLockedLocked,      BoolRO(),                            Locks(Reg::TLParamsLocked, IsStreaming)},
    {0x1000031c, Reg::TriggerMode0Locked,        BoolRO(),                            Locks(Reg::TriggerMode0, IsAcquiring)},
    {0x10000328, Reg::TriggerMode1Locked,        BoolRO(),                            Locks(Reg::TriggerMode1, IsAcquiring)},
    {0x10000334, Reg::TriggerMode2Locked,        BoolRO(),                            Locks(Reg::TriggerMode2, IsAcquiring)},
    {0x10000340, Reg::TriggerMode3Locked,        BoolRO(),                            Locks(Reg::TriggerMode3, IsAcquiring)},
    {0x1000034c, Reg::TriggerMode4Locked,        BoolRO(),                            Locks(Reg::TriggerMode4, IsAcquiring)},
    {0x10000358, Reg::TriggerMode5Locked,        BoolRO(),                            Locks(Reg::TriggerMode5, IsAcquiring)},
    {0x10000364, Reg::TriggerMode6Locked,        BoolRO(),                            Locks(Reg::TriggerMode6, IsAcquiring)},
    {0x10000370, Reg::TriggerMode7Locked,        BoolRO(),                            Locks(Reg::TriggerMode7, IsAcquiring)},
    {0x1000037c, Reg::TriggerMode8Locked,        BoolRO(),                            Locks(Reg::TriggerMode8, IsAcquiring)},
    {0x10000388, Reg::TriggerSource2Locked,      BoolRO(),                            Locks(Reg::TriggerSource2, IsAcquiring)},
    {0x100003ac, Reg::TriggerSource0Locked,      BoolRO(),                            Locks(Reg::TriggerSource0, IsAcquiring)},
    {0x100003d0, Reg::TriggerSource1Locked,      BoolRO(),                            Locks(Reg::TriggerSource1, IsAcquiring)},
    {0x100003f4, Reg::TriggerSource5Locked,      BoolRO(),                            Locks(Reg::TriggerSource5, IsAcquiring)},
    {0x10000418, Reg::TriggerSource3Locked,      BoolRO(),                            Locks(Reg::TriggerSource3, IsAcquiring)},
    {0x1000043c, Reg::TriggerSource4Locked,      BoolRO(),                            Locks(Reg::TriggerSource4, IsAcquiring)},
    {0x10000460, Reg::TriggerSource8Locked,      BoolRO(),                            Locks(Reg::TriggerSource8, IsAcquiring)},
    {0x10000484, Reg::TriggerSource6Locked,      BoolRO(),                            Locks(Reg::TriggerSource6, IsAcquiring)},
    {0x100004a8, Reg::TriggerSource7Locked,      BoolRO(),                            Locks(Reg::TriggerSource7, IsAcquiring)},
    {0x100004cc, Reg::PixelFormat,               EnumRW(25, 0, kPixelFormatValues),   Feature(kUyvy, Do<&Format::writePixelFormat>)},
    {0x10000550, Reg::ExposureAuto,              EnumRW(2, 0b11),                     Feature(1, Do<&Picture::writeExposureAuto>, To<&Module::SetExposureAuto>)},
    {0x100005d4, Reg::ExposureTime,              NumericRW(43, 1400000, 1),           Live(10000, To<&Module::SetExposureTime_us>, From<&Module::GetCurrentExposureTime_us>)},
    {0x100005e4, Reg::Gain,                      NumericRW(256, 12800, 1),            Live(256, To<&Module::SetGainFactor, 256>, From<&Module::GetCurrentGainFactor, 256>)},
    {0x100005f4, Reg::GainAuto,                  EnumRW(2, 0b11),                     Feature(1, Do<&Picture::writeGainAuto>, To<&Module::SetGainAuto>)},
    {0x10000678, Reg::TestPattern,               EnumRW(11, 0b111001),                Feature(0, To<&Module::SetTestPattern>)},
    {0x100006fc, Reg::AcquisitionFrameRate,      NumericRW(20, 2559, 1),              Feature(2559, To<&Module::SetAcquisitionFrameRate, 10>)},
    {0x1000070c, Reg::AcquisitionFrameRateEnable, BoolRW(),                            Feature(0, To<&Module::SetAcquisitionFrameRateEnable>)},
    {0x10000718, Reg::TlmSharpnessEnhancement,   IntRW(0, 100, 1),                    Feature(0, To<&Module::SetSharpness, 100>)},
    {0x10000728, Reg::TlmBrightness,             IntRW(-100, 100, 1),                 Feature(0, To<&Module::SetBrightness, 100>)},
    {0x10000738, Reg::TlmContrastMode,           EnumRW(2, 0b10),                     Feature(1)},
    {0x100007bc, Reg::TlmContrast,               IntRW(-100, 100, 1),                 Feature(0, To<&Module::SetContrast, 100>)},
    {0x100007cc, Reg::TlmColorSpace,             EnumRW(2, 0b11),                     Feature(1, To<&Module::SetColorSpace>)},
    {0x10000850, Reg::BalanceWhiteAuto,          EnumRW(2, 0b11),                     Feature(1, Do<&Picture::writeBalanceWhiteAuto>, To<&Module::SetBalanceWhiteAuto>)},
    {0x100008d4, Reg::BalanceRatioRed,           NumericRW(4096, 32767, 1),           Live(6868, To<&Module::SetBalanceRatioRed, 4096>, From<&Module::GetCurrentBalanceRatioRed, 4096>)},
    {0x100008e4, Reg::BalanceRatioGreen,         NumericRW(4096, 32767, 1),           Live(4096, To<&Module::SetBalanceRatioGreen, 4096>, From<&Module::GetCurrentBalanceRatioGreen, 4096>)},
    {0x100008f4, Reg::BalanceRatioBlue,          NumericRW(4096, 32767, 1),           Live(6472, To<&Module::SetBalanceRatioBlue, 4096>, From<&Module::GetCurrentBalanceRatioBlue, 4096>)},
    {0x10000904, Reg::TlmAdaptiveToneMappingMode, EnumRW(2, 0b11),                     Feature(1, Do<&Picture::writeToneMapping>, To<&Module::SetAdaptiveToneMappingAuto>)},
    {0x10000988, Reg::TlmLightSourcePreset,      EnumRW(8, 0b10),                     Feature(0, Do<&Picture::writeLightSourcePreset>, To<&Module::SetLightSourcePreset>)},
    {0x10000a0c, Reg::Width,                     NumericRW(96, 2592, 8),              Feature(2592, Do<&Format::writeWidth>)},
    {0x10000a1c, Reg::Height,                    NumericRW(104, 1944, 8),             Feature(1944, Do<&Format::writeHeight>)},
    {0x10000a2c, Reg::OffsetX,                   NumericRW(0, 0, 8),                  Feature(0, Do<&Format::applyOffsetX>)},
    {0x10000a3c, Reg::OffsetY,                   NumericRW(0, 0, 8),                  Feature(0, Do<&Format::applyOffsetY>)},
    {0x10000a4c, Reg::AutoFunctionProfile,       EnumRW(4, 0b1111),                   Feature(1, To<&Module::SetAntiFlicker>)},
    {0x10000ad0, Reg::TlmScalingFactor,          IntRW(30, 100, 1),                   Feature(100, Do<&Format::writeScalingFactor>)},
    {0x10000ae0, Reg::ExposureMode,              EnumRW(3, 0b1),                      Feature(0, Do<&Trigger::applyExposureMode>)},
    {0x10000b64, Reg::Gamma,                     IntRW(13, 300, 1),                   Feature(100, To<&Module::SetGamma, 100>)},
    {0x10000b74, Reg::TlmSaturation,             IntRW(0, 300, 1),                    Feature(100, To<&Module::SetSaturation, 100>)},
    {0x10000b84, Reg::TLParamsLocked,            NumericRW(0, 1, 1),                  Setting(0)},
    {0x10000b94, Reg::TriggerMode0,              EnumRW(2, 0b01),                     Live(0, Do<&Trigger::writeMode>)},
    {0x10000c18, Reg::TriggerMode1,              EnumRW(2, 0b01),                     Live(0, Do<&Trigger::writeMode>)},
    {0x10000c9c, Reg::TriggerMode2,              EnumRW(2, 0b01),                     Live(0, Do<&Trigger::writeMode>)},
    {0x10000d20, Reg::TriggerMode3,              EnumRW(2, 0b11),                     Feature(0, Do<&Trigger::writeMode>)},
    {0x10000da4, Reg::TriggerMode4,              EnumRW(2, 0b01),                     Live(0, Do<&Trigger::writeMode>)},
    {0x10000e28, Reg::TriggerMode5,              EnumRW(2, 0b01),                     Live(0, Do<&Trigger::writeMode>)},
    {0x10000eac, Reg::TriggerMode6,              EnumRW(2, 0b01),                     Live(0, Do<&Trigger::writeMode>)},
    {0x10000f30, Reg::TriggerMode7,              EnumRW(2, 0b01),                     Live(0, Do<&Trigger::writeMode>)},
    {0x10000fb4, Reg::TriggerMode8,              EnumRW(2, 0b01),                     Live(0, Do<&Trigger::writeMode>)},
    {0x10001038, Reg::TriggerSource2,            EnumRW(3, 0b010),                    Live(1, Do<&Trigger::writeSource>)},
    {0x100010bc, Reg::TriggerActivation2,        EnumRW(5, 0b11000),                  Live(3, Do<&Trigger::writeActivation>)},
    {0x10001140, Reg::TriggerDelay2,             Unavailable(IntRW(0, 0, 1)),         Setting(0)},
    {0x10001150, Reg::TriggerSource0,            EnumRW(3, 0b111),                    Live(1, Do<&Trigger::writeSource>)},
    {0x100011d4, Reg::TriggerActivation0,        EnumRW(5, 0b11000),                  Live(3, Do<&Trigger::writeActivation>)},
    {0x10001258, Reg::TriggerDelay0,             Unavailable(IntRW(0, 0, 1)),         Setting(0)},
    {0x10001268, Reg::TriggerSource1,            EnumRW(3, 0b111),                    Live(1, Do<&Trigger::writeSource>)},
    {0x100012ec, Reg::TriggerActivation1,        EnumRW(5, 0b11000),                  Live(3, Do<&Trigger::writeActivation>)},
    {0x10001370, Reg::TriggerDelay1,             Unavailable(IntRW(0, 0, 1)),         Setting(0)},
    {0x10001380, Reg::TriggerSource5,            EnumRW(3, 0b010),                    Live(1, Do<&Trigger::writeSource>)},
    {0x10001404, Reg::TriggerActivation5,        EnumRW(5, 0b11000),                  Live(3, Do<&Trigger::writeActivation>)},
    {0x10001488, Reg::TriggerDelay5,             Unavailable(IntRW(0, 0, 1)),         Setting(0)},
    {0x10001498, Reg::TriggerSource3,            EnumRW(3, 0b111),                    Feature(1, Do<&Trigger::writeSource>)},
    {0x1000151c, Reg::TriggerActivation3,        EnumRW(5, 0b11000),                  Feature(3, Do<&Trigger::writeActivation>)},
    {0x100015a0, Reg::TriggerDelay3,             Unavailable(IntRW(0, 0, 1)),         Setting(0)},
    {0x100015b0, Reg::TriggerSource4,            EnumRW(3, 0b111),                    Live(1, Do<&Trigger::writeSource>)},
    {0x10001634, Reg::TriggerActivation4,        EnumRW(5, 0b11000),                  Live(3, Do<&Trigger::writeActivation>)},
    {0x100016b8, Reg::TriggerDelay4,             Unavailable(IntRW(0, 0, 1)),         Setting(0)},
    {0x100016c8, Reg::TriggerSource8,            EnumRW(3, 0b010),                    Live(1, Do<&Trigger::writeSource>)},
    {0x1000174c, Reg::TriggerActivation8,        EnumRW(5, 0b11000),                  Live(3, Do<&Trigger::writeActivation>)},
    {0x100017d0, Reg::TriggerDelay8,             Unavailable(IntRW(0, 0, 1)),         Setting(0)},
    {0x100017e0, Reg::TriggerSource6,            EnumRW(3, 0b111),                    Live(1, Do<&Trigger::writeSource>)},
    {0x10001864, Reg::TriggerActivation6,        EnumRW(5, 0b11000),                  Live(3, Do<&Trigger::writeActivation>)},
    {0x100018e8, Reg::TriggerDelay6,             Unavailable(IntRW(0, 0, 1)),         Setting(0)},
    {0x100018f8, Reg::TriggerSource7,            EnumRW(3, 0b111),                    Live(1, Do<&Trigger::writeSource>)},
    {0x1000197c, Reg::TriggerActivation7,        EnumRW(5, 0b11000),                  Live(3, Do<&Trigger::writeActivation>)},
    {0x10001a00, Reg::TriggerDelay7,             Unavailable(IntRW(0, 0, 1)),         Setting(0)},
    {0x10001a10, Reg::TlmPeriodicSignalPeriod,   NumericRW(1000, 1000000000, 1000),   Setting(10000000)},
    {0x10001a20, Reg::TlmPeriodicSignalDelay,    IntRW(-1000000000, 1000000000, 1000), Feature(0, Do<&Trigger::writePeriodicSignal>)},
    {0x10001a30, Reg::TlmPeriodicSignalSource,   EnumRW(3, 0b1),                      Feature(0, Do<&Trigger::writePeriodicSignal>)},
    {0x10001ab4, Reg::TlmPeriodicSignalActivation, EnumRW(5, 0b11),                     Feature(0, Do<&Trigger::writePeriodicSignal>)},
    {0x10001b38, Reg::StreamingStart,            CommandRW(),                         Command(Do<&CameraRegisters::startStreaming>)},
    {0x10001b44, Reg::StreamingEnd,              CommandRW(),                         Command(Do<&CameraRegisters::endStreaming>)},
    {0x10001b50, Reg::AcquisitionStart,          CommandRW(),                         Command(Do<&Acquisition::start>)},
    {0x10001b5c, Reg::AcquisitionStop,           CommandRW(),                         Command(Do<&Acquisition::stop>)},
    {0x10001b68, Reg::AcquisitionAbort,          CommandRW(),                         Command(Do<&Acquisition::abort>)},
    {0x10001b90, Reg::TlmCenterX,                CommandRW(),                         Command(Do<&Format::centerX>)},
    {0x10001b9c, Reg::TlmCenterY,                CommandRW(),                         Command(Do<&Format::centerY>)},
    {0x10001ba8, Reg::TriggerSoftware0,          CommandRW(),                         Command(nullptr)},
    {0x10001bb4, Reg::TriggerSoftware1,          CommandRW(),                         Command(nullptr)},
    {0x10001bc0, Reg::TriggerSoftware3,          CommandRW(),                         Command(Do<&Trigger::fire>)},
    {0x10001bcc, Reg::TriggerSoftware4,          CommandRW(),                         Command(nullptr)},
    {0x10001bd8, Reg::TriggerSoftware6,          CommandRW(),                         Command(nullptr)},
    {0x10001be4, Reg::TriggerSoftware7,          CommandRW(),                         Command(nullptr)},
    {0xfffffff0, Reg::DeviceReset,               ValueOnly(BoolRW()),                 Command(Do<&CameraRegisters::resetDevice>)},
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
