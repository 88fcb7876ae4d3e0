// The bootstrap registers of ../features go through this class; here is what they don't show.
#include "bus/abrm_device.h"

#include <gtest/gtest.h>

#include "memory_bridge.h"

namespace
{

using namespace mcm;

TEST(AbrmDevice, KeepsToTheFieldsOfTheModule)
{
    struct CameraModule {
        BusDevice GetBootstrapDevice() { return deviceOn(bridge); }
        std::shared_ptr<MemoryBridge> bridge = std::make_shared<MemoryBridge>();
    } module;
    AbrmDevice abrm(&module);
    module.bridge->putText(0x0044, std::string(64, 'x') + "beyond");
    EXPECT_EQ(abrm.modelName(), std::string(64, 'x'));
    module.bridge->memory.fill(0xEE);
    abrm.setUserDefinedName(std::string(80, 'n'));
    EXPECT_STREQ(abrm.userDefinedName(), std::string(64, 'n').c_str());
    EXPECT_EQ(module.bridge->memory[0x184 + 64], 0xEE);
    abrm.setDeviceConfiguration(0x1122334455667788);
    EXPECT_EQ(module.bridge->get<std::uint64_t>(0x01E0), 0x1122334455667788U);
    EXPECT_EQ(abrm.deviceConfiguration(), 0x1122334455667788U);

    EXPECT_EQ(errorOf([] { AbrmDevice device(static_cast<CameraModule*>(nullptr)); }),
              "runtimeMCM is nullptr");
}

} // namespace
