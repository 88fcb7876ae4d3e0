// The sensor behind the DMA engine, and frames on demand.
#include <gtest/gtest.h>

#include "camera_fixture.h"

namespace zevo_sim
{
namespace
{

using namespace isp;

constexpr std::uint16_t kSensorMode = 0x301A;
constexpr std::uint16_t kStreamBit = 0x0004;

std::uint32_t SensorAddress(DrivenCamera& camera, std::uint16_t address)
{
    return std::uint32_t{camera.Read(kPrimarySensorSip)} << 16 | address;
}

void WaitForEngine(DrivenCamera& camera)
{
    for (int i = 0; i < 5 && (camera.Read(kDmaControl) & kDmaModeMask) != 0; ++i) {
    }
    EXPECT_EQ(camera.Read(kDmaControl) & kDmaModeMask, 0);
}

void WriteSensor(DrivenCamera& camera, std::uint16_t address, std::uint16_t value)
{
    camera.Write(kDmaSize, 2, 4);
    camera.Write(kDmaSource, value, 4);
    camera.Write(kDmaDestination, SensorAddress(camera, address), 4);
    camera.Write(kDmaControl, 769);
    WaitForEngine(camera);
}

TEST(Dma, MovesWordsToAndFroWhenItIsDone)
{
    CameraOptions options;
    options.misbehaviour.dmaReads = 2;
    BootedCamera camera(options);
    camera->PokeSensor(kSensorMode, 0x1234);
    EXPECT_NE(SensorAddress(camera, 0) & kSipWideData << 16, 0u);

    camera.Write(kDmaSize, 2, 4);
    camera.Write(kDmaSource, SensorAddress(camera, kSensorMode), 4);
    camera.Write(kDmaDestination, kDmaDestination, 4);
    camera.Write(kDmaControl, 50);
    for (int i = 0; i < 2; ++i) {
        EXPECT_EQ(camera.Read(kDmaControl), 50);
        EXPECT_NE(camera.Read(kDmaDestination), 0x1234) << "before the engine is idle";
    }
    EXPECT_EQ(camera.Read(kDmaControl), 0x0030);
    EXPECT_EQ(camera.Read(kDmaDestination), 0x1234);

    WriteSensor(camera, kSensorMode, 0xBEEF);
    EXPECT_EQ(camera->PeekSensor(kSensorMode), 0xBEEF);
}

TEST(Dma, TransfersThatNameNothingEndAndMoveNothing)
{
    const struct {
        const char* what;
        std::uint32_t size;
        std::uint32_t otherSensor;
        std::uint16_t control;
        std::uint16_t result;
    } cases[] = {
        {"a word", 2, 0, 769, 0xBEEF},          {"a byte", 1, 0, 769, 0x00EF},
        {"size missing", 0, 0, 769, 0x1234},    {"another sensor", 2, 0x00040000, 769, 0x1234},
        {"another port", 2, 0, 0x0201, 0x1234}, {"the wrong way", 2, 0, 50, 0x1234},
        {"no such mode", 2, 0, 0x0305, 0x1234},
    };
    for (const auto& c : cases) {
        BootedCamera camera;
        camera->PokeSensor(kSensorMode, 0x1234);
        camera.Write(kDmaSize, c.size, 4);
        camera.Write(kDmaSource, 0xBEEF, 4);
        camera.Write(kDmaDestination, SensorAddress(camera, kSensorMode) ^ c.otherSensor, 4);
        camera.Write(kDmaControl, c.control);
        WaitForEngine(camera);
        EXPECT_EQ(camera->PeekSensor(kSensorMode), c.result) << c.what;
    }
}

void DriveLine(DrivenCamera& camera, bool isHigh)
{
    camera.Write(kAdvancedBase, kGpioOutputWord, 4);
    camera.Write(kAdvancedWindow, isHigh ? 1 << 10 : 0, 4);
}

void SwitchTriggerOn(DrivenCamera& camera)
{
    camera.Write(kSoftwareTriggerGpio, 10, 4);
    DriveLine(camera, false);
    camera.Write(kTriggerControl, 0x0083);
    camera.Write(kTriggerControl2, 0);
    camera.Write(kTriggerStallingThreshold, 0);
    WriteSensor(camera, kSensorMode, 0x2058);
}

int CountFrames(DrivenCamera& camera)
{
    int frames = 0;
    while (frames < 10 && camera->SendFrame())
        ++frames;
    return frames;
}

TEST(Trigger, EachSoftwareTriggerGivesOneFrame)
{
    BootedCamera camera;
    EXPECT_EQ(CountFrames(camera), 10);
    SwitchTriggerOn(camera);
    EXPECT_FALSE(camera->CanSend()) << "nothing is connected to the line";
    DriveLine(camera, true);
    DriveLine(camera, false);
    EXPECT_EQ(CountFrames(camera), 1) << "a pulse";
    DriveLine(camera, true);
    EXPECT_EQ(CountFrames(camera), 1) << "a level that is written again each time";
    DriveLine(camera, true);
    DriveLine(camera, true);
    EXPECT_EQ(CountFrames(camera), 2);
    EXPECT_EQ(camera.Read(kAdvancedWindow + 2), 1 << 10);
    camera.Write(kAdvancedBase, 0x00100000, 4);
    EXPECT_EQ(camera.Read(kAdvancedWindow + 2), 0) << "another block in the window";
    camera.Write(kAdvancedWindow, 1 << 10, 4);
    EXPECT_EQ(CountFrames(camera), 0);

    camera.Write(kTriggerControl, 0x0084);
    EXPECT_EQ(CountFrames(camera), 0) << "the sensor is still at rest";
    WriteSensor(camera, kSensorMode, 0x2058 | kStreamBit);
    EXPECT_EQ(CountFrames(camera), 10);
}

TEST(Trigger, NeedsAllItsRegisters)
{
    const struct {
        const char* what;
        std::uint16_t address;
        std::uint16_t value;
        int frames;
    } cases[] = {
        {"nothing wrong", kTriggerControl, 0x0083, 1},
        {"no trigger mode", kTriggerControl, 0x0080, 0},
        {"the periodic signal's mode", kTriggerControl, 0x0082, 0},
        {"synchronised otherwise", kTriggerControl, 0x0087, 0},
        {"another input", kTriggerControl, 0x0053, 0},
        {"inverted line", kTriggerControl, 0x0483, 0},
        {"second control register", kTriggerControl2, 0x0002, 0},
        {"stalling threshold", kTriggerStallingThreshold, 300, 0},
        {"another line", kSoftwareTriggerGpio + 2, 11, 0},
    };
    for (const auto& c : cases) {
        BootedCamera camera;
        SwitchTriggerOn(camera);
        camera.Write(c.address, c.value);
        DriveLine(camera, true);
        EXPECT_EQ(CountFrames(camera), c.frames) << c.what;
    }
}

TEST(Trigger, AnInvertedLineTriggersWhenItFalls)
{
    BootedCamera camera;
    SwitchTriggerOn(camera);
    camera.Write(kTriggerControl, 0x0483);
    DriveLine(camera, false);
    EXPECT_EQ(CountFrames(camera), 0);
    DriveLine(camera, true);
    EXPECT_EQ(CountFrames(camera), 0);
    DriveLine(camera, false);
    EXPECT_EQ(CountFrames(camera), 1);
}

TEST(Trigger, DoesNothingWhileTheStreamIsStalled)
{
    BootedCamera camera;
    SwitchTriggerOn(camera);
    DriveLine(camera, true);
    camera.ToggleStallAndWait();
    EXPECT_EQ(CountFrames(camera), 0);
    DriveLine(camera, true);
    camera.ToggleStallAndWait();
    EXPECT_EQ(CountFrames(camera), 0) << "neither is kept";
    DriveLine(camera, true);
    EXPECT_EQ(CountFrames(camera), 1);
}

TEST(Trigger, ATriggeredFrameHasTheExposureOfItsTrigger)
{
    BootedCamera camera;
    SwitchTriggerOn(camera);
    camera.Write(kAeControl, 0x0280);
    camera.Write(kAeManualExposureTime, 5'000, 4);
    DriveLine(camera, true);
    EXPECT_TRUE(camera->SendFrame());
    EXPECT_EQ(camera->PeekIsp32(kAeExposureTime), 5'000u);
}

} // namespace
} // namespace zevo_sim
