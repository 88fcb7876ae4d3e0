// GenTL's modules as objects: open while they live. A module has to end before its parent, and
// the system before the producer.
#pragma once

#include <string>
#include <vector>

#include "producer/info.h"
#include "producer/producer.h"

namespace zevo_tool
{

/// Opening and every operation that talks to the producer: GenTLFailure.
class System final
{
public:
    explicit System(const Producer& producer);
    ~System();
    System(const System&) = delete;
    System& operator=(const System&) = delete;

    const Producer& Library() const { return producer_; }
    TL_HANDLE Handle() const { return handle_; }
    /// Looks for interfaces anew; may take the producer's time.
    std::vector<std::string> InterfaceIds() const;
    InfoQuery Infos() const;

private:
    const Producer& producer_;
    TL_HANDLE handle_ = GENTL_INVALID_HANDLE;
};

/// As System.
class Interface final
{
public:
    Interface(const System& system, const std::string& id);
    ~Interface();
    Interface(const Interface&) = delete;
    Interface& operator=(const Interface&) = delete;

    const Producer& Library() const { return producer_; }
    IF_HANDLE Handle() const { return handle_; }
    const std::string& Id() const { return id_; }
    /// Looks for devices anew; may take the producer's time.
    std::vector<std::string> DeviceIds() const;
    InfoQuery Infos() const;
    InfoQuery DeviceInfos(const std::string& deviceId) const;

private:
    const Producer& producer_;
    std::string id_;
    IF_HANDLE handle_ = GENTL_INVALID_HANDLE;
};

/// As System; opened for exclusive use.
class Device final
{
public:
    Device(const Interface& interface, const std::string& id);
    ~Device();
    Device(const Device&) = delete;
    Device& operator=(const Device&) = delete;

    const Producer& Library() const { return producer_; }
    DEV_HANDLE Handle() const { return handle_; }
    /// The camera itself, in contrast to the producer's device module.
    PORT_HANDLE RemotePort() const;
    std::vector<std::string> StreamIds() const;
    InfoQuery Infos() const;

private:
    const Producer& producer_;
    DEV_HANDLE handle_ = GENTL_INVALID_HANDLE;
};

/// As System.
class Stream final
{
public:
    Stream(const Device& device, const std::string& id);
    ~Stream();
    Stream(const Stream&) = delete;
    Stream& operator=(const Stream&) = delete;

    const Producer& Library() const { return producer_; }
    DS_HANDLE Handle() const { return handle_; }
    InfoQuery Infos() const;
    InfoQuery BufferInfos(BUFFER_HANDLE buffer) const;

private:
    const Producer& producer_;
    DS_HANDLE handle_ = GENTL_INVALID_HANDLE;
};

} // namespace zevo_tool
