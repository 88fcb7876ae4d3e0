#include "bus/abrm_device.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "bus/bus_device_implementation.h"
#include "memory_bridge.h"

namespace
{

using namespace mcm;
using testing::ElementsAre;

class AbrmDeviceTest : public testing::Test
{
protected:
    static BusDevice identityDevice(const std::shared_ptr<MemoryBridge>& bridge)
    {
        auto implementation =
            std::make_unique<BusDeviceImplementation>(ChunkedConnection(bridge, {}));
        implementation->addMapping({0, 0, 0x10000});
        return BusDevice(std::move(implementation));
    }

    std::shared_ptr<MemoryBridge> bridge = std::make_shared<MemoryBridge>();
    AbrmDevice abrm{identityDevice(bridge)};
};

TEST_F(AbrmDeviceTest, ReadsNumbersAtTheirAddresses)
{
    const struct {
        std::uint16_t address;
        long size;
        std::uint64_t (*read)(AbrmDevice&);
    } cases[] = {
        {0x0000, 4, [](AbrmDevice& device) -> std::uint64_t { return device.genCpVersion(); }},
        {0x01C4, 8, [](AbrmDevice& device) { return device.deviceCapability(); }},
        {0x01CC, 4,
         [](AbrmDevice& device) -> std::uint64_t { return device.maximumDeviceResponseTime(); }},
        {0x01D8, 8, [](AbrmDevice& device) { return device.sbrmAddress(); }},
        {0x01E0, 8, [](AbrmDevice& device) { return device.deviceConfiguration(); }},
        {0x01F0, 8, [](AbrmDevice& device) { return device.timestamp(); }},
        {0x01FC, 8, [](AbrmDevice& device) { return device.timestampIncrement(); }},
        {0x1234, 4, [](AbrmDevice& device) -> std::uint64_t { return device.read32(0x1234); }},
        {0x1234, 8, [](AbrmDevice& device) { return device.read64(0x1234); }},
    };
    for (const auto& row : cases) {
        bridge->transfers.clear();
        bridge->put(row.address, std::uint64_t{0x0102030405060708});
        EXPECT_EQ(row.read(abrm), row.size == 8 ? 0x0102030405060708U : 0x01020304U);
        EXPECT_THAT(bridge->transfers, ElementsAre(Transfer{'r', row.address, row.size}));
    }
}

TEST_F(AbrmDeviceTest, TextsEndInsideTheirFields)
{
    const struct {
        std::uint16_t address;
        const char* (AbrmDevice::*read)();
    } cases[] = {
        {0x0004, &AbrmDevice::manufacturerName}, {0x0044, &AbrmDevice::modelName},
        {0x00C4, &AbrmDevice::deviceVersion},    {0x0104, &AbrmDevice::manufacturerInfo},
        {0x0144, &AbrmDevice::serialNumber},     {0x0184, &AbrmDevice::userDefinedName},
    };
    for (const auto& row : cases) {
        bridge->transfers.clear();
        bridge->putText(row.address, std::string(64, 'x') + "beyond");
        EXPECT_EQ((abrm.*row.read)(), std::string(64, 'x'));
        bridge->putText(row.address, std::string("a:12\0", 5));
        EXPECT_STREQ((abrm.*row.read)(), "a:12");
        EXPECT_THAT(bridge->transfers,
                    ElementsAre(Transfer{'r', row.address, 64}, Transfer{'r', row.address, 64}));
    }
}

TEST_F(AbrmDeviceTest, UserDefinedNameIsWrittenAsAWholeField)
{
    for (const std::string& name : {std::string(), std::string("cam"), std::string(80, 'n')}) {
        bridge->memory.fill(0xEE);
        abrm.setUserDefinedName(name);
        std::string field = name.substr(0, 64);
        field.resize(64);
        EXPECT_EQ(std::string(&bridge->memory[0x184], &bridge->memory[0x184 + 64]), field);
        EXPECT_EQ(bridge->memory[0x184 + 64], 0xEE);
    }
}

TEST_F(AbrmDeviceTest, WritesNumbersInTheirWidth)
{
    abrm.setDeviceConfiguration(0x1122334455667788);
    abrm.setTimestampLatch(0x99AABBCC);
    EXPECT_EQ(bridge->get<std::uint64_t>(0x01E0), 0x1122334455667788U);
    EXPECT_EQ(bridge->get<std::uint32_t>(0x01F8), 0x99AABBCCU);
    EXPECT_THAT(bridge->transfers, ElementsAre(Transfer{'w', 0x01E0, 8}, Transfer{'w', 0x01F8, 4}));
}

TEST_F(AbrmDeviceTest, ComesFromACameraModule)
{
    struct CameraModule {
        BusDevice GetBootstrapDevice() { return identityDevice(bridge); }
        std::shared_ptr<MemoryBridge> bridge;
    } module{bridge};
    bridge->put(0, std::uint32_t{0x00010001});
    EXPECT_EQ(AbrmDevice(&module).genCpVersion(), 0x00010001U);
    EXPECT_EQ(errorOf([] { AbrmDevice device(static_cast<CameraModule*>(nullptr)); }),
              "runtimeMCM is nullptr");
}

} // namespace
