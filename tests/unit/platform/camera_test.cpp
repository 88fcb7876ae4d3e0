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

// A module that counts how many of its kind live and remembers its listener.
struct CountedModule final : mcm::ICameraModule {
    CountedModule() { ++g_modules; }
    ~CountedModule() override { --g_modules; }
    mcm::BusDevice GetBootstrapDevice() override { throw std::runtime_error("no bus here"); }
    void DeviceReset() override
    {
        if (listener)
            listener->OnDeviceLost();
    }
    void RegisterCallback(IModuleEvent* newListener) override { listener = newListener; }
    void UnregisterCallback() override { listener = nullptr; }
    IModuleEvent* listener = nullptr;
};

struct Listener final : Camera::ISurpriseRemoval {
    void OnSurpriseRemoval() override { ++notices; }
    int notices = 0;
};

Camera makeCamera(std::shared_ptr<FakeHandler> handler, Camera::OpenFunction open)
{
    CameraInformation information;
    information.device.serialNumber = "SN:7";
    information.nodes = {"/dev/capture", "/dev/camera"};
    return Camera(std::move(open), std::move(handler), information);
}

} // namespace

TEST(Camera, OpensThroughHandlerAndModuleAndReplacesAFormerModule)
{
    const auto handler = std::make_shared<FakeHandler>();
    {
        Camera camera = makeCamera(handler, [](const std::string& path, const std::string& serial) {
            EXPECT_EQ(path, "/dev/camera");
            EXPECT_EQ(serial, "SN:7");
            return std::make_unique<CountedModule>();
        });
        camera.Close(); // does nothing
        EXPECT_EQ(camera.Open(), 0);
        EXPECT_EQ(handler->prepared, "/dev/capture");
        EXPECT_EQ(camera.Open(), 0);
        EXPECT_EQ(g_modules, 1);
    }
    EXPECT_EQ(g_modules, 0);
}

TEST(Camera, AFailureToOpenLeavesItClosedAndOpenable)
{
    bool isBroken = true;
    Camera camera =
        makeCamera(std::make_shared<FakeHandler>(), [&](const std::string&, const std::string&) {
            if (isBroken)
                throw std::range_error("nothing answers");
            return std::make_unique<CountedModule>();
        });
    EXPECT_EQ(camera.Open(), -EFAULT);
    EXPECT_EQ(camera.GetCameraModule(), nullptr);
    isBroken = false;
    EXPECT_EQ(camera.Open(), 0);
    EXPECT_NE(camera.GetCameraModule(), nullptr);
}

TEST(Camera, AResetReachesTheListenerWhileThereIsOne)
{
    Camera camera =
        makeCamera(std::make_shared<FakeHandler>(), [](const std::string&, const std::string&) {
            return std::make_unique<CountedModule>();
        });
    ASSERT_EQ(camera.Open(), 0);
    Listener listener;
    camera.GetCameraModule()->DeviceReset();
    camera.SetSurpriseRemovalHandler(&listener);
    camera.GetCameraModule()->DeviceReset();
    EXPECT_EQ(listener.notices, 1);
    camera.ClearSurpriseRemovalHandler();
    camera.GetCameraModule()->DeviceReset();
    EXPECT_EQ(listener.notices, 1);
}

} // namespace GenTLProducer
