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
using testing::IsEmpty;
using Lines = std::vector<std::string>;

/// Words of the locks, all alike, or 2.
std::uint32_t FormatLock(Registers& registers)
{
    const std::uint32_t lock = registers.read32(kPixelFormatLocked);
    return registers.read32(kWidthLocked) == lock && registers.read32(kHeightLocked) == lock ? lock
                                                                                             : 2;
}

bool IsFormatWritable(Registers& registers)
{
    const bool isWritable = registers.write32(kWidth, 1000) == 0;
    EXPECT_EQ(registers.write32(kHeight, 1000), isWritable ? 0 : kProtected);
    EXPECT_EQ(registers.write32(kPixelFormat, Pfnc::YUV422_8), isWritable ? 0 : kProtected);
    return isWritable;
}

TEST(Acquisition, CommandsDriveTheModuleByTheState)
{
    OpenRegisters registers;
    const std::string kStart = "module AcquisitionStart";
    const std::string kStop = "module AcquisitionStop";
    const struct {
        std::uint32_t command, value;
        Lines calls;
        std::uint32_t lock;
    } kSteps[] = {
        {kAcquisitionStop, 1, {}, 0},        {kAcquisitionAbort, 1, {}, 0},
        {kAcquisitionStart, 1, {kStart}, 1}, {kAcquisitionStart, 1, {}, 1},
        {kAcquisitionStop, 0, {kStop}, 0},   {kAcquisitionStop, 1, {}, 0},
        {kAcquisitionStart, 0, {kStart}, 1}, {kAcquisitionAbort, 0, {}, 0},
        {kAcquisitionStart, 1, {kStart}, 1}, {kAcquisitionStop, 1, {kStop}, 0},
    };
    for (const auto& step : kSteps) {
        EXPECT_EQ(registers.write32(step.command, step.value), 0);
        EXPECT_EQ(registers.journal.take(), step.calls);
        EXPECT_EQ(FormatLock(registers), step.lock);
        EXPECT_EQ(IsFormatWritable(registers), step.lock == 0);
        registers.journal.take();
    }
}

TEST(Acquisition, CommandsCantBeRead)
{
    OpenRegisters registers;
    for (const std::uint32_t command : {kStreamingStart, kAcquisitionStart, kAcquisitionStop,
                                        kAcquisitionAbort, kCenterX, kCenterY}) {
        std::uint32_t word = 0;
        EXPECT_EQ(registers.read(command, &word, 4), kDenied) << std::hex << command;
    }
    // While it isn't available, the end of the streaming reads as zeros.
    std::uint32_t word = 0xFFFFFFFF;
    EXPECT_EQ(registers.read(kStreamingEnd, &word, 4), 0);
    EXPECT_EQ(word, 0u);
    EXPECT_EQ(registers.read32(kDeviceReset), 0u);
}

TEST(Acquisition, FailingModuleLeavesStateAndLocks)
{
    OpenRegisters registers;
    registers.journal.failing = "module Acquisition";
    EXPECT_THROW(registers.write32(kAcquisitionStart, 1), std::runtime_error);
    EXPECT_EQ(FormatLock(registers), 0u);
    registers.journal.failing.clear();
    registers.journal.take();
    registers.write32(kAcquisitionStart, 1);
    registers.journal.failing = "module Acquisition";
    EXPECT_THROW(registers.write32(kAcquisitionStop, 1), std::runtime_error);
    EXPECT_EQ(FormatLock(registers), 1u);
    registers.journal.failing.clear();
    EXPECT_EQ(registers.write32(kAcquisitionStop, 1), 0);
    EXPECT_THAT(
        registers.journal.take(),
        ElementsAre("module AcquisitionStart", "module AcquisitionStop", "module AcquisitionStop"));
}

TEST(Acquisition, OffsetsAndScalingStayWritable)
{
    OpenRegisters registers;
    registers.write32(kWidth, 1000);
    registers.write32(kAcquisitionStart, 1);
    EXPECT_EQ(registers.write32(kOffsetX, 8), 0);
    EXPECT_EQ(registers.write32(kScalingFactor, 60), 0);
    EXPECT_EQ(registers.write32(kCenterX, 1), 0);
}

TEST(Acquisition, TLParamsLockedLocksTheFormat)
{
    OpenRegisters registers;
    EXPECT_EQ(registers.write32(kTLParamsLocked, 2), kRejected);
    EXPECT_EQ(registers.write32(kTLParamsLocked, 1), 0);
    EXPECT_EQ(registers.read32(kTLParamsLocked), 1u);
    EXPECT_EQ(FormatLock(registers), 1u);
    EXPECT_FALSE(IsFormatWritable(registers));
    EXPECT_EQ(registers.read32(kStreamingStartAvailable), 0u);
    EXPECT_EQ(registers.write32(kStreamingStart, 1), kProtected);
    EXPECT_EQ(registers.read32(kStartAvailable), 1u);
    EXPECT_THAT(registers.journal.take(), IsEmpty());

    // The lock outlives the acquisition.
    EXPECT_EQ(registers.write32(kAcquisitionStart, 1), 0);
    EXPECT_EQ(registers.write32(kAcquisitionStop, 1), 0);
    EXPECT_EQ(FormatLock(registers), 1u);
    EXPECT_EQ(registers.write32(kTLParamsLocked, 0), 0);
    EXPECT_EQ(FormatLock(registers), 0u);
    EXPECT_EQ(registers.read32(kStreamingStartAvailable), 1u);
}

TEST(FeatureStreaming, ExchangesTheCommands)
{
    OpenRegisters registers;
    const auto state = [&registers] {
        return std::vector<std::uint32_t>{
            registers.read32(kStreamingStartAvailable), registers.read32(kStreamingEndAvailable),
            registers.read32(kStartAvailable),          registers.read32(kStopAvailable),
            registers.read32(kAbortAvailable),          registers.read32(kTLParamsLockedLocked)};
    };
    EXPECT_THAT(state(), ElementsAre(1, 0, 1, 1, 1, 0));
    EXPECT_EQ(registers.write32(kStreamingEnd, 1), kProtected);
    EXPECT_EQ(registers.write32(kStreamingStart, 0), 0);
    EXPECT_THAT(state(), ElementsAre(0, 1, 0, 0, 0, 1));
    for (const std::uint32_t refused :
         {kStreamingStart, kAcquisitionStart, kAcquisitionStop, kAcquisitionAbort, kTLParamsLocked})
        EXPECT_EQ(registers.write32(refused, 1), kProtected) << std::hex << refused;
    EXPECT_THAT(registers.journal.take(), IsEmpty());
    EXPECT_EQ(registers.write32(kStreamingEnd, 1), 0);
    EXPECT_THAT(state(), ElementsAre(1, 0, 1, 1, 1, 0));

    registers.write32(kAcquisitionStart, 1);
    EXPECT_THAT(state(), ElementsAre(0, 0, 1, 1, 1, 0));
    EXPECT_EQ(registers.write32(kStreamingStart, 1), kProtected);
}

TEST(FeatureStreaming, UnknownFormatEndsAsTheLowestAvailable)
{
    OpenRegisters registers;
    registers.write32(kStreamingStart, 1);
    EXPECT_EQ(registers.write32(kPixelFormat, 0x12345678), 0);
    EXPECT_EQ(registers.write32(kWidth, 1000), 0);
    registers.write32(kStreamingEnd, 1);
    EXPECT_EQ(registers.read32(kPixelFormat), Pfnc::YUV422_8);
    EXPECT_EQ(registers.read32(kWidth), 1000u);
}

TEST(CameraRegisters, ResetGoesToTheModuleWithAnyValue)
{
    OpenRegisters registers;
    registers.write32(kStreamingStart, 1);
    EXPECT_EQ(registers.write32(kDeviceReset, 0), 0);
    EXPECT_EQ(registers.write32(kDeviceReset, 1), 0);
    EXPECT_THAT(registers.journal.take(), ElementsAre("module DeviceReset", "module DeviceReset"));
}

TEST(CameraRegisters, NeedARuntime)
{
    EXPECT_EQ(errorOf([] { CreateCameraRegisters(nullptr); }), "runtimeMCM is nullptr");
}

} // namespace
} // namespace GenTLProducer
