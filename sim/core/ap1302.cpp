#include "sim/core/ap1302.h"

#include <algorithm>
#include <utility>

#include "base/endian.h"
#include "sim/core/ap1302_registers.h"
#include "sim/core/picture_registers.h"

namespace zevo_sim
{

using namespace isp;

namespace
{

struct ResetValue {
    std::uint16_t address;
    std::uint16_t value;
};

// What the registers hold when the firmware has started. Size, region and lane count differ from
// what a program is to set, so that a missing write shows.
constexpr ResetValue kFirmwareReset[] = {
    // address              value
    {kFirmwareId, 400},
    {kSensorWidthPhysical, kSensorPixelsX},
    {kSensorHeightPhysical, kSensorPixelsY},
    {kSensorWidth, kSensorPixelsX},
    {kSensorHeight, kSensorPixelsY},
    {kTriggerStallingThreshold, 0},
    {kPreviewWidth, 1920},
    {kPreviewHeight, 1080},
    {kPreviewRoiX1, 0x4000},
    {kPreviewRoiY1, 0x4000},
    {kPreviewOutFormat, static_cast<std::uint16_t>(OutputFormat::Yuv422)},
    {kPreviewMaxFps, 30 << 8},
    {kPreviewHostInterface, 0x0011},
    {kAeControl, 0x028C},
    {kAeManualGain, 1 << 8},
    {kAeManualExposureTime + 2, 10'000},
    {kAwbControl, 0x110F},
    {kAwbCalibration, 0x0001},
    {kAtmControl, 1087},
    {kLscControl, 0x0100},
    {kSensorSelect, 0x0001},
    {kPrimarySensorSip, kSipWideData | 0x10 << 1},
    {kSaturation, 1 << 12},
};

constexpr std::uint16_t kPllRegisters[] = {kPllReferenceClock, kPll0Divider, kPll1Divider};
constexpr std::uint16_t kUnusedDivider = 0x2060;
constexpr std::uint32_t kReferenceClock = 48u << 16;

constexpr std::uint16_t kCommitAtFrame = 3;
constexpr std::uint16_t kCommitNow = 7;

bool IsWithin(std::uint16_t address, std::uint16_t first, std::uint16_t size)
{
    return address >= first && address - first < size;
}

/// Index of the 32-bit clock register that the address lies in, -1 for another register.
int ClockIndex(std::uint16_t address)
{
    for (std::size_t i = 0; i < std::size(kPllRegisters); ++i)
        if (IsWithin(address, kPllRegisters[i], 4))
            return static_cast<int>(i);
    if (address >= kFirstDivider && address < kDividersEnd)
        return static_cast<int>(std::size(kPllRegisters)) + (address - kFirstDivider) / 4;
    return -1;
}

constexpr std::uint32_t kAllClocks = [] {
    constexpr unsigned first = std::size(kPllRegisters);
    std::uint32_t mask = (1u << (first + (kDividersEnd - kFirstDivider) / 4)) - 1;
    return mask & ~(1u << (first + (kUnusedDivider - kFirstDivider) / 4));
}();

} // namespace

Ap1302::Ap1302(const CameraOptions& options)
    : options_(options), exposure_(options.light), balance_(options.light)
{
    Reset();
    if (!options_.isRunning)
        return;
    clocksSet_ = kAllClocks;
    Poke32(kPllReferenceClock, kReferenceClock);
    shownStage_ = 0xFFFF;
    Poke16(kBootDataStage, shownStage_);
    Poke16(kBootDataChecksum, options_.firmwareChecksum);
    StartFirmware();
}

void Ap1302::Reset()
{
    registers_.Clear();
    Poke16(kChipVersion, 0x0265);
    Poke16(kManufacturerId, 6);
    sensor_.Reset();
    advanced_.clear();
    record_.clear();
    loader_ = Loader::FirstStage;
    bootBytes_ = 0;
    isBootDataRight_ = true;
    runningChecksum_ = 0;
    shownStage_ = nextStage_ = 0;
    clocksSet_ = 0;
    isRecording_ = waitsForUnstall_ = isStalled_ = isToggleRequested_ = false;
    stage_ = checksum_ = atomic_ = toggle_ = dma_ = {};
    trigger_.Reset();
    ++generation_;
}

void Ap1302::Poke16(std::uint16_t address, std::uint16_t value)
{
    registers_.Set16(address, value);
    ++generation_;
}

void Ap1302::Poke32(std::uint16_t address, std::uint32_t value)
{
    Poke16(address, static_cast<std::uint16_t>(value >> 16));
    Poke16(static_cast<std::uint16_t>(address + 2), static_cast<std::uint16_t>(value));
}

void Ap1302::PokeSensor(std::uint16_t address, std::uint16_t value)
{
    sensor_.Set(address, value);
    trigger_.SetSensorMode(sensor_.Get(FrameTrigger::kSensorModeRegister));
    ++generation_;
}

void Ap1302::Write(std::uint16_t address, const std::uint8_t* data, std::size_t size)
{
    for (std::size_t i = 0; i < size; ++i)
        StoreByte(static_cast<std::uint16_t>(address + i), data[i]);
    const std::size_t first = address & 0xFFFEu;
    for (std::size_t i = first; i < address + size; i += 2)
        AfterWrite(static_cast<std::uint16_t>(i));
}

void Ap1302::StoreByte(std::uint16_t address, std::uint8_t value)
{
    if (IsWithin(address, kBootWindow, kBootWindowSize)) {
        TakeBootData(address, value);
        return;
    }
    if (isRecording_ && !IsWithin(address, kAtomic, 2)) {
        record_.emplace_back(address, value);
        return;
    }
    if (!AcceptsWrite(address))
        return;
    if (address == kSysStart) {
        isToggleRequested_ = (value & kSysStartToggle >> 8) != 0;
        constexpr std::uint8_t ownBits = (kSysStartToggle | kSysStartStalled) >> 8;
        value = static_cast<std::uint8_t>((value & ~ownBits) | (registers_[address] & ownBits));
    }
    registers_[address] = value;
}

bool Ap1302::AcceptsWrite(std::uint16_t address) const
{
    if (address < kStatusEnd)
        return false;
    const bool isBoot =
        IsWithin(address, kBootDataStage, 2) || IsWithin(address, kBootDataChecksum, 2);
    if (ClockIndex(address) >= 0)
        return loader_ == Loader::Clocks;
    return isBoot != (loader_ == Loader::Running);
}

void Ap1302::AfterWrite(std::uint16_t address)
{
    if (isRecording_ && address != kAtomic)
        return;
    if (const int clock = ClockIndex(address); clock >= 0 && loader_ == Loader::Clocks)
        clocksSet_ |= 1u << clock;
    if (address == kBootDataStage) {
        const std::uint16_t requested = Peek16(address);
        Poke16(address, shownStage_);
        RequestStage(requested);
    } else if (address == kBootDataChecksum && loader_ != Loader::Running) {
        runningChecksum_ = Peek16(address);
    }
    if (loader_ != Loader::Running)
        return;

    if (address == kAtomic)
        WriteAtomic();
    else if (address == kSysStart)
        RequestToggle();
    else if (address == kDmaControl && (Peek16(address) & kDmaModeMask) != 0)
        dma_ = {true, options_.misbehaviour.dmaReads};
    else if (IsWithin(address, kAdvancedWindow, kAdvancedWindowSize))
        WriteAdvanced(address);
    if (!IsStreaming())
        SettleAutomatics();
    ++generation_;
}

void Ap1302::Read(std::uint16_t address, std::uint8_t* data, std::size_t size)
{
    for (std::size_t i = address & 0xFFFEu; i < address + size; i += 2)
        BeforeRead(static_cast<std::uint16_t>(i));
    for (std::size_t i = 0; i < size; ++i)
        data[i] = registers_[static_cast<std::uint16_t>(address + i)];
}

void Ap1302::BeforeRead(std::uint16_t address)
{
    const Misbehaviour& faults = options_.misbehaviour;
    if (address == kBootDataStage && CountDown(stage_, false)) {
        shownStage_ = nextStage_;
        Poke16(address, shownStage_);
    } else if (address == kBootDataChecksum && loader_ >= Loader::Running &&
               CountDown(checksum_, false)) {
        FinishBoot();
    } else if (address == kAtomic && CountDown(atomic_, faults.isAtomicStuck)) {
        Poke16(address, 0);
    } else if (address == kSysStart && CountDown(toggle_, faults.isStallStuck)) {
        const std::uint16_t others = Peek16(address) & ~(kSysStartToggle | kSysStartStalled);
        Poke16(address, others | (isStalled_ ? kSysStartStalled : 0));
    } else if (address == kDmaControl && CountDown(dma_, faults.isDmaStuck)) {
        FinishTransfer();
    } else if (IsWithin(address, kAdvancedWindow, kAdvancedWindowSize)) {
        const std::uint32_t word = AdvancedWord(address);
        Poke16(address, static_cast<std::uint16_t>((address & 2) != 0 ? word : word >> 16));
    }
}

/// True for the read on which a pending action shows as done.
bool Ap1302::CountDown(Pending& pending, bool isStuck)
{
    if (!pending.is || isStuck)
        return false;
    if (pending.readsLeft > 0) {
        --pending.readsLeft;
        return false;
    }
    pending.is = false;
    return true;
}

// Boot.

void Ap1302::TakeBootData(std::uint16_t address, std::uint8_t value)
{
    if (loader_ >= Loader::Running)
        return;
    const auto& image = options_.firmware;
    const std::size_t end = loader_ == Loader::FirstStage    ? options_.firstStageSize
                            : loader_ == Loader::SecondStage ? image.size()
                                                             : 0;
    const std::size_t offset = address - std::size_t{kBootWindow};
    const bool isInPlace = offset == bootBytes_ % kBootWindowSize;
    if (bootBytes_ >= end || bootBytes_ >= image.size() || !isInPlace || image[bootBytes_] != value)
        isBootDataRight_ = false;
    ++bootBytes_;
    runningChecksum_ =
        static_cast<std::uint16_t>((runningChecksum_ << 1 | runningChecksum_ >> 15) + value);
    registers_.Set16(kBootDataChecksum, runningChecksum_);
}

void Ap1302::RequestStage(std::uint16_t stage)
{
    if (stage == 1 && loader_ == Loader::FirstStage && bootBytes_ == options_.firstStageSize)
        loader_ = Loader::Clocks;
    else if (stage == 2 && loader_ == Loader::Clocks)
        loader_ = Loader::SecondStage;
    else if (stage == 0xFFFF && loader_ == Loader::SecondStage)
        checksum_ = {true, options_.misbehaviour.checksumReads};
    else
        return;

    nextStage_ = stage;
    stage_ = {true, options_.misbehaviour.stageReads};
    if (stage != 0xFFFF)
        return;
    const bool isRight = isBootDataRight_ && bootBytes_ == options_.firmware.size() &&
                         !options_.misbehaviour.isChecksumWrong;
    loader_ = isRight ? Loader::Running : Loader::Dead;
    if (isRight)
        StartFirmware();
}

void Ap1302::FinishBoot()
{
    std::uint16_t checksum = options_.firmwareChecksum;
    if (loader_ == Loader::Dead)
        checksum = runningChecksum_ != checksum ? runningChecksum_ : ~checksum & 0xFFFF;
    Poke16(kBootDataChecksum, checksum);
}

void Ap1302::StartFirmware()
{
    loader_ = Loader::Running;
    for (const ResetValue& reset : kFirmwareReset)
        Poke16(reset.address, reset.value);
    Poke16(kTuningRevision, options_.tuningRevision);
    Poke32(kLinkRate, static_cast<std::uint32_t>(LinkRateMbps() * 65536.0));
    SettleAutomatics();
}

double Ap1302::LinkRateMbps() const
{
    const std::uint32_t pll = Peek32(kPll1Divider);
    const unsigned feedback = pll >> 16 & 0x3F;
    const unsigned reference = std::max(1u, ((pll >> 8 & 0x7) + 1) / 2);
    const unsigned post = (pll & 0xFF) + 1;
    const double clock = Peek32(kPllReferenceClock) / 65536.0 * feedback / reference / post;
    return clock / (((Peek32(kHostInterfaceMipiDivider) & 0xFF) + 2) / 2.0);
}

// Running firmware.

void Ap1302::WriteAtomic()
{
    const std::uint16_t code = Peek16(kAtomic);
    isRecording_ = code == kAtomicPending;
    waitsForUnstall_ = code == kCommitAtFrame && isStalled_;
    if (isRecording_) {
        atomic_ = {};
        record_.clear();
    } else if (code == kCommitNow || (code == kCommitAtFrame && !isStalled_)) {
        CommitRecord();
    }
}

void Ap1302::CommitRecord()
{
    waitsForUnstall_ = false;
    atomic_ = {true, options_.misbehaviour.atomicReads};
    if (options_.misbehaviour.isAtomicStuck)
        return;
    const auto record = std::exchange(record_, {});
    for (const auto& [address, value] : record)
        StoreByte(address, value);
    for (const auto& [address, value] : record)
        if (address % 2 != 0)
            AfterWrite(address & 0xFFFE);
}

void Ap1302::RequestToggle()
{
    if (!std::exchange(isToggleRequested_, false) || toggle_.is)
        return;
    Poke16(kSysStart, Peek16(kSysStart) | kSysStartToggle);
    toggle_ = {true, options_.misbehaviour.stallReads};
    if (options_.misbehaviour.isStallStuck)
        return;
    isStalled_ = !isStalled_;
    trigger_.Drop();
    if (!isStalled_ && waitsForUnstall_)
        CommitRecord();
}

void Ap1302::FinishTransfer()
{
    sensor_.Transfer(registers_);
    trigger_.SetSensorMode(sensor_.Get(FrameTrigger::kSensorModeRegister));
    Poke16(kDmaControl, Peek16(kDmaControl) & ~kDmaModeMask);
}

std::uint32_t& Ap1302::AdvancedWord(std::uint16_t address)
{
    return advanced_[Peek32(kAdvancedBase) + ((address - kAdvancedWindow) & ~3u)];
}

void Ap1302::WriteAdvanced(std::uint16_t address)
{
    std::uint32_t& word = AdvancedWord(address);
    const bool isLowHalf = (address & 2) != 0;
    const std::uint32_t half = Peek16(address);
    word = isLowHalf ? (word & 0xFFFF0000) | half : (word & 0xFFFF) | half << 16;

    const std::uint32_t line = Peek32(kSoftwareTriggerGpio);
    const bool isGpio = &word == &advanced_[kGpioOutputWord];
    if (isGpio && line < 32 && isLowHalf == (line < 16))
        trigger_.WriteLine((word >> line & 1) != 0, IsStreaming(), registers_);
}

// Automatics.

void Ap1302::SettleAutomatics()
{
    exposure_.Settle(registers_, ReadMaxFrameRate(registers_));
    balance_.Settle(registers_);
    ReportAutomatics();
}

void Ap1302::ReportAutomatics()
{
    exposure_.Report(registers_);
    balance_.Report(registers_);
}

// The stream.

bool Ap1302::IsStreaming() const
{
    return loader_ == Loader::Running && !isStalled_ && (clocksSet_ & kAllClocks) == kAllClocks &&
           Peek32(kPllReferenceClock) == kReferenceClock &&
           (Peek16(kPreviewHostInterface) & kLaneCountMask) == options_.laneCount;
}

double Ap1302::FrameRate() const
{
    constexpr double usPerSecond = 1e6;
    return std::min(ReadMaxFrameRate(registers_), usPerSecond / std::max(exposure_.TimeUs(), 1.0));
}

std::shared_ptr<const PictureSetup> Ap1302::SendFrame()
{
    trigger_.TakeFrame();
    exposure_.Step(registers_, ReadMaxFrameRate(registers_), trigger_.IsOnDemand());
    balance_.Step(registers_);
    ReportAutomatics();
    const PictureSetup setup = ReadPictureSetup(registers_, exposure_, balance_, options_.light);
    if (!setup_ || !(setup == *setup_))
        setup_ = std::make_shared<const PictureSetup>(setup);
    return setup_;
}

} // namespace zevo_sim
