// One simulated camera: the module behind the CCI link, and the kernel driver that moves bytes.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <vector>

#include "sim/core/ap1302.h"
#include "sim/core/camera_options.h"
#include "sim/core/controls.h"
#include "sim/core/frame_source.h"
#include "sim/core/module_memory.h"
#include "sim/core/transfer_log.h"

namespace zevo_sim
{

/// Any thread; every operation locks the camera by itself.
class Camera final : public FrameSource
{
public:
    explicit Camera(CameraOptions options);
    Camera(const Camera&) = delete;
    Camera& operator=(const Camera&) = delete;

    /// A request on the camera's node, as the driver `tolmen-camera` answers it in the form of the
    /// options: 0 or a negative errno, -ENOTTY for what the driver lacks.
    int Ioctl(unsigned long request, void* argument);

    /// One transfer over the CCI link. The number of bytes moved, or a negative errno.
    int ReadCci(std::uint16_t address, void* data, std::size_t size);
    int WriteCci(std::uint16_t address, const void* data, std::size_t size);

    // For tests: a view past the link.
    std::vector<Transfer> Transfers() const;
    std::vector<IspWrite> IspWrites() const;
    std::size_t IspReadCount() const;
    void ClearTransfers();
    std::uint16_t PeekIsp16(std::uint16_t address) const;
    std::uint32_t PeekIsp32(std::uint16_t address) const;
    void PokeIsp16(std::uint16_t address, std::uint16_t value);
    void PokeIsp32(std::uint16_t address, std::uint32_t value);
    std::uint16_t PeekSensor(std::uint16_t address) const;
    void PokeSensor(std::uint16_t address, std::uint16_t value);
    void PokeModule(std::uint16_t cciAddress, const void* data, std::size_t size);
    void SetMisbehaviour(const Misbehaviour& misbehaviour);
    /// Transfers since construction, the failed ones included.
    std::uint64_t TransferCount() const;

    // The link as the capture side sees it. The listener is called behind every transfer that may
    // have changed what the link carries.
    bool IsStreaming() const;
    bool CanSend() const override;
    std::optional<SentFrame> SendFrame() override;
    double FrameRate() const override;
    void SetStreamListener(std::function<void()> listener) override;

    /// Adds the driver's controls of the control form, which then work on this camera.
    void AddControls(ControlList& controls);

    const CameraOptions& Options() const { return options_; }

private:
    int IoctlNative(unsigned long request, void* argument);
    int Move(std::uint16_t address, std::uint8_t* data, std::size_t size, Direction direction);
    int MoveLocked(std::uint16_t address, std::uint8_t* data, std::size_t size,
                   Direction direction);
    static int Spoil(const FaultInjector::Fault& fault, std::uint8_t* data, int size);
    int RunTransfer(void* transfer, Direction direction);
    void FillCsi(void* csi) const;
    void FillDeviceInformation(void* information) const;

    CameraOptions options_;
    mutable std::mutex mutex_;
    ModuleMemory module_;
    Ap1302 isp_;
    TransferLog log_;
    std::uint64_t transferCount_ = 0;
    std::uint64_t frameCount_ = 0;
    std::function<void()> listener_;
    ControlList controls_;
    std::vector<std::uint8_t> transferControl_; ///< the last transfer set through the control
};

} // namespace zevo_sim
