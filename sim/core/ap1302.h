// The AP1302 image signal processor as its register file shows it.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <vector>

#include "sim/core/camera_options.h"
#include "sim/core/picture_setup.h"

namespace zevo_sim
{

/// Boot loader, registers, stream stall, atomic records, DMA engine and the image sensor behind
/// it. Addresses are the chip's own; values lie big-endian in the register file. Not
/// thread-safe: the camera that owns it locks.
class Ap1302 final
{
public:
    explicit Ap1302(const CameraOptions& options);

    /// Back to the boot loader.
    void Reset();

    void Write(std::uint16_t address, const std::uint8_t* data, std::size_t size);
    void Read(std::uint16_t address, std::uint8_t* data, std::size_t size);

    /// Register values without the side effects of a read.
    std::uint16_t Peek16(std::uint16_t address) const;
    std::uint32_t Peek32(std::uint16_t address) const;
    /// Changes a register behind the program's back, without the side effects of a write.
    void Poke16(std::uint16_t address, std::uint16_t value);
    void Poke32(std::uint16_t address, std::uint32_t value);

    std::uint16_t PeekSensor(std::uint16_t address) const;
    void PokeSensor(std::uint16_t address, std::uint16_t value);

    /// The firmware runs, the stream isn't stalled, and the link has its clocks and as many lanes
    /// as the board.
    bool IsStreaming() const;
    /// Frames come only on triggers.
    bool WaitsForTrigger() const;
    bool HasTrigger() const { return triggers_ != 0; }
    /// Takes one pending trigger, if there is one.
    bool TakeTrigger();
    /// Frames per second, by PREVIEW_MAX_FPS and the sensor's readout time of the region.
    double FrameRate() const;
    /// Grows with every change of what IsStreaming(), FrameRate() and Setup() tell.
    std::uint64_t Generation() const { return generation_; }
    /// The picture by the registers in force. Shared until they change.
    std::shared_ptr<const PictureSetup> Setup() const;

private:
    enum class Loader : std::uint8_t { FirstStage, Clocks, SecondStage, Running, Dead };

    struct Pending {
        bool is = false;
        unsigned readsLeft = 0;
    };

    void StartFirmware();
    void StoreByte(std::uint16_t address, std::uint8_t value);
    bool AcceptsWrite(std::uint16_t address) const;
    void AfterWrite(std::uint16_t address);
    void BeforeRead(std::uint16_t address);

    void TakeBootData(std::uint16_t address, std::uint8_t value);
    void RequestStage(std::uint16_t stage);
    void FinishBoot();
    void WriteAtomic();
    void CommitRecord();
    void RequestToggle();
    void RunDma();
    std::uint32_t& AdvancedWord(std::uint16_t address);
    void WriteAdvanced(std::uint16_t address);
    void UpdateStatus();
    double LinkRateMbps() const;
    static bool CountDown(Pending& pending, bool isStuck);

    const CameraOptions& options_;
    std::array<std::uint8_t, 0x10000> registers_{};
    std::map<std::uint16_t, std::uint16_t> sensor_;
    std::map<std::uint32_t, std::uint32_t> advanced_;

    Loader loader_ = Loader::FirstStage;
    std::size_t bootBytes_ = 0;
    bool isBootDataRight_ = true;
    std::uint16_t runningChecksum_ = 0;
    std::uint16_t shownStage_ = 0;
    std::uint16_t nextStage_ = 0;
    Pending stage_;
    Pending checksum_;
    std::uint32_t clocksSet_ = 0; ///< a bit per 32-bit clock register written

    bool isRecording_ = false;
    bool waitsForUnstall_ = false; ///< a committed record that only a running stream takes
    std::vector<std::pair<std::uint16_t, std::uint8_t>> record_;
    Pending atomic_;
    bool isStalled_ = false;
    bool isToggleRequested_ = false; ///< by the transfer that is being written
    Pending toggle_;
    Pending dma_;
    unsigned triggers_ = 0;

    std::uint64_t generation_ = 1;
    mutable std::uint64_t setupGeneration_ = 0;
    mutable std::shared_ptr<const PictureSetup> setup_;
};

} // namespace zevo_sim
