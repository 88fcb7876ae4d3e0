#include "producer/modules.h"

#include <cstdint>

namespace zevo_tool
{

namespace
{

/// How long a producer may look for interfaces and devices.
constexpr std::uint64_t kSearchTimeoutMs = 1000;

/// An identifier by GenTL's protocol: the size first, then the text.
template <typename Query>
std::string ReadId(const Producer& producer, const char* function, const Query& query)
{
    std::size_t size = 0;
    producer.Check(function, query(nullptr, &size));
    std::vector<char> text(size + 1);
    producer.Check(function, query(text.data(), &size));
    return text.data();
}

} // namespace

System::System(const Producer& producer) : producer_(producer)
{
    producer_.Check("TLOpen", producer_->TLOpen(&handle_));
}

System::~System()
{
    producer_->TLClose(handle_);
}

std::vector<std::string> System::InterfaceIds() const
{
    producer_.Check("TLUpdateInterfaceList",
                    producer_->TLUpdateInterfaceList(handle_, nullptr, kSearchTimeoutMs));
    std::uint32_t number = 0;
    producer_.Check("TLGetNumInterfaces", producer_->TLGetNumInterfaces(handle_, &number));
    std::vector<std::string> ids;
    for (std::uint32_t index = 0; index < number; ++index)
        ids.push_back(ReadId(producer_, "TLGetInterfaceID", [&](char* id, std::size_t* size) {
            return producer_->TLGetInterfaceID(handle_, index, id, size);
        }));
    return ids;
}

InfoQuery System::Infos() const
{
    return [this](std::int32_t command, INFO_DATATYPE* type, void* buffer, std::size_t* size) {
        return producer_->TLGetInfo(handle_, command, type, buffer, size);
    };
}

Interface::Interface(const System& system, const std::string& id)
    : producer_(system.Library()), id_(id)
{
    producer_.Check("TLOpenInterface",
                    producer_->TLOpenInterface(system.Handle(), id.c_str(), &handle_));
}

Interface::~Interface()
{
    producer_->IFClose(handle_);
}

std::vector<std::string> Interface::DeviceIds() const
{
    producer_.Check("IFUpdateDeviceList",
                    producer_->IFUpdateDeviceList(handle_, nullptr, kSearchTimeoutMs));
    std::uint32_t number = 0;
    producer_.Check("IFGetNumDevices", producer_->IFGetNumDevices(handle_, &number));
    std::vector<std::string> ids;
    for (std::uint32_t index = 0; index < number; ++index)
        ids.push_back(ReadId(producer_, "IFGetDeviceID", [&](char* id, std::size_t* size) {
            return producer_->IFGetDeviceID(handle_, index, id, size);
        }));
    return ids;
}

InfoQuery Interface::Infos() const
{
    return [this](std::int32_t command, INFO_DATATYPE* type, void* buffer, std::size_t* size) {
        return producer_->IFGetInfo(handle_, command, type, buffer, size);
    };
}

InfoQuery Interface::DeviceInfos(const std::string& deviceId) const
{
    return [this, deviceId](std::int32_t command, INFO_DATATYPE* type, void* buffer,
                            std::size_t* size) {
        return producer_->IFGetDeviceInfo(handle_, deviceId.c_str(), command, type, buffer, size);
    };
}

Device::Device(const Interface& interface, const std::string& id) : producer_(interface.Library())
{
    producer_.Check("IFOpenDevice", producer_->IFOpenDevice(interface.Handle(), id.c_str(),
                                                            DEVICE_ACCESS_EXCLUSIVE, &handle_));
}

Device::~Device()
{
    producer_->DevClose(handle_);
}

PORT_HANDLE Device::RemotePort() const
{
    PORT_HANDLE port = GENTL_INVALID_HANDLE;
    producer_.Check("DevGetPort", producer_->DevGetPort(handle_, &port));
    return port;
}

std::vector<std::string> Device::StreamIds() const
{
    std::uint32_t number = 0;
    producer_.Check("DevGetNumDataStreams", producer_->DevGetNumDataStreams(handle_, &number));
    std::vector<std::string> ids;
    for (std::uint32_t index = 0; index < number; ++index)
        ids.push_back(ReadId(producer_, "DevGetDataStreamID", [&](char* id, std::size_t* size) {
            return producer_->DevGetDataStreamID(handle_, index, id, size);
        }));
    return ids;
}

InfoQuery Device::Infos() const
{
    return [this](std::int32_t command, INFO_DATATYPE* type, void* buffer, std::size_t* size) {
        return producer_->DevGetInfo(handle_, command, type, buffer, size);
    };
}

Stream::Stream(const Device& device, const std::string& id) : producer_(device.Library())
{
    producer_.Check("DevOpenDataStream",
                    producer_->DevOpenDataStream(device.Handle(), id.c_str(), &handle_));
}

Stream::~Stream()
{
    producer_->DSClose(handle_);
}

InfoQuery Stream::Infos() const
{
    return [this](std::int32_t command, INFO_DATATYPE* type, void* buffer, std::size_t* size) {
        return producer_->DSGetInfo(handle_, command, type, buffer, size);
    };
}

InfoQuery Stream::BufferInfos(BUFFER_HANDLE buffer) const
{
    return
        [this, buffer](std::int32_t command, INFO_DATATYPE* type, void* data, std::size_t* size) {
            return producer_->DSGetBufferInfo(handle_, buffer, command, type, data, size);
        };
}

} // namespace zevo_tool
