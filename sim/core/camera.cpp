#include "sim/core/camera.h"

#include <linux/videodev2.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <utility>

#include "sim/core/camera_requests.h"

namespace zevo_sim
{

namespace
{

constexpr std::uint32_t kVersionControl = 0x00981001;
constexpr std::uint32_t kTransferControl = 0x00981002;
constexpr std::uint32_t kDeviceControl = 0x00981003;
constexpr std::uint32_t kCsiControl = 0x00981004;

// The ISP passes reads on to its own bus a register at a time.
constexpr std::size_t kIspReadLimit = 2;

} // namespace

Camera::Camera(CameraOptions options)
    : options_(std::move(options)), module_(options_), isp_(options_),
      transferControl_(sizeof(RegisterTransfer))
{
    if (options_.form == RequestForm::Controls)
        AddControls(controls_);
}

int Camera::Ioctl(unsigned long request, void* argument)
{
    if (!argument)
        return -EFAULT;
    return options_.form == RequestForm::Native ? IoctlNative(request, argument)
                                                : controls_.Ioctl(request, argument);
}

int Camera::IoctlNative(unsigned long request, void* argument)
{
    switch (request) {
    case TOLMEN_IOC_VERSION: {
        const std::uint32_t version = options_.driverVersion.AsWord();
        std::memcpy(argument, &version, sizeof(version));
        return 0;
    }
    case TOLMEN_IOC_DEVICE:
        FillDeviceInformation(argument);
        return 0;
    case TOLMEN_IOC_CSI:
        FillCsi(argument);
        return 0;
    case TOLMEN_IOC_READ_REGISTER:
        return RunTransfer(argument, Direction::Read);
    case TOLMEN_IOC_WRITE_REGISTER:
        return RunTransfer(argument, Direction::Write);
    default:
        return -ENOTTY;
    }
}

void Camera::AddControls(ControlList& controls)
{
    const auto payload = [](std::uint32_t id, const char* name, std::uint32_t size) {
        Control control{};
        control.id = id;
        control.name = name;
        control.type = V4L2_CTRL_TYPE_U8;
        control.flags =
            V4L2_CTRL_FLAG_READ_ONLY | V4L2_CTRL_FLAG_VOLATILE | V4L2_CTRL_FLAG_HAS_PAYLOAD;
        control.size = size;
        return control;
    };

    Control version{};
    version.id = kVersionControl;
    version.name = "Interface Version";
    version.type = V4L2_CTRL_TYPE_INTEGER;
    version.flags = V4L2_CTRL_FLAG_READ_ONLY;
    version.maximum = 0x7FFFFFFF;
    version.get = [this](std::int32_t& value, std::uint8_t*) {
        value = static_cast<std::int32_t>(options_.driverVersion.AsWord());
        return 0;
    };
    controls.Add(std::move(version));

    Control device = payload(kDeviceControl, "Device Information", sizeof(DeviceInformation));
    device.get = [this](std::int32_t&, std::uint8_t* data) {
        FillDeviceInformation(data);
        return 0;
    };
    controls.Add(std::move(device));

    Control csi = payload(kCsiControl, "CSI Information", sizeof(CsiInformation));
    csi.get = [this](std::int32_t&, std::uint8_t* data) {
        FillCsi(data);
        return 0;
    };
    controls.Add(std::move(csi));

    // A write happens at the set, a read at the get that follows its set.
    Control transfer = payload(kTransferControl, "Register Transfer", sizeof(RegisterTransfer));
    transfer.flags =
        V4L2_CTRL_FLAG_VOLATILE | V4L2_CTRL_FLAG_EXECUTE_ON_WRITE | V4L2_CTRL_FLAG_HAS_PAYLOAD;
    transfer.set = [this](std::int32_t, const std::uint8_t* data) {
        RegisterTransfer request;
        std::memcpy(&request, data, sizeof(request));
        {
            const std::lock_guard lock(mutex_);
            std::memcpy(transferControl_.data(), data, sizeof(request));
        }
        if (request.direction == static_cast<std::uint8_t>(Direction::Write))
            return RunTransfer(&request, Direction::Write);
        return request.size == 0 || request.size > kPayloadSize ? -EINVAL : 0;
    };
    transfer.get = [this](std::int32_t&, std::uint8_t* data) {
        RegisterTransfer request;
        {
            const std::lock_guard lock(mutex_);
            std::memcpy(&request, transferControl_.data(), sizeof(request));
        }
        if (request.direction == static_cast<std::uint8_t>(Direction::Read))
            if (const int result = RunTransfer(&request, Direction::Read); result != 0)
                return result;
        std::memcpy(data, &request, sizeof(request));
        return 0;
    };
    controls.Add(std::move(transfer));
}

int Camera::RunTransfer(void* transfer, Direction direction)
{
    RegisterTransfer request;
    std::memcpy(&request, transfer, sizeof(request));
    if (request.size == 0 || request.size > kPayloadSize)
        return -EINVAL;
    const int moved = Move(request.address, request.payload, request.size, direction);
    if (moved < 0)
        return moved;
    request.size = static_cast<std::uint16_t>(moved);
    std::memcpy(transfer, &request, sizeof(request));
    return 0;
}

void Camera::FillCsi(void* csi) const
{
    CsiInformation information{};
    information.linkFrequency = options_.laneRateBps / 2;
    information.laneCount = options_.laneCount;
    std::copy(options_.laneAssignment.begin(), options_.laneAssignment.end(),
              information.laneAssignment);
    std::memcpy(csi, &information, sizeof(information));
}

void Camera::FillDeviceInformation(void* target) const
{
    constexpr std::uint16_t order[] = {
        abrm::kManufacturerName, abrm::kModelName,    abrm::kFamilyName,     abrm::kDeviceVersion,
        abrm::kManufacturerInfo, abrm::kSerialNumber, abrm::kUserDefinedName};
    DeviceInformation information{};
    information.magic = options_.deviceInformationMagic;
    information.version = options_.informationVersion.AsWord();
    {
        const std::lock_guard lock(mutex_);
        for (std::size_t i = 0; i < std::size(order); ++i) {
            const std::string text = module_.Text(order[i]);
            std::memcpy(information.text[i], text.data(), text.size());
        }
    }
    std::memcpy(target, &information, sizeof(information));
}

int Camera::ReadCci(std::uint16_t address, void* data, std::size_t size)
{
    return Move(address, static_cast<std::uint8_t*>(data), size, Direction::Read);
}

int Camera::WriteCci(std::uint16_t address, const void* data, std::size_t size)
{
    const auto* bytes = static_cast<const std::uint8_t*>(data);
    std::vector<std::uint8_t> copy(bytes, bytes + size);
    return Move(address, copy.data(), size, Direction::Write);
}

int Camera::Move(std::uint16_t address, std::uint8_t* data, std::size_t size, Direction direction)
{
    const bool isRead = direction == Direction::Read;
    std::optional<FaultInjector::Fault> readFault;
    if (options_.faults) {
        const int result =
            options_.faults->OnTransfer(options_.index, isRead, address, size, readFault);
        if (result != 0)
            return result;
    }
    std::function<void()> listener;
    int moved = 0;
    {
        const std::lock_guard lock(mutex_);
        const std::uint64_t before = isp_.Generation();
        moved = MoveLocked(address, data, size, direction);
        if (isp_.Generation() != before)
            listener = listener_;
    }
    if (listener)
        listener();
    return readFault && moved > 0 ? Spoil(*readFault, data, moved) : moved;
}

/// What the program gets of a read that worked: the number of bytes.
int Camera::Spoil(const FaultInjector::Fault& fault, std::uint8_t* data, int size)
{
    if (fault.effect == FaultEffect::Short)
        return static_cast<int>(std::min<std::uint64_t>(size, fault.value));
    std::uint64_t value = fault.value;
    for (int i = size; i-- > 0; value >>= 8)
        data[i] = static_cast<std::uint8_t>(value);
    return size;
}

int Camera::MoveLocked(std::uint16_t address, std::uint8_t* data, std::size_t size,
                       Direction direction)
{
    const bool isRead = direction == Direction::Read;
    const auto ispAddress = IspAddress(address);
    const std::uint32_t limit = isRead ? options_.maxReadLength : options_.maxWriteLength;
    const Misbehaviour& faults = options_.misbehaviour;

    ++transferCount_;
    if (const auto fault = faults.failingTransfers.find(transferCount_);
        fault != faults.failingTransfers.end())
        return -fault->second;
    if ((limit != 0 && size > limit) || (isRead && ispAddress && size > kIspReadLimit))
        return -EREMOTEIO;
    if (const auto fault = faults.shortReads.find(transferCount_);
        isRead && fault != faults.shortReads.end())
        size = std::min<std::size_t>(size, fault->second);

    if (ispAddress && isRead) {
        isp_.Read(*ispAddress, data, size);
    } else if (ispAddress) {
        isp_.Write(*ispAddress, data, size);
    } else if (isRead) {
        module_.Read(address, data, size);
    } else {
        if (!module_.Write(address, data, size))
            return -EREMOTEIO;
        if (module_.TakeResetRequest())
            isp_.Reset();
    }
    if (options_.logsTransfers)
        log_.Add(direction, address, data, size);
    return static_cast<int>(size);
}

std::vector<Transfer> Camera::Transfers() const
{
    const std::lock_guard lock(mutex_);
    return log_.All();
}

std::vector<IspWrite> Camera::IspWrites() const
{
    const std::lock_guard lock(mutex_);
    return log_.IspWrites();
}

std::size_t Camera::IspReadCount() const
{
    const std::lock_guard lock(mutex_);
    return log_.IspReadCount();
}

void Camera::ClearTransfers()
{
    const std::lock_guard lock(mutex_);
    log_.Clear();
}

std::uint16_t Camera::PeekIsp16(std::uint16_t address) const
{
    const std::lock_guard lock(mutex_);
    return isp_.Peek16(address);
}

std::uint32_t Camera::PeekIsp32(std::uint16_t address) const
{
    const std::lock_guard lock(mutex_);
    return isp_.Peek32(address);
}

void Camera::PokeIsp16(std::uint16_t address, std::uint16_t value)
{
    const std::lock_guard lock(mutex_);
    isp_.Poke16(address, value);
}

void Camera::PokeIsp32(std::uint16_t address, std::uint32_t value)
{
    const std::lock_guard lock(mutex_);
    isp_.Poke32(address, value);
}

std::uint16_t Camera::PeekSensor(std::uint16_t address) const
{
    const std::lock_guard lock(mutex_);
    return isp_.PeekSensor(address);
}

void Camera::PokeSensor(std::uint16_t address, std::uint16_t value)
{
    const std::lock_guard lock(mutex_);
    isp_.PokeSensor(address, value);
}

void Camera::PokeModule(std::uint16_t cciAddress, const void* data, std::size_t size)
{
    const std::lock_guard lock(mutex_);
    module_.Poke(cciAddress, data, size);
}

void Camera::SetMisbehaviour(const Misbehaviour& misbehaviour)
{
    const std::lock_guard lock(mutex_);
    options_.misbehaviour = misbehaviour;
}

std::uint64_t Camera::TransferCount() const
{
    const std::lock_guard lock(mutex_);
    return transferCount_;
}

bool Camera::IsStreaming() const
{
    const std::lock_guard lock(mutex_);
    return isp_.IsStreaming();
}

bool Camera::CanSend() const
{
    const std::lock_guard lock(mutex_);
    return isp_.CanSend();
}

double Camera::FrameRate() const
{
    const std::lock_guard lock(mutex_);
    return isp_.FrameRate();
}

std::optional<SentFrame> Camera::SendFrame()
{
    const std::lock_guard lock(mutex_);
    if (!isp_.CanSend())
        return std::nullopt;
    return SentFrame{++frameCount_, isp_.SendFrame()};
}

void Camera::SetStreamListener(std::function<void()> listener)
{
    const std::lock_guard lock(mutex_);
    listener_ = std::move(listener);
}

} // namespace zevo_sim
