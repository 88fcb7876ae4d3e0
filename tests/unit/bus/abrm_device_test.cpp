#include "bus/abrm_device.h"

#include <gtest/gtest.h>

#include "bus/bus_device_implementation.h"
#include "memory_bridge.h"

namespace
{

using namespace mcm;
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

TEST_F(AbrmDeviceTest, TextsKeepInsideTheirFields)
{
    bridge->putText(0x0044, std::string(64, 'x') + "beyond");
    EXPECT_EQ(abrm.modelName(), std::string(64, 'x'));
    bridge->memory.fill(0xEE);
    abrm.setUserDefinedName(std::string(80, 'n'));
    EXPECT_STREQ(abrm.userDefinedName(), std::string(64, 'n').c_str());
    EXPECT_EQ(bridge->memory[0x184 + 64], 0xEE);
}

TEST_F(AbrmDeviceTest, WideNumbersKeepTheirUpperHalf)
{
    abrm.setDeviceConfiguration(0x1122334455667788);
    EXPECT_EQ(bridge->get<std::uint64_t>(0x01E0), 0x1122334455667788U);
    EXPECT_EQ(abrm.deviceConfiguration(), 0x1122334455667788U);
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
