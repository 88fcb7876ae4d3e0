// The device registers of the camera, as one table.
#pragma once

#include <cstdint>
#include <string>

#include "base/span.h"
#include "features/register_shape.h"
#include "module/icamera_module.h"
#include "registers/space/register_base.h"

namespace GenTLProducer
{

class CameraRegisters;
struct FeatureContext;
struct RuntimeMCM;

/// Names of the device registers, in address order: the row of the table. A number is that of
/// the trigger selector, of which a consumer reaches FrameStart, 3, alone.
enum class Reg : std::uint16_t {
    PixelSize,
    PixelDynamicRangeMax,
    TlmScaledSensorWidth,
    TlmScaledSensorHeight,
    StreamingStartAvailable,
    StreamingEndAvailable,
    AcquisitionStartAvailable,
    AcquisitionStopAvailable,
    AcquisitionAbortAvailable,
    WidthMax,
    HeightMax,
    DeviceFirmwareVersion,
    TlmV4lDevicePath,
    PayloadSize,
    PixelFormatLocked,
    ExposureTimeLocked,
    GainLocked,
    TlmContrastLocked,
    BalanceRatioRedLocked,
    BalanceRatioGreenLocked,
    BalanceRatioBlueLocked,
    WidthLocked,
    HeightLocked,
    GammaLocked,
    TLParamsLockedLocked,
    TriggerMode0Locked,
    TriggerMode1Locked,
    TriggerMode2Locked,
    TriggerMode3Locked,
    TriggerMode4Locked,
    TriggerMode5Locked,
    TriggerMode6Locked,
    TriggerMode7Locked,
    TriggerMode8Locked,
    TriggerSource2Locked,
    TriggerSource0Locked,
    TriggerSource1Locked,
    TriggerSource5Locked,
    TriggerSource3Locked,
    TriggerSource4Locked,
    TriggerSource8Locked,
    TriggerSource6Locked,
    TriggerSource7Locked,
    PixelFormat,
    ExposureAuto,
    ExposureTime,
    Gain,
    GainAuto,
    TestPattern,
    AcquisitionFrameRate,
    AcquisitionFrameRateEnable,
    TlmSharpnessEnhancement,
    TlmBrightness,
    TlmContrastMode,
    TlmContrast,
    TlmColorSpace,
    BalanceWhiteAuto,
    BalanceRatioRed,
    BalanceRatioGreen,
    BalanceRatioBlue,
    TlmAdaptiveToneMappingMode,
    TlmLightSourcePreset,
    Width,
    Height,
    OffsetX,
    OffsetY,
    AutoFunctionProfile,
    TlmScalingFactor,
    ExposureMode,
    Gamma,
    TlmSaturation,
    TLParamsLocked,
    TriggerMode0,
    TriggerMode1,
    TriggerMode2,
    TriggerMode3,
    TriggerMode4,
    TriggerMode5,
    TriggerMode6,
    TriggerMode7,
    TriggerMode8,
    TriggerSource2,
    TriggerActivation2,
    TriggerDelay2,
    TriggerSource0,
    TriggerActivation0,
    TriggerDelay0,
    TriggerSource1,
    TriggerActivation1,
    TriggerDelay1,
    TriggerSource5,
    TriggerActivation5,
    TriggerDelay5,
    TriggerSource3,
    TriggerActivation3,
    TriggerDelay3,
    TriggerSource4,
    TriggerActivation4,
    TriggerDelay4,
    TriggerSource8,
    TriggerActivation8,
    TriggerDelay8,
    TriggerSource6,
    TriggerActivation6,
    TriggerDelay6,
    TriggerSource7,
    TriggerActivation7,
    TriggerDelay7,
    TlmPeriodicSignalPeriod,
    TlmPeriodicSignalDelay,
    TlmPeriodicSignalSource,
    TlmPeriodicSignalActivation,
    StreamingStart,
    StreamingEnd,
    AcquisitionStart,
    AcquisitionStop,
    AcquisitionAbort,
    TlmCenterX,
    TlmCenterY,
    TriggerSoftware0,
    TriggerSoftware1,
    TriggerSoftware3,
    TriggerSoftware4,
    TriggerSoftware6,
    TriggerSoftware7,
    DeviceReset,
    Count,
};

/// How a register behaves behind its checks.
enum class Role : std::uint8_t {
    Word,    ///< shows what the features derive
    Text,    ///< shows a text that never changes
    Feature, ///< keeps requested and effective value; during feature streaming takes any value
             ///< and acts on none
    Live,    ///< a feature of which a read takes over the request: the camera brings in values,
             ///< too, or nothing stands behind it
    Setting, ///< keeps both, but is always checked and always acts
    Command, ///< acts on any write, keeps nothing
};

/// What a write of the register does once the requested value is stored.
using Action = void (*)(CameraRegisters&, Reg);

/// Hands an effective value to the camera, from the unit of its register.
using SendOperation = void (*)(mcm::ICameraModule&, std::int64_t);

/// Asks the camera for its own value, in the unit of the register.
using MeasureOperation = std::int64_t (*)(mcm::ICameraModule&);

/// What a word tells a consumer: whether another register's flag is set, and the rule for both.
struct Condition {
    Reg target;
    RegisterFlag flag;
    bool (*holds)(const FeatureContext&) = nullptr;
};

struct Behaviour {
    Role role;
    std::int64_t initial = 0; ///< requested value at open
    Action action = nullptr;  ///< null for a register that does nothing
    SendOperation send = nullptr;
    MeasureOperation measure = nullptr;
    std::string RuntimeMCM::*text = nullptr;
    Condition condition{};
};

struct RegisterRow {
    std::uint32_t address; ///< of the companion words, where there are any
    Reg key;
    RegisterShape shape;
    Behaviour behaviour;
};

/// One row for each key, in its order.
Span<const RegisterRow> DeviceRegisterRows();

inline const RegisterRow& RowOf(Reg key)
{
    return DeviceRegisterRows()[static_cast<std::size_t>(key)];
}

} // namespace GenTLProducer
