// Addresses and fields of the AP1302 registers that the simulation gives a meaning to.
#pragma once

#include <cstdint>

namespace zevo_sim
{

namespace isp
{

// Identity and status, read-only.
constexpr std::uint16_t kChipVersion = 0x0000;
constexpr std::uint16_t kManufacturerId = 0x0004;
constexpr std::uint16_t kFirmwareId = 0x0042;
constexpr std::uint16_t kTuningRevision = 0x004E;
constexpr std::uint16_t kLinkRate = 0x0068; // 32 bits, 16.16, Mbit/s per lane
constexpr std::uint16_t kSensorWidthPhysical = 0x00C0;
constexpr std::uint16_t kSensorHeightPhysical = 0x00C2;
constexpr std::uint16_t kSensorWidth = 0x00C4;
constexpr std::uint16_t kSensorHeight = 0x00C6;
constexpr std::uint16_t kAeGain = 0x0192;
constexpr std::uint16_t kAeExposureTime = 0x0194; // 32 bits
constexpr std::uint16_t kAwbMeasuredQx = 0x01D0;
constexpr std::uint16_t kAwbMeasuredQy = 0x01D2;
constexpr std::uint16_t kStatusEnd = 0x1000;

// System control and trigger.
constexpr std::uint16_t kAtomic = 0x1184;
constexpr std::uint16_t kAtomicPending = 0x0001;
constexpr std::uint16_t kTriggerControl = 0x1186;
constexpr std::uint16_t kSoftwareTriggerGpio = 0xBAA8; // 32 bits

// Output context.
constexpr std::uint16_t kPreviewWidth = 0x2000;
constexpr std::uint16_t kPreviewHeight = 0x2002;
constexpr std::uint16_t kPreviewRoiX0 = 0x2004;
constexpr std::uint16_t kPreviewRoiY0 = 0x2006;
constexpr std::uint16_t kPreviewRoiX1 = 0x2008;
constexpr std::uint16_t kPreviewRoiY1 = 0x200A;
constexpr std::uint16_t kPreviewOutFormat = 0x2012;
constexpr std::uint16_t kPreviewSensorMode = 0x2014;
constexpr std::uint16_t kPreviewLineTime = 0x201C; // 32 bits
constexpr std::uint16_t kPreviewMaxFps = 0x2020;
constexpr std::uint16_t kPreviewHostInterface = 0x2030;
constexpr std::uint16_t kLaneCountMask = 0x0007;
constexpr std::uint16_t kFirstDivider = 0x2050;
constexpr std::uint16_t kHostInterfaceMipiDivider = 0x2064; // 32 bits
constexpr std::uint16_t kDividersEnd = 0x2078;

// Automatics.
constexpr std::uint16_t kAeControl = 0x5002;
constexpr std::uint16_t kAeModeMask = 0x000F;
constexpr std::uint16_t kAeManualGain = 0x5006;
constexpr std::uint16_t kAeManualExposureTime = 0x500C; // 32 bits
constexpr std::uint16_t kAwbControl = 0x5100;
constexpr std::uint16_t kAwbModeMask = 0x000F;
constexpr std::uint16_t kAwbManualQx = 0x5102;
constexpr std::uint16_t kAwbManualQy = 0x5104;
constexpr std::uint16_t kAwbOverrideGain = 0x510C; // three words: red, green, blue
constexpr std::uint16_t kAwbCalibration = 0x515C;
constexpr std::uint16_t kAtmControl = 0x52CA; // 0 for off
constexpr std::uint16_t kFlickControl = 0x5440;
constexpr std::uint16_t kFlickModeMask = 0x0003;
constexpr std::uint16_t kLscControl = 0x549A;

// Image quality.
constexpr std::uint16_t kBrightness = 0x7000;
constexpr std::uint16_t kContrast = 0x7002;
constexpr std::uint16_t kSaturation = 0x7006;
constexpr std::uint16_t kGamma = 0x700A;
constexpr std::uint16_t kSharpenValue = 0x7010;

// System.
constexpr std::uint16_t kBootDataStage = 0x6002;
constexpr std::uint16_t kSensorSelect = 0x600C;
constexpr std::uint16_t kSensorMask = 0x0003; // 0: the pattern of bits 11..8
constexpr std::uint16_t kSysStart = 0x601A;
constexpr std::uint16_t kSysStartToggle = 0x0100;
constexpr std::uint16_t kSysStartStalled = 0x0200;
constexpr std::uint16_t kPllReferenceClock = 0x6024; // 32 bits, 16.16 MHz
constexpr std::uint16_t kPll0Divider = 0x602C;       // 32 bits
constexpr std::uint16_t kPll1Divider = 0x6038;       // 32 bits
constexpr std::uint16_t kPatternRed = 0x6042;
constexpr std::uint16_t kPatternGreenRed = 0x6044;
constexpr std::uint16_t kPatternBlue = 0x6046;
constexpr std::uint16_t kPatternGreenBlue = 0x6048;
constexpr std::uint16_t kPrimarySensorSip = 0x604A;
constexpr std::uint16_t kSipWideData = 0x0200;
constexpr std::uint16_t kDmaSource = 0x60A0;      // 32 bits
constexpr std::uint16_t kDmaDestination = 0x60A4; // 32 bits
constexpr std::uint16_t kDmaSize = 0x60A8;        // 32 bits
constexpr std::uint16_t kDmaControl = 0x60AC;
constexpr std::uint16_t kDmaModeMask = 0x0007;
constexpr std::uint16_t kTriggerStallingThreshold = 0x6110;
constexpr std::uint16_t kTriggerControl2 = 0x6114;
constexpr std::uint16_t kBootDataChecksum = 0x6134;

// Windows.
constexpr std::uint16_t kBootWindow = 0x8000;
constexpr std::uint16_t kBootWindowSize = 0x2000;
constexpr std::uint16_t kAdvancedWindow = 0xE000;
constexpr std::uint16_t kAdvancedWindowSize = 0x1000;
constexpr std::uint16_t kAdvancedBase = 0xF038; // 32 bits

// Behind the advanced window.
constexpr std::uint32_t kGpioOutputWord = 0x002A0000;

} // namespace isp

} // namespace zevo_sim
