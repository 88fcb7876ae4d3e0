// The device registers of the camera, as one table.
#pragma once

#include <cstdint>
#include <string>

#include "base/span.h"
#include "features/register_shape.h"

namespace GenTLProducer
{

class CameraRegisters;
struct RuntimeMCM;

/// Names of the device registers, in address order: the row of the table.
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
    WidthLocked,
    HeightLocked,
    TLParamsLockedLocked,
    PixelFormat,
    Width,
    Height,
    OffsetX,
    OffsetY,
    TlmScalingFactor,
    TLParamsLocked,
    StreamingStart,
    StreamingEnd,
    AcquisitionStart,
    AcquisitionStop,
    AcquisitionAbort,
    TlmCenterX,
    TlmCenterY,
    DeviceReset,
    Count,
};

/// How a register behaves behind its checks.
enum class Role : std::uint8_t {
    Word,    ///< shows what the features derive
    Text,    ///< shows a text that never changes
    Feature, ///< keeps requested and effective value; during feature streaming takes any value
             ///< and acts on none
    Setting, ///< the same, but always checked and always acting
    Command, ///< acts on any write, keeps nothing
};

/// What a write does once the requested value is stored.
using Action = void (*)(CameraRegisters&);

struct Behaviour {
    Role role;
    std::int64_t initial = 0; ///< requested value at open
    Action action = nullptr;
    std::string RuntimeMCM::*text = nullptr;
};

struct RegisterRow {
    std::uint32_t address; ///< of the companion words, where there are any
    Reg key;
    RegisterShape shape;
    Behaviour behaviour;
};

/// One row for each key, in its order.
Span<const RegisterRow> DeviceRegisterRows();

} // namespace GenTLProducer
