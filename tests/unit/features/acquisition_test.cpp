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
    Words streamingState()
    {
        return read({Reg::StreamingStartAvailable, Reg::StreamingEndAvailable,
                     Reg::AcquisitionStartAvailable, Reg::AcquisitionStopAvailable,
                     Reg::AcquisitionAbortAvailable, Reg::TLParamsLockedLocked});
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
        EXPECT_EQ(write(Reg::OffsetX, 8), 0);
        EXPECT_EQ(write(Reg::TlmScalingFactor, 100), 0);
        EXPECT_EQ(write(Reg::TlmCenterX, 1), 0);
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
    for (const Reg command : {Reg::AcquisitionStart, Reg::AcquisitionStop}) {
        journal.failing = "Acquisition";
        EXPECT_THROW(write(command, 1), std::runtime_error);
        EXPECT_EQ(isFormatLocked(), command == Reg::AcquisitionStop);
        journal.failing.clear();
        EXPECT_EQ(write(command, 1), 0);
        EXPECT_EQ(isFormatLocked(), command == Reg::AcquisitionStart);
    }
}

TEST_F(Acquisition, TLParamsLockedLocksTheFormat)
{
    check({{Reg::TLParamsLocked, 2, kRejected}, {Reg::TLParamsLocked, 1, {}}});
    EXPECT_EQ(read(Reg::TLParamsLocked), 1u);
    EXPECT_TRUE(isFormatLocked());
    EXPECT_THAT(streamingState(), ElementsAre(0, 0, 1, 1, 1, 0));
    check({{Reg::StreamingStart, 1, kProtected}});

    // The lock outlives the acquisition.
    EXPECT_EQ(write(Reg::AcquisitionStart, 1), 0);
    EXPECT_EQ(write(Reg::AcquisitionStop, 1), 0);
    EXPECT_TRUE(isFormatLocked());
    EXPECT_EQ(write(Reg::TLParamsLocked, 0), 0);
    EXPECT_FALSE(isFormatLocked());
    EXPECT_EQ(read(Reg::StreamingStartAvailable), 1u);
}

TEST_F(Acquisition, FeatureStreamingExchangesTheCommands)
{
    EXPECT_THAT(streamingState(), ElementsAre(1, 0, 1, 1, 1, 0));
    EXPECT_EQ(write(Reg::StreamingEnd, 1), kProtected);
    EXPECT_EQ(write(Reg::StreamingStart, 0), 0);
    EXPECT_THAT(streamingState(), ElementsAre(0, 1, 0, 0, 0, 1));
    for (const Reg refused : {Reg::StreamingStart, Reg::AcquisitionStart, Reg::AcquisitionStop,
                              Reg::AcquisitionAbort, Reg::TLParamsLocked})
        check({{refused, 1, kProtected}});
    check({{Reg::DeviceReset, 0, {"DeviceReset"}}, {Reg::DeviceReset, 1, {"DeviceReset"}}});
    EXPECT_EQ(write(Reg::StreamingEnd, 1), 0);
    EXPECT_THAT(streamingState(), ElementsAre(1, 0, 1, 1, 1, 0));

    write(Reg::AcquisitionStart, 1);
    EXPECT_THAT(streamingState(), ElementsAre(0, 0, 1, 1, 1, 0));
    EXPECT_EQ(write(Reg::StreamingStart, 1), kProtected);
}

TEST(CameraRegisters, NeedARuntime)
{
    EXPECT_EQ(errorOf([] { CreateCameraRegisters(nullptr); }), "runtimeMCM is nullptr");
}

} // namespace
} // namespace GenTLProducer
