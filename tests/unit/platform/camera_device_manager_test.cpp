#include "platform/camera_device_manager.h"

#include <stdexcept>

#include <gtest/gtest.h>

#include "fake_handler.h"
#include "support/outcome.h"

namespace GenTLProducer
{

namespace
{

using Pairs = std::vector<PipelineDevice>;

// A scan over handlers that find these pairs; a camera node's path tells what answers there.
CameraDeviceManager makeManager(const std::vector<Pairs>& found)
{
    CameraDeviceManager::Callables callables;
    callables.enumerate = [] { return V4L2::EnumerateResult(); };
    for (const Pairs& pairs : found) {
        callables.handlerFactories.push_back([pairs] {
            auto handler = std::make_unique<FakeHandler>();
            handler->pairs = pairs;
            return handler;
        });
    }
    callables.readDeviceInformation = [](const std::string& path) {
        if (path == "broken")
            throw std::runtime_error("nothing answers");
        mcm::DeviceInformation information{};
        information.modelName = path == "other" ? "zvK1800-45tqrX" : kSupportedModel;
        information.serialNumber = path;
        return information;
    };
    callables.makeCamera = [](std::shared_ptr<const PlatformPipelineHandler> handler,
                              CameraInformation information) {
        return std::make_shared<Camera>(Camera::OpenFunction(), std::move(handler),
                                        std::move(information));
    };
    return CameraDeviceManager(std::move(callables));
}

std::string scan(CameraDeviceManager& manager, bool& isWarned)
{
    isWarned = stderrOf([&] { manager.Update(); }) ==
               "WARNING: No explicit support for this platform, trying generic pipeline handler. "
               "Some features might not work as expected.\n";
    std::string serials;
    for (const auto& camera : manager.GetCameras())
        serials += camera->GetInformation().device.serialNumber + " ";
    return serials;
}

} // namespace

TEST(CameraDeviceManager, EachScanKeepsTheUsablePairsOfEveryHandlerInOrder)
{
    const struct {
        std::vector<Pairs> found;
        const char* serials;
        bool isWarned;
    } kCases[] = {
        {{{{"c", "one"}}}, "one ", false},
        {{{{"c", "one"}, {"c", "two"}}, {}, {{"c", "three"}}}, "one two three ", false},
        {{{{"c", "broken"}, {"c", "other"}, {"c", "one"}}}, "one ", false},
        {{{{"c", "other"}}}, "", false},
        {{{}, {}}, "", true},
        {{}, "", true},
    };
    for (const auto& row : kCases) {
        CameraDeviceManager manager = makeManager(row.found);
        for (int round = 0; round < 2; ++round) {
            bool isWarned = false;
            EXPECT_EQ(scan(manager, isWarned), row.serials);
            EXPECT_EQ(isWarned, row.isWarned);
        }
        manager.Clear();
        EXPECT_TRUE(manager.GetCameras().empty());
    }
}

TEST(CameraDeviceManager, AHandlerThatThrowsEndsTheScan)
{
    CameraDeviceManager::Callables callables;
    callables.enumerate = [] { return V4L2::EnumerateResult(); };
    callables.handlerFactories = {
        []() -> std::unique_ptr<PlatformPipelineHandler> { throw std::runtime_error("graph"); }};
    CameraDeviceManager manager(std::move(callables));
    EXPECT_THROW(manager.Update(), std::runtime_error);
}

} // namespace GenTLProducer
