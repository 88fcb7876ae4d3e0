// System, interface and device over a simulated board: lists, infos, registers, openings.
#include <cstring>

#include <gtest/gtest.h>

#include "camera.h"

namespace
{

constexpr char kInterface[] = "Tolmen ZEVO GenTL Interface Module";

template <typename Function>
std::string text(Function ask)
{
    char answer[1200] = {};
    size_t size = sizeof answer;
    const GC_ERROR result = ask(answer, &size);
    return result == GC_ERR_SUCCESS ? answer : "error " + std::to_string(result);
}

std::string registerText(PORT_HANDLE port, uint64_t address, size_t width)
{
    std::string bytes(width, '#');
    size_t size = width;
    const GC_ERROR result = producer().GCReadPort(port, address, bytes.data(), &size);
    return result == GC_ERR_SUCCESS ? bytes.c_str() : "error " + std::to_string(result);
}

uint32_t registerWord(PORT_HANDLE port, uint64_t address)
{
    uint32_t word = 0xEEEEEEEE;
    size_t size = sizeof word;
    EXPECT_EQ(producer().GCReadPort(port, address, &word, &size), GC_ERR_SUCCESS) << address;
    return word;
}

GC_ERROR writeWord(PORT_HANDLE port, uint64_t address, uint32_t word)
{
    size_t size = sizeof word;
    return producer().GCWritePort(port, address, &word, &size);
}

// From GCInitLib to an open system; no interface yet.
struct OpenSystem {
    OpenSystem()
    {
        EXPECT_EQ(producer().GCInitLib(), GC_ERR_SUCCESS);
        EXPECT_EQ(producer().TLOpen(&system), GC_ERR_SUCCESS);
    }
    ~OpenSystem() { EXPECT_EQ(producer().GCCloseLib(), GC_ERR_SUCCESS); }
    TL_HANDLE system = nullptr;
};

} // namespace

TEST(System, TheInterfaceAppearsWithTheFirstUpdate)
{
    OpenSystem open;
    uint32_t number = 7;
    size_t size = 0;
    INFO_DATATYPE type = 0;
    EXPECT_EQ(producer().TLGetNumInterfaces(open.system, &number), GC_ERR_SUCCESS);
    EXPECT_EQ(number, 0u);
    EXPECT_EQ(producer().TLGetInterfaceID(open.system, 0, nullptr, &size), GC_ERR_INVALID_INDEX);
    EXPECT_EQ(producer().TLGetInterfaceInfo(open.system, kInterface, 0, &type, nullptr, &size),
              GC_ERR_NOT_INITIALIZED);
    EXPECT_EQ(registerText(open.system, 0x740, 256), "No Interface selected");
    EXPECT_EQ(registerText(open.system, 0x840, 256), "No interface selected");
    for (const bool8_t expected : {1, 0}) {
        bool8_t changed = 9;
        EXPECT_EQ(producer().TLUpdateInterfaceList(open.system, &changed, 0), GC_ERR_SUCCESS);
        EXPECT_EQ(changed, expected);
        EXPECT_EQ(producer().TLGetNumInterfaces(open.system, &number), GC_ERR_SUCCESS);
        EXPECT_EQ(number, 1u);
    }
    EXPECT_EQ(text([&](char* id, size_t* room) {
                  return producer().TLGetInterfaceID(open.system, 0, id, room);
              }),
              kInterface);
    EXPECT_EQ(producer().TLGetInterfaceInfo(open.system, "x", 0, &type, nullptr, &size),
              GC_ERR_INVALID_ID);
}

TEST(System, TheSelectorShowsTheInterfaceAndKeepsWhatItIsGiven)
{
    OpenSystem open;
    EXPECT_EQ(writeWord(open.system, 0x44, 1), GC_ERR_SUCCESS) << "updates the list";
    EXPECT_EQ(registerWord(open.system, 0xC), 0u);
    EXPECT_EQ(writeWord(open.system, 0x8, 0), GC_ERR_SUCCESS);
    EXPECT_EQ(registerText(open.system, 0x740, 256), kInterface);
    EXPECT_EQ(registerText(open.system, 0x840, 256), "MIPI CSI-2");
    EXPECT_EQ(writeWord(open.system, 0x8, 5), GC_ERR_SUCCESS);
    EXPECT_EQ(registerText(open.system, 0x740, 256), "No Interface selected");
    EXPECT_EQ(registerText(open.system, 0x840, 256), "No Interface selected");
    EXPECT_EQ(registerWord(open.system, 0x8), 5u);
    EXPECT_EQ(writeWord(open.system, 0xC, 1), GC_ERR_ACCESS_DENIED);
    EXPECT_EQ(lastError(), "-1005 Requested operation is not allowed");
    EXPECT_EQ(registerWord(open.system, 0x940), 6u);
    EXPECT_EQ(registerText(open.system, 0x100, 256), "GenTLProducerZEVO.cti");
}

TEST(System, AnInterfaceOpensByItsIdWithoutAnUpdate)
{
    OpenSystem open;
    IF_HANDLE interface = nullptr;
    EXPECT_EQ(producer().TLOpenInterface(open.system, "x", &interface), GC_ERR_INVALID_ID);
    ASSERT_EQ(producer().TLOpenInterface(open.system, kInterface, &interface), GC_ERR_SUCCESS);
    IF_HANDLE second = nullptr;
    EXPECT_EQ(producer().TLOpenInterface(open.system, kInterface, &second), GC_ERR_RESOURCE_IN_USE);
    TL_HANDLE parent = nullptr;
    EXPECT_EQ(producer().IFGetParentTL(interface, &parent), GC_ERR_SUCCESS);
    EXPECT_EQ(parent, open.system);
    TL_HANDLE again = nullptr;
    EXPECT_EQ(producer().TLOpen(&again), GC_ERR_RESOURCE_IN_USE);
    EXPECT_EQ(producer().IFClose(interface), GC_ERR_SUCCESS);
    EXPECT_EQ(producer().IFClose(interface), GC_ERR_INVALID_HANDLE);
    ASSERT_EQ(producer().TLOpenInterface(open.system, kInterface, &second), GC_ERR_SUCCESS);
    EXPECT_NE(second, interface) << "a handle is never used twice";
}

TEST(Interface, ListsTheCameraOnceUpdated)
{
    OpenSystem open;
    IF_HANDLE interface = nullptr;
    ASSERT_EQ(producer().TLOpenInterface(open.system, kInterface, &interface), GC_ERR_SUCCESS);
    uint32_t number = 7;
    EXPECT_EQ(producer().IFGetNumDevices(interface, &number), GC_ERR_NOT_AVAILABLE);
    for (const bool8_t expected : {1, 0}) {
        bool8_t changed = 9;
        EXPECT_EQ(producer().IFUpdateDeviceList(interface, &changed, 0), GC_ERR_SUCCESS);
        EXPECT_EQ(changed, expected);
    }
    EXPECT_EQ(producer().IFGetNumDevices(interface, &number), GC_ERR_SUCCESS);
    EXPECT_EQ(number, 1u);
    const std::string id = text([&](char* answer, size_t* room) {
        return producer().IFGetDeviceID(interface, 0, answer, room);
    });
    INFO_DATATYPE type = 0;
    const auto info = [&](DEVICE_INFO_CMD command) {
        return text([&](char* answer, size_t* room) {
            return producer().IFGetDeviceInfo(interface, id.c_str(), command, &type, answer, room);
        });
    };
    const std::string vendor = info(DEVICE_INFO_VENDOR);
    const std::string serial = info(DEVICE_INFO_SERIAL_NUMBER);
    EXPECT_EQ(info(DEVICE_INFO_MODEL), "zvK1800-45tqr");
    EXPECT_EQ(serial.find(':'), std::string::npos) << "the prefix of the serial number is cut";
    EXPECT_EQ(id, vendor + " zvK1800-45tqr (" + serial + ")");
    EXPECT_EQ(info(DEVICE_INFO_VERSION), "Unknown");
    EXPECT_EQ(info(DEVICE_INFO_TLTYPE), "Custom");
    size_t size = 77;
    type = 99;
    EXPECT_EQ(producer().IFGetDeviceInfo(interface, id.c_str(), DEVICE_INFO_TIMESTAMP_FREQUENCY,
                                         &type, nullptr, &size),
              GC_ERR_NOT_IMPLEMENTED);
    EXPECT_EQ(type, 99);
}

TEST(Interface, TheSelectedDeviceShowsInItsRegisters)
{
    const OpenInterface open;
    const std::string id = open.deviceId();
    EXPECT_EQ(registerText(open.interface, 0x380, 256), id);
    EXPECT_EQ(registerText(open.interface, 0x4C8, 64), "zvK1800-45tqr");
    EXPECT_EQ(writeWord(open.interface, 0x484, 5), GC_ERR_SUCCESS);
    for (const uint64_t address : {0x488, 0x4C8, 0x550})
        EXPECT_EQ(registerText(open.interface, address, 64), "No Device selected") << address;
    EXPECT_EQ(registerText(open.interface, 0x380, 256), "No Device selected");
    EXPECT_EQ(registerWord(open.interface, 0x484), 5u);
    EXPECT_EQ(writeWord(open.interface, 0x280, 1), GC_ERR_SUCCESS) << "updates the list";
    EXPECT_EQ(registerWord(open.interface, 0x484), 0u);
    EXPECT_EQ(registerText(open.interface, 0x380, 256), id);
    uint32_t word = 0;
    size_t size = sizeof word;
    EXPECT_EQ(producer().GCReadPort(open.interface, 0x280, &word, &size), GC_ERR_ACCESS_DENIED);
    EXPECT_EQ(producer().GCReadPort(open.interface, 0x5A8, &word, &size), GC_ERR_INVALID_ADDRESS);
    EXPECT_EQ(lastError(), "-1015 A given address is out of range or invalid for internal reasons");
    EXPECT_EQ(producer().GCReadPort(open.interface, 0x58C, &word, &size), GC_ERR_SUCCESS);
}

TEST(Device, OpenFlagsDecideTheAccess)
{
    const struct {
        DEVICE_ACCESS_FLAGS flags;
        GC_ERROR result;
        uint32_t status;
        GC_ERROR write;
    } kCases[] = {
        {DEVICE_ACCESS_NONE, GC_ERR_ACCESS_DENIED, 0, 0},
        {0, GC_ERR_ACCESS_DENIED, 0, 0},
        {-1, GC_ERR_ACCESS_DENIED, 0, 0},
        {1000, GC_ERR_ACCESS_DENIED, 0, 0},
        {5, GC_ERR_INVALID_PARAMETER, 0, 0},
        {999, GC_ERR_INVALID_PARAMETER, 0, 0},
        {DEVICE_ACCESS_READONLY, GC_ERR_SUCCESS, 2, GC_ERR_ACCESS_DENIED},
        {DEVICE_ACCESS_CONTROL, GC_ERR_SUCCESS, 1, GC_ERR_SUCCESS},
        {DEVICE_ACCESS_EXCLUSIVE, GC_ERR_SUCCESS, 1, GC_ERR_SUCCESS},
    };
    const OpenInterface open;
    for (const auto& row : kCases) {
        DEV_HANDLE device = nullptr;
        EXPECT_EQ(
            producer().IFOpenDevice(open.interface, open.deviceId().c_str(), row.flags, &device),
            row.result)
            << row.flags;
        EXPECT_EQ(registerWord(open.interface, 0x54C), row.status) << row.flags;
        if (row.result != GC_ERR_SUCCESS)
            continue;
        uint32_t status = 0;
        size_t size = sizeof status;
        INFO_DATATYPE type = 0;
        EXPECT_EQ(producer().DevGetInfo(device, DEVICE_INFO_ACCESS_STATUS, &type, &status, &size),
                  GC_ERR_SUCCESS);
        EXPECT_EQ(status, row.status);
        EXPECT_EQ(registerWord(device, 0x940), 1u) << "whatever the access";
        PORT_HANDLE port = nullptr;
        EXPECT_EQ(producer().DevGetPort(device, &port), GC_ERR_SUCCESS);
        EXPECT_EQ(writeWord(port, remote::kWidth, 96), row.write);
        EXPECT_EQ(producer().DevClose(device), GC_ERR_SUCCESS);
    }
}

TEST(Device, HasOneStreamAndRegistersThatTellAboutIt)
{
    const OpenDevice open;
    uint32_t number = 0;
    EXPECT_EQ(producer().DevGetNumDataStreams(open.device, &number), GC_ERR_SUCCESS);
    EXPECT_EQ(number, 1u);
    EXPECT_EQ(text([&](char* id, size_t* room) {
                  return producer().DevGetDataStreamID(open.device, 0, id, room);
              }),
              "Stream0");
    size_t size = 0;
    EXPECT_EQ(producer().DevGetDataStreamID(open.device, 1, nullptr, &size), GC_ERR_INVALID_INDEX);
    EXPECT_EQ(registerText(open.device, 0x8, 256), "No Stream selected");
    EXPECT_EQ(writeWord(open.device, 0x0, 0), GC_ERR_SUCCESS);
    EXPECT_EQ(registerText(open.device, 0x8, 256), "Stream0");
    EXPECT_EQ(writeWord(open.device, 0x0, 1), GC_ERR_SUCCESS);
    EXPECT_EQ(registerText(open.device, 0x8, 256), "No Stream selected");
    EXPECT_EQ(registerText(open.device, 0x408, 256), "zvK1800-45tqr");
    EXPECT_EQ(registerText(open.device, 0x508, 256), "Vant ZEVO MIPI");
    DS_HANDLE stream = nullptr;
    EXPECT_EQ(producer().DevOpenDataStream(open.device, "Stream1", &stream),
              GC_ERR_INVALID_PARAMETER);
    IF_HANDLE parent = nullptr;
    EXPECT_EQ(producer().DevGetParentIF(open.device, &parent), GC_ERR_SUCCESS);
    EXPECT_EQ(parent, open.interface);
    DEV_HANDLE second = nullptr;
    EXPECT_EQ(producer().IFOpenDevice(open.interface, open.deviceId().c_str(),
                                      DEVICE_ACCESS_EXCLUSIVE, &second),
              GC_ERR_RESOURCE_IN_USE);
}

// A reset with the notification on, once, and off; the record is 12 bytes.
TEST(Device, AResetTellsWhoeverAskedForIt)
{
    constexpr uint64_t kNotification = 0x9A4;
    const OpenDevice open;
    EVENT_HANDLE event = nullptr;
    EXPECT_EQ(producer().GCRegisterEvent(open.device, EVENT_NEW_BUFFER, &event),
              GC_ERR_NOT_IMPLEMENTED);
    ASSERT_EQ(producer().GCRegisterEvent(open.device, EVENT_MODULE, &event), GC_ERR_SUCCESS);
    EXPECT_EQ(producer().GCRegisterEvent(open.device, EVENT_MODULE, &event),
              GC_ERR_RESOURCE_IN_USE);
    const struct {
        uint32_t notification;
        uint32_t after;
        int records;
    } kCases[] = {{0, 0, 0}, {2, 0, 1}, {1, 1, 2}};
    for (const auto& row : kCases) {
        EXPECT_EQ(writeWord(open.device, kNotification, row.notification), GC_ERR_SUCCESS);
        for (int reset = 0; reset < 2; ++reset)
            EXPECT_EQ(open.write(remote::kDeviceReset, reset), GC_ERR_SUCCESS) << lastError();
        EXPECT_EQ(registerWord(open.device, kNotification), row.after);
        for (int record = 0; record < 2; ++record) {
            uint32_t data[3] = {};
            size_t size = sizeof data;
            const GC_ERROR expected = record < row.records ? GC_ERR_SUCCESS : GC_ERR_TIMEOUT;
            EXPECT_EQ(producer().EventGetData(event, data, &size, 0), expected);
            if (expected == GC_ERR_SUCCESS) {
                EXPECT_EQ(data[1], 0x1234u);
            }
        }
    }
    EXPECT_EQ(producer().GCUnregisterEvent(open.device, EVENT_MODULE), GC_ERR_SUCCESS);
    EXPECT_EQ(producer().GCUnregisterEvent(open.device, EVENT_MODULE), GC_ERR_INVALID_PARAMETER);
}

TEST(Ports, EachServesItsDescriptionUnderItsUrl)
{
    Streaming open;
    ASSERT_EQ(producer().DevOpenDataStream(open.device, "Stream0", &open.stream), GC_ERR_SUCCESS);
    const struct {
        PORT_HANDLE port;
        const char* file;
        const char* address;
        const char* model;
    } kCases[] = {
        {open.system, "GenTLSystem.xml", "944", "zvK1800-45tqr"},
        {open.interface, "GenTLInterface.xml", "700", "ZEVO"},
        {open.device, "GenTLDevice.xml", "1000", "ZEVO"},
        {open.stream, "GenTLStream.xml", "1000", "ZEVO"},
        {open.port, "RemoteDevice.xml", "c0000000", "zvK1800-45tqr"},
    };
    for (const auto& row : kCases) {
        uint32_t number = 0;
        INFO_DATATYPE type = 0;
        EXPECT_EQ(producer().GCGetNumPortURLs(row.port, &number), GC_ERR_SUCCESS);
        EXPECT_EQ(number, 1u);
        char url[256] = {};
        size_t size = sizeof url;
        EXPECT_EQ(producer().GCGetPortURL(row.port, url, &size), GC_ERR_SUCCESS);
        EXPECT_EQ(size, std::strlen(url) + 2);
        --size;
        EXPECT_EQ(producer().GCGetPortURL(row.port, url, &size), GC_ERR_INVALID_PARAMETER);
        const std::string prefix = std::string("local:///") + row.file + ";" + row.address + ";";
        ASSERT_EQ(std::string(url).substr(0, prefix.size()), prefix);
        const uint64_t address = std::stoull(row.address, nullptr, 16);
        std::string xml(std::stoull(url + prefix.size(), nullptr, 16), '#');
        size = xml.size();
        EXPECT_EQ(producer().GCReadPort(row.port, address, xml.data(), &size), GC_ERR_SUCCESS);
        EXPECT_NE(xml.find("<RegisterDescription"), std::string::npos) << row.file;
        EXPECT_NE(xml.find("</RegisterDescription>"), std::string::npos) << row.file;
        EXPECT_EQ(producer().GCGetPortURLInfo(row.port, 1, 0, &type, nullptr, &size),
                  GC_ERR_INVALID_INDEX);
        EXPECT_EQ(text([&](char* answer, size_t* room) {
                      return producer().GCGetPortInfo(row.port, PORT_INFO_MODEL, &type, answer,
                                                      room);
                  }),
                  row.model);
        bool8_t isBig = 0;
        size = sizeof isBig;
        EXPECT_EQ(producer().GCGetPortInfo(row.port, PORT_INFO_BIG_ENDIAN, &type, &isBig, &size),
                  GC_ERR_SUCCESS);
        EXPECT_EQ(isBig, 1);
    }
}

TEST(Ports, AStackEndsAtItsFirstFailureAndTellsHowFarItCame)
{
    const OpenInterface open;
    uint32_t words[3] = {};
    PORT_REGISTER_STACK_ENTRY entries[] = {
        {0x284, &words[0], 4}, {0x288, &words[1], 4}, {0x5A8, &words[2], 4}, {0x28C, words, 4}};
    size_t count = 4;
    EXPECT_EQ(producer().GCReadPortStacked(open.interface, entries, &count),
              GC_ERR_INVALID_ADDRESS);
    EXPECT_EQ(count, 2u);
    EXPECT_EQ(words[0], 5u);
    EXPECT_EQ(words[1], 1u);
    entries[1].pBuffer = nullptr;
    count = 2;
    EXPECT_EQ(producer().GCReadPortStacked(open.interface, entries, &count),
              GC_ERR_INVALID_PARAMETER);
    EXPECT_EQ(count, 1u);
    count = 0;
    EXPECT_EQ(producer().GCReadPortStacked(open.interface, entries, &count), GC_ERR_SUCCESS);
    PORT_REGISTER_STACK_ENTRY write{0x484, &words[0], 4};
    count = 1;
    EXPECT_EQ(producer().GCWritePortStacked(open.interface, &write, &count), GC_ERR_SUCCESS);
    EXPECT_EQ(count, 1u);
    EXPECT_EQ(registerWord(open.interface, 0x484), 5u);
}

TEST(Closing, AParentTakesItsChildrenWithItAndHandlesStayInvalid)
{
    IF_HANDLE interface = nullptr;
    Streaming* open = new Streaming;
    ASSERT_EQ(producer().DevOpenDataStream(open->device, "Stream0", &open->stream), GC_ERR_SUCCESS);
    DS_HANDLE second = nullptr;
    EXPECT_EQ(producer().DevOpenDataStream(open->device, "Stream0", &second),
              GC_ERR_RESOURCE_IN_USE);
    const DS_HANDLE stream = open->stream;
    const DEV_HANDLE device = open->device;
    const PORT_HANDLE port = open->port;
    interface = open->interface;
    EXPECT_EQ(producer().DevClose(device), GC_ERR_SUCCESS);
    EXPECT_EQ(producer().DSFlushQueue(stream, 0), GC_ERR_INVALID_HANDLE);
    EXPECT_EQ(producer().DevClose(device), GC_ERR_INVALID_HANDLE);
    uint32_t number = 0;
    EXPECT_EQ(producer().GCGetNumPortURLs(port, &number), GC_ERR_INVALID_HANDLE);
    DEV_HANDLE again = nullptr;
    EXPECT_EQ(
        producer().IFOpenDevice(interface, open->deviceId().c_str(), DEVICE_ACCESS_CONTROL, &again),
        GC_ERR_SUCCESS);
    EXPECT_NE(again, device);
    delete open; // with the device open
    {
        OpenSystem later;
        EXPECT_EQ(producer().IFGetNumDevices(interface, &number), GC_ERR_INVALID_HANDLE);
        EXPECT_EQ(producer().DevGetNumDataStreams(again, &number), GC_ERR_INVALID_HANDLE);
    }
}
