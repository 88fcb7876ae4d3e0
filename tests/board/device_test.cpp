// System, interface and device over a simulated board: lists, infos, registers, openings.
#include <cstring>
#include <vector>

#include <gtest/gtest.h>

#include "camera.h"

namespace
{

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

struct RegisterText {
    uint64_t address;
    std::string text;
};

void expectTexts(PORT_HANDLE port, size_t width, const std::vector<RegisterText>& texts)
{
    for (const RegisterText& row : texts)
        EXPECT_EQ(registerText(port, row.address, width), row.text) << std::hex << row.address;
}

} // namespace

/// What a function that ends in a text and its size answers.
#define TEXT_OF(function, ...)                                                                     \
    text([&](char* answer, size_t* size) { return producer().function(__VA_ARGS__, answer, size); })

TEST(System, TheInterfaceAppearsWithTheFirstUpdate)
{
    OpenSystem open;
    uint32_t number = 7;
    size_t size = 0;
    INFO_DATATYPE type = 0;
    EXPECT_OK(TLGetNumInterfaces(open.system, &number));
    EXPECT_EQ(number, 0u);
    EXPECT_RESULT(GC_ERR_INVALID_INDEX, TLGetInterfaceID(open.system, 0, nullptr, &size));
    EXPECT_RESULT(GC_ERR_NOT_INITIALIZED,
                  TLGetInterfaceInfo(open.system, kInterfaceId, 0, &type, nullptr, &size));
    expectTexts(open.system, 256,
                {{0x740, "No Interface selected"}, {0x840, "No interface selected"}});
    for (const bool8_t expected : {1, 0}) {
        bool8_t changed = 9;
        EXPECT_OK(TLUpdateInterfaceList(open.system, &changed, 0));
        EXPECT_EQ(changed, expected);
        EXPECT_OK(TLGetNumInterfaces(open.system, &number));
        EXPECT_EQ(number, 1u);
    }
    EXPECT_EQ(TEXT_OF(TLGetInterfaceID, open.system, 0), kInterfaceId);
    EXPECT_RESULT(GC_ERR_INVALID_ID,
                  TLGetInterfaceInfo(open.system, "x", 0, &type, nullptr, &size));
}

TEST(System, TheSelectorShowsTheInterfaceAndKeepsWhatItIsGiven)
{
    const OpenSystem open;
    EXPECT_EQ(writeRegister(open.system, 0x44, 1), GC_ERR_SUCCESS) << "updates the list";
    EXPECT_EQ(readRegister(open.system, 0xC), 0u);
    const struct {
        uint32_t selector;
        const char* id;
        const char* type;
    } kCases[] = {{0, kInterfaceId, "MIPI CSI-2"},
                  {5, "No Interface selected", "No Interface selected"}};
    for (const auto& row : kCases) {
        EXPECT_EQ(writeRegister(open.system, 0x8, row.selector), GC_ERR_SUCCESS);
        expectTexts(open.system, 256, {{0x740, row.id}, {0x840, row.type}});
        EXPECT_EQ(readRegister(open.system, 0x8), row.selector);
    }
    EXPECT_EQ(writeRegister(open.system, 0xC, 1), GC_ERR_ACCESS_DENIED);
    EXPECT_EQ(lastError(), "-1005 Requested operation is not allowed");
    EXPECT_EQ(readRegister(open.system, 0x940), 6u);
    expectTexts(open.system, 256, {{0x100, "GenTLProducerZEVO.cti"}});
}

TEST(System, AnInterfaceOpensByItsIdWithoutAnUpdate)
{
    OpenSystem open;
    IF_HANDLE interface = nullptr;
    EXPECT_RESULT(GC_ERR_INVALID_ID, TLOpenInterface(open.system, "x", &interface));
    ASSERT_OK(TLOpenInterface(open.system, kInterfaceId, &interface));
    IF_HANDLE second = nullptr;
    EXPECT_RESULT(GC_ERR_RESOURCE_IN_USE, TLOpenInterface(open.system, kInterfaceId, &second));
    TL_HANDLE parent = nullptr;
    EXPECT_OK(IFGetParentTL(interface, &parent));
    EXPECT_EQ(parent, open.system);
    TL_HANDLE again = nullptr;
    EXPECT_RESULT(GC_ERR_RESOURCE_IN_USE, TLOpen(&again));
    EXPECT_OK(IFClose(interface));
    EXPECT_RESULT(GC_ERR_INVALID_HANDLE, IFClose(interface));
    ASSERT_OK(TLOpenInterface(open.system, kInterfaceId, &second));
    EXPECT_NE(second, interface) << "a handle is never used twice";
}

TEST(Interface, ListsTheCameraOnceUpdated)
{
    OpenSystem open;
    IF_HANDLE interface = nullptr;
    ASSERT_OK(TLOpenInterface(open.system, kInterfaceId, &interface));
    uint32_t number = 7;
    EXPECT_RESULT(GC_ERR_NOT_AVAILABLE, IFGetNumDevices(interface, &number));
    for (const bool8_t expected : {1, 0}) {
        bool8_t changed = 9;
        EXPECT_OK(IFUpdateDeviceList(interface, &changed, 0));
        EXPECT_EQ(changed, expected);
    }
    EXPECT_OK(IFGetNumDevices(interface, &number));
    EXPECT_EQ(number, 1u);
    const std::string id = TEXT_OF(IFGetDeviceID, interface, 0);
    INFO_DATATYPE type = 0;
    const auto info = [&](DEVICE_INFO_CMD command) {
        return TEXT_OF(IFGetDeviceInfo, interface, id.c_str(), command, &type);
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
    EXPECT_RESULT(GC_ERR_NOT_IMPLEMENTED,
                  IFGetDeviceInfo(interface, id.c_str(), DEVICE_INFO_TIMESTAMP_FREQUENCY, &type,
                                  nullptr, &size));
    EXPECT_EQ(type, 99);
}

TEST(Interface, TheSelectedDeviceShowsInItsRegisters)
{
    const OpenInterface open;
    const std::string id = open.deviceId();
    constexpr char kNone[] = "No Device selected";
    expectTexts(open.interface, 256, {{0x380, id}});
    expectTexts(open.interface, 64, {{0x4C8, "zvK1800-45tqr"}});
    EXPECT_EQ(writeRegister(open.interface, 0x484, 5), GC_ERR_SUCCESS);
    expectTexts(open.interface, 256, {{0x380, kNone}});
    expectTexts(open.interface, 64, {{0x488, kNone}, {0x4C8, kNone}, {0x550, kNone}});
    EXPECT_EQ(readRegister(open.interface, 0x484), 5u);
    EXPECT_EQ(writeRegister(open.interface, 0x280, 1), GC_ERR_SUCCESS) << "updates the list";
    EXPECT_EQ(readRegister(open.interface, 0x484), 0u);
    expectTexts(open.interface, 256, {{0x380, id}});
    uint32_t word = 0;
    size_t size = sizeof word;
    EXPECT_RESULT(GC_ERR_ACCESS_DENIED, GCReadPort(open.interface, 0x280, &word, &size));
    EXPECT_RESULT(GC_ERR_INVALID_ADDRESS, GCReadPort(open.interface, 0x5A8, &word, &size));
    EXPECT_EQ(lastError(), "-1015 A given address is out of range or invalid for internal reasons");
    EXPECT_OK(GCReadPort(open.interface, 0x58C, &word, &size));
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
        EXPECT_RESULT(row.result,
                      IFOpenDevice(open.interface, open.deviceId().c_str(), row.flags, &device))
            << row.flags;
        EXPECT_EQ(readRegister(open.interface, 0x54C), row.status) << row.flags;
        if (row.result != GC_ERR_SUCCESS)
            continue;
        uint32_t status = 0;
        size_t size = sizeof status;
        INFO_DATATYPE type = 0;
        EXPECT_OK(DevGetInfo(device, DEVICE_INFO_ACCESS_STATUS, &type, &status, &size));
        EXPECT_EQ(status, row.status);
        EXPECT_EQ(readRegister(device, 0x940), 1u) << "whatever the access";
        PORT_HANDLE port = nullptr;
        EXPECT_OK(DevGetPort(device, &port));
        EXPECT_EQ(writeRegister(port, remote::kWidth, 96), row.write);
        EXPECT_OK(DevClose(device));
    }
}

TEST(Device, HasOneStreamAndRegistersThatTellAboutIt)
{
    const OpenDevice open;
    uint32_t number = 0;
    EXPECT_OK(DevGetNumDataStreams(open.device, &number));
    EXPECT_EQ(number, 1u);
    EXPECT_EQ(TEXT_OF(DevGetDataStreamID, open.device, 0), "Stream0");
    size_t size = 0;
    EXPECT_RESULT(GC_ERR_INVALID_INDEX, DevGetDataStreamID(open.device, 1, nullptr, &size));
    expectTexts(open.device, 256, {{0x8, "No Stream selected"}});
    for (const uint32_t selector : {0, 1}) {
        EXPECT_EQ(writeRegister(open.device, 0x0, selector), GC_ERR_SUCCESS);
        expectTexts(open.device, 256, {{0x8, selector == 0 ? "Stream0" : "No Stream selected"}});
    }
    expectTexts(open.device, 256, {{0x408, "zvK1800-45tqr"}, {0x508, "Vant ZEVO MIPI"}});
    DS_HANDLE stream = nullptr;
    EXPECT_RESULT(GC_ERR_INVALID_PARAMETER, DevOpenDataStream(open.device, "Stream1", &stream));
    IF_HANDLE parent = nullptr;
    EXPECT_OK(DevGetParentIF(open.device, &parent));
    EXPECT_EQ(parent, open.interface);
    DEV_HANDLE second = nullptr;
    EXPECT_RESULT(GC_ERR_RESOURCE_IN_USE, IFOpenDevice(open.interface, open.deviceId().c_str(),
                                                       DEVICE_ACCESS_EXCLUSIVE, &second));
}

// A reset with the notification on, once, and off; the record is 12 bytes.
TEST(Device, AResetTellsWhoeverAskedForIt)
{
    constexpr uint64_t kNotification = 0x9A4;
    const OpenDevice open;
    EVENT_HANDLE event = nullptr;
    EXPECT_RESULT(GC_ERR_NOT_IMPLEMENTED, GCRegisterEvent(open.device, EVENT_NEW_BUFFER, &event));
    ASSERT_OK(GCRegisterEvent(open.device, EVENT_MODULE, &event));
    EXPECT_RESULT(GC_ERR_RESOURCE_IN_USE, GCRegisterEvent(open.device, EVENT_MODULE, &event));
    const struct {
        uint32_t notification;
        uint32_t after;
        int records;
    } kCases[] = {{0, 0, 0}, {2, 0, 1}, {1, 1, 2}};
    for (const auto& row : kCases) {
        EXPECT_EQ(writeRegister(open.device, kNotification, row.notification), GC_ERR_SUCCESS);
        for (int reset = 0; reset < 2; ++reset)
            EXPECT_EQ(open.write(remote::kDeviceReset, reset), GC_ERR_SUCCESS) << lastError();
        EXPECT_EQ(readRegister(open.device, kNotification), row.after);
        for (int record = 0; record < 2; ++record) {
            uint32_t data[3] = {};
            size_t size = sizeof data;
            const GC_ERROR expected = record < row.records ? GC_ERR_SUCCESS : GC_ERR_TIMEOUT;
            EXPECT_RESULT(expected, EventGetData(event, data, &size, 0));
            if (expected == GC_ERR_SUCCESS) {
                EXPECT_EQ(data[1], 0x1234u);
            }
        }
    }
    EXPECT_OK(GCUnregisterEvent(open.device, EVENT_MODULE));
    EXPECT_RESULT(GC_ERR_INVALID_PARAMETER, GCUnregisterEvent(open.device, EVENT_MODULE));
}

TEST(Ports, EachServesItsDescriptionUnderItsUrl)
{
    Streaming open;
    open.openStream();
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
        EXPECT_OK(GCGetNumPortURLs(row.port, &number));
        EXPECT_EQ(number, 1u);
        char url[256] = {};
        size_t size = sizeof url;
        EXPECT_OK(GCGetPortURL(row.port, url, &size));
        EXPECT_EQ(size, std::strlen(url) + 2);
        --size;
        EXPECT_RESULT(GC_ERR_INVALID_PARAMETER, GCGetPortURL(row.port, url, &size));
        const std::string prefix = std::string("local:///") + row.file + ";" + row.address + ";";
        ASSERT_EQ(std::string(url).substr(0, prefix.size()), prefix);
        EXPECT_RESULT(GC_ERR_INVALID_INDEX,
                      GCGetPortURLInfo(row.port, 1, 0, &type, nullptr, &size));
        EXPECT_EQ(TEXT_OF(GCGetPortInfo, row.port, PORT_INFO_MODEL, &type), row.model);
        bool8_t isBig = 0;
        size = sizeof isBig;
        EXPECT_OK(GCGetPortInfo(row.port, PORT_INFO_BIG_ENDIAN, &type, &isBig, &size));
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
    EXPECT_RESULT(GC_ERR_INVALID_ADDRESS, GCReadPortStacked(open.interface, entries, &count));
    EXPECT_EQ(count, 2u);
    EXPECT_EQ(words[0], 5u);
    EXPECT_EQ(words[1], 1u);
    entries[1].pBuffer = nullptr;
    count = 2;
    EXPECT_RESULT(GC_ERR_INVALID_PARAMETER, GCReadPortStacked(open.interface, entries, &count));
    EXPECT_EQ(count, 1u);
    count = 0;
    EXPECT_OK(GCReadPortStacked(open.interface, entries, &count));
    PORT_REGISTER_STACK_ENTRY write{0x484, &words[0], 4};
    count = 1;
    EXPECT_OK(GCWritePortStacked(open.interface, &write, &count));
    EXPECT_EQ(count, 1u);
    EXPECT_EQ(readRegister(open.interface, 0x484), 5u);
}

TEST(Closing, AParentTakesItsChildrenWithItAndHandlesStayInvalid)
{
    IF_HANDLE interface = nullptr;
    DEV_HANDLE again = nullptr;
    uint32_t number = 0;
    {
        Streaming open;
        open.openStream();
        DS_HANDLE second = nullptr;
        EXPECT_RESULT(GC_ERR_RESOURCE_IN_USE, DevOpenDataStream(open.device, "Stream0", &second));
        EXPECT_OK(DevClose(open.device));
        EXPECT_RESULT(GC_ERR_INVALID_HANDLE, DSFlushQueue(open.stream, 0));
        EXPECT_RESULT(GC_ERR_INVALID_HANDLE, DevClose(open.device));
        EXPECT_RESULT(GC_ERR_INVALID_HANDLE, GCGetNumPortURLs(open.port, &number));
        interface = open.interface;
        EXPECT_OK(IFOpenDevice(interface, open.deviceId().c_str(), DEVICE_ACCESS_CONTROL, &again));
        EXPECT_NE(again, open.device);
    } // with the device open
    OpenSystem later;
    EXPECT_RESULT(GC_ERR_INVALID_HANDLE, IFGetNumDevices(interface, &number));
    EXPECT_RESULT(GC_ERR_INVALID_HANDLE, DevGetNumDataStreams(again, &number));
}
