// Acquisition commands, the locks that follow, and feature streaming.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "base/pfnc.h"
#include "recording_camera.h"

namespace GenTLProducer
{
namespace
{

using testing::ElementsAre;
using Lines = std::vector<std::string>;

class Acquisition : public testing::Test, protected OpenRegisters
{
protected:
    /// Shows in the words, and in what the registers take.
    bool isFormatLocked()
    {
        const bool isLocked = read(Reg::PixelFormatLocked) != 0;
        EXPECT_THAT(read({Reg::PixelFormatLocked, Reg::WidthLocked, Reg::HeightLocked}),
                    testing::Each(isLocked ? 1u : 0u));
        const RegisterStatus status = isLocked ? kProtected : kStatusSuccess;
        EXPECT_EQ(write(Reg::Width, 1000), status);
        EXPECT_EQ(write(Reg::Height, 1000), status);
        EXPECT_EQ(write(Reg::PixelFormat, Pfnc::YUV422_8), status);
        return isLocked;
    }
};

TEST_F(Acquisition, CommandsDriveTheModuleByTheState)
{
    const Lines kStart = {"AcquisitionStart"};
    const Lines kStop = {"AcquisitionStop"};
    const struct {
        Reg command;
        std::uint32_t value;
        Lines calls;
        bool isLocked;
    } kSteps[] = {
        {Reg::AcquisitionStop, 1, {}, false},     {Reg::AcquisitionAbort, 1, {}, false},
        {Reg::AcquisitionStart, 1, kStart, true}, {Reg::AcquisitionStart, 1, {}, true},
        {Reg::AcquisitionStop, 0, kStop, false},  {Reg::AcquisitionStop, 1, {}, false},
        {Reg::AcquisitionStart, 0, kStart, true}, {Reg::AcquisitionAbort, 0, {}, false},
        {Reg::AcquisitionStart, 1, kStart, true}, {Reg::AcquisitionStop, 1, kStop, false},
    };
    for (const auto& step : kSteps) {
        check({{step.command, step.value, step.calls}});
        EXPECT_EQ(isFormatLocked(), step.isLocked);
        journal.take();
    }
}

TEST_F(Acquisition, CommandsCantBeRead)
{
    std::uint32_t word = 0xFFFFFFFF;
    for (const Address command :
         {Reg::StreamingStart, Reg::AcquisitionStart, Reg::AcquisitionStop, Reg::AcquisitionAbort,
          Reg::TlmCenterX, Reg::TlmCenterY, Reg::TriggerSoftware0, Reg::TriggerSoftware3})
        EXPECT_EQ(root->read(command.number, &word, 4), kDenied) << std::hex << command.number;
    // While it isn't available, the end of the streaming reads as zeros.
    EXPECT_EQ(read(Reg::StreamingEnd), 0u);
    EXPECT_EQ(read(Reg::DeviceReset), 0u);
}

TEST_F(Acquisition, FailingModuleLeavesStateAndLocks)
{
    const std::pair<Reg, std::string> kCommands[] = {{Reg::AcquisitionStart, "AcquisitionStart"},
                                                     {Reg::AcquisitionStop, "AcquisitionStop"}};
    for (const auto& [command, call] : kCommands) {
        const bool wasLocked = command == Reg::AcquisitionStop;
        journal.failing = call;
        EXPECT_THROW(write(command, 1), std::runtime_error);
        EXPECT_EQ(isFormatLocked(), wasLocked);
        journal = {};
        check({{command, 1, {call}}});
        EXPECT_EQ(isFormatLocked(), !wasLocked);
    }
}

TEST_F(Acquisition, TLParamsLockedLocksTheFormatAndOutlivesTheAcquisition)
{
    check({{Reg::TLParamsLocked, 1}, {Reg::StreamingStart, 1, kProtected}});
    EXPECT_TRUE(isFormatLocked());
    check({{Reg::AcquisitionStart, 1, {"AcquisitionStart"}},
           {Reg::AcquisitionStop, 1, {"AcquisitionStop"}}});
    EXPECT_TRUE(isFormatLocked());
    check({{Reg::TLParamsLocked, 0}});
    EXPECT_FALSE(isFormatLocked());
}

TEST_F(Acquisition, FeatureStreamingExchangesTheCommands)
{
    check({{Reg::StreamingEnd, 1, kProtected}, {Reg::StreamingStart, 0}});
    for (const Reg refused : {Reg::StreamingStart, Reg::AcquisitionStart, Reg::AcquisitionStop,
                              Reg::AcquisitionAbort, Reg::TLParamsLocked})
        check({{refused, 1, kProtected}});
    check({{Reg::DeviceReset, 0, {"DeviceReset"}}, {Reg::DeviceReset, 1, {"DeviceReset"}}});
    EXPECT_EQ(write(Reg::StreamingEnd, 1), 0);
    journal.take();
    check({{Reg::AcquisitionStart, 1, {"AcquisitionStart"}}, {Reg::StreamingStart, 1, kProtected}});
    EXPECT_THAT(read({Reg::StreamingStartAvailable, Reg::StreamingEndAvailable}),
                ElementsAre(0, 0));
}

TEST(CameraRegisters, NeedARuntime)
{
    EXPECT_EQ(errorOf([] { CreateCameraRegisters(nullptr); }), "runtimeMCM is nullptr");
}

} // namespace
} // namespace GenTLProducer
