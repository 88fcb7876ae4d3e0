// The AP1302 image signal processor as its register file shows it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <vector>

#include "sim/core/camera_options.h"
#include "sim/core/exposure_control.h"
#include "sim/core/frame_trigger.h"
#include "sim/core/picture_setup.h"
#include "sim/core/register_file.h"
#include "sim/core/sensor_port.h"
#include "sim/core/white_balance.h"

namespace zevo_sim
{

/// Boot loader, registers, stream stall, atomic records, the image sensor behind the DMA engine,
/// trigger, automatics, and the picture that all this makes. Addresses are the chip's own. Not
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
    std::uint16_t Peek16(std::uint16_t address) const { return registers_.Get16(address); }
    std::uint32_t Peek32(std::uint16_t address) const { return registers_.Get32(address); }
    /// Changes a register behind the program's back, without the side effects of a write.
    void Poke16(std::uint16_t address, std::uint16_t value);
    void Poke32(std::uint16_t address, std::uint32_t value);

    std::uint16_t PeekSensor(std::uint16_t address) const { return sensor_.Get(address); }
    void PokeSensor(std::uint16_t address, std::uint16_t value);

    /// The firmware runs, the stream isn't stalled, and the link has its clocks and as many lanes
    /// as the board.
    bool IsStreaming() const;
    /// The next frame comes as soon as its time has: the stream runs, and the frame doesn't wait
    /// for a trigger.
    bool CanSend() const { return IsStreaming() && trigger_.CanSend(); }
    /// The picture of the frame that is sent now, with the automatics a step on. Needs CanSend().
    std::shared_ptr<const PictureSetup> SendFrame();
    /// Frames per second, by PREVIEW_MAX_FPS, the sensor's readout time of the region and the
    /// exposure time.
    double FrameRate() const;
    /// Grows with every change of what CanSend() and FrameRate() tell.
    std::uint64_t Generation() const { return generation_; }

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
    std::uint32_t& AdvancedWord(std::uint16_t address);
    void WriteAdvanced(std::uint16_t address);
    void FinishTransfer();
    void SettleAutomatics();
    void ReportAutomatics();
    double LinkRateMbps() const;
    static bool CountDown(Pending& pending, bool isStuck);

    const CameraOptions& options_;
    RegisterFile registers_;
    SensorPort sensor_;
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

    FrameTrigger trigger_;
    ExposureControl exposure_;
    WhiteBalance balance_;

    std::uint64_t generation_ = 1;
    std::shared_ptr<const PictureSetup> setup_; ///< of the last frame
};

} // namespace zevo_sim
