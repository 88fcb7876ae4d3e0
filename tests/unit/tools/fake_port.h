// A port that only a test has, and the pieces of its description.
#pragma once

#include <algorithm>
#include <cstring>
#include <map>
#include <string>

#include "failure.h"
#include "producer/port.h"

/// Registers of four bytes; address 0x40 refuses everything.
class FakePort : public zevo_tool::Port
{
public:
    void Read(std::uint64_t address, void* data, std::size_t size) override
    {
        Check(address);
        std::memset(data, 0, size);
        std::memcpy(data, &words[address], std::min(size, sizeof(std::uint32_t)));
    }
    void Write(std::uint64_t address, const void* data, std::size_t size) override
    {
        Check(address);
        std::memcpy(&words[address], data, std::min(size, sizeof(std::uint32_t)));
    }

    std::map<std::uint64_t, std::uint32_t> words;

private:
    static void Check(std::uint64_t address)
    {
        if (address == 0x40)
            throw zevo_tool::Failure("GCWritePort: GC_ERR_ACCESS_DENIED (-1005): not now");
    }
};

inline std::string Register(const std::string& name, const std::string& address,
                            const std::string& access = "RW", const std::string& sign = "Unsigned")
{
    return "<IntReg Name=\"" + name + "\"><Address>" + address +
           "</Address><Length>4</Length><AccessMode>" + access +
           "</AccessMode><pPort>Device</pPort><Sign>" + sign +
           "</Sign><Endianess>LittleEndian</Endianess></IntReg>";
}

/// A whole description from its nodes.
inline std::string DescriptionOf(const std::string& nodes)
{
    return R"(<?xml version="1.0" encoding="utf-8"?>
<RegisterDescription ModelName="M" VendorName="V" StandardNameSpace="None"
    SchemaMajorVersion="1" SchemaMinorVersion="1" SchemaSubMinorVersion="0"
    MajorVersion="1" MinorVersion="0" SubMinorVersion="0"
    ProductGuid="0" VersionGuid="0" xmlns="http://www.genicam.org/GenApi/Version_1_1">
)" + nodes +
           R"(<Port Name="Device"/></RegisterDescription>)";
}
