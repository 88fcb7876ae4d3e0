#include "platform/camera.h"

#include <cerrno>
#include <stdexcept>

#include <gtest/gtest.h>

#include "fake_handler.h"

namespace GenTLProducer
{

namespace
{

int g_modules = 0;

// A module that counts how many of its kind live.
struct CountedModule final : mcm::ICameraModule {
    CountedModule() { ++g_modules; }
    ~CountedModule() override { --g_modules; }
    mcm::BusDevice GetBootstrapDevice() override { throw std::runtime_error("no bus here"); }
    void DeviceReset() override {}
    void RegisterCallback(IModuleEvent*) override {}
    void UnregisterCallback() override {}
};

class CameraTest : public testing::Test
{
protected:
    std::unique_ptr<mcm::ICameraModule> open(const std::string& path, const std::string& serial)
    {
        EXPECT_EQ(handler_->prepared, "/dev/capture");
        EXPECT_EQ(path, "/dev/camera");
        EXPECT_EQ(serial, "SN:7");
        if (isBroken_)
            throw std::range_error("nothing answers");
        return std::make_unique<CountedModule>();
    }

    CameraInformation information()
    {
        CameraInformation information;
        information.device.serialNumber = "SN:7";
        information.nodes = {"/dev/capture", "/dev/camera"};
        return information;
    }

    bool isBroken_ = false;
    std::shared_ptr<FakeHandler> handler_ = std::make_shared<FakeHandler>();
    Camera camera_{[this](const auto&... names) { return open(names...); }, handler_,
                   information()};
};

} // namespace

TEST_F(CameraTest, OpensThroughHandlerAndModuleAndReplacesAFormerModule)
{
    camera_.Close(); // does nothing
    EXPECT_EQ(camera_.Open(), 0);
    EXPECT_EQ(camera_.Open(), 0);
    EXPECT_EQ(g_modules, 1);
    camera_.Close();
    EXPECT_EQ(g_modules, 0);
}

TEST_F(CameraTest, AFailureToOpenLeavesItClosedAndOpenable)
{
    isBroken_ = true;
    EXPECT_EQ(camera_.Open(), -EFAULT);
    EXPECT_EQ(camera_.GetCameraModule(), nullptr);
    isBroken_ = false;
    EXPECT_EQ(camera_.Open(), 0);
    EXPECT_NE(camera_.GetCameraModule(), nullptr);
}

} // namespace GenTLProducer
