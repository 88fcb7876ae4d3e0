// The sensor behind the DMA engine, and frames on demand.
#include <gtest/gtest.h>

#include "camera_fixture.h"

namespace zevo_sim
{
namespace
{

using namespace isp;

constexpr std::uint16_t kSensorMode = 0x301A;

std::uint32_t SensorMode(DrivenCamera& camera)
{
    return std::uint32_t{camera.Read(kPrimarySensorSip)} << 16 | kSensorMode;
}

void WriteSensor(DrivenCamera& camera, std::uint32_t address, std::uint16_t value,
                 std::uint32_t size = 2, std::uint16_t control = 769)
{
    camera.Write(kDmaSize, size, 4);
    camera.Write(kDmaSource, value, 4);
    camera.Write(kDmaDestination, address, 4);
    camera.Write(kDmaControl, control);
    for (int i = 0; i < 5 && (camera.Read(kDmaControl) & kDmaModeMask) != 0; ++i) {
    }
    EXPECT_EQ(camera.Read(kDmaControl) & kDmaModeMask, 0);
}

TEST(Dma, HasReadWhenItIsDone)
{
    CameraOptions options;
    options.misbehaviour.dmaReads = 2;
    BootedCamera camera(options);
    camera->PokeSensor(kSensorMode, 0x1234);
    camera.Write(kDmaSize, 2, 4);
    camera.Write(kDmaSource, SensorMode(camera), 4);
    camera.Write(kDmaDestination, kDmaDestination, 4);
    camera.Write(kDmaControl, 50);
    for (int i = 0; i < 2; ++i) {
        EXPECT_EQ(camera.Read(kDmaControl), 50);
        EXPECT_NE(camera.Read(kDmaDestination), 0x1234) << "before the engine is idle";
    }
    EXPECT_EQ(camera.Read(kDmaControl), 0x0030);
    EXPECT_EQ(camera.Read(kDmaDestination), 0x1234);

    options.misbehaviour.isDmaStuck = true;
    camera->SetMisbehaviour(options.misbehaviour);
    camera.Write(kDmaControl, 50);
    for (int i = 0; i < 5; ++i)
        EXPECT_NE(camera.Read(kDmaControl) & kDmaModeMask, 0) << "stuck";
}

TEST(Dma, WritesNothingThatIsNamedWrongly)
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
        WriteSensor(camera, SensorMode(camera) ^ c.otherSensor, 0xBEEF, c.size, c.control);
        EXPECT_EQ(camera->PeekSensor(kSensorMode), c.result) << c.what;
    }
}

/// A camera that waits for software triggers.
class TriggeredCamera : public BootedCamera
{
public:
    TriggeredCamera()
    {
        Write(kSoftwareTriggerGpio, 10, 4);
        DriveLine(false);
        Write(kTriggerControl, 0x0083);
        Write(kTriggerControl2, 0);
        Write(kTriggerStallingThreshold, 0);
        WriteSensor(*this, SensorMode(*this), 0x2058);
    }

    void DriveLine(bool isHigh)
    {
        Write(kAdvancedBase, kGpioOutputWord, 4);
        Write(kAdvancedWindow, isHigh ? 1 << 10 : 0, 4);
    }

    int CountFrames()
    {
        int frames = 0;
        while (frames < 10 && (*this)->SendFrame())
            ++frames;
        return frames;
    }
};

TEST(Trigger, EachSoftwareTriggerGivesOneFrame)
{
    TriggeredCamera camera;
    EXPECT_EQ(camera.CountFrames(), 0) << "nothing is connected to the line";
    camera.DriveLine(true);
    camera.DriveLine(false);
    EXPECT_EQ(camera.CountFrames(), 1) << "a pulse";
    camera.DriveLine(true);
    camera.DriveLine(true);
    EXPECT_EQ(camera.CountFrames(), 2) << "a level that is written again each time";
    EXPECT_EQ(camera.Read(kAdvancedWindow + 2), 1 << 10);
    camera.Write(kAdvancedBase, 0x00100000, 4);
    EXPECT_EQ(camera.Read(kAdvancedWindow + 2), 0) << "another block in the window";
    camera.Write(kAdvancedWindow, 1 << 10, 4);
    EXPECT_EQ(camera.CountFrames(), 0);
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
        TriggeredCamera camera;
        camera.Write(c.address, c.value);
        camera.DriveLine(true);
        EXPECT_EQ(camera.CountFrames(), c.frames) << c.what;
    }
}

TEST(Trigger, AnInvertedLineTriggersWhenItFalls)
{
    TriggeredCamera camera;
    camera.Write(kTriggerControl, 0x0483);
    camera.DriveLine(false);
    camera.DriveLine(true);
    EXPECT_EQ(camera.CountFrames(), 0);
    camera.DriveLine(false);
    EXPECT_EQ(camera.CountFrames(), 1);
}

TEST(Trigger, DoesNothingWhileTheStreamIsStalled)
{
    TriggeredCamera camera;
    camera.DriveLine(true);
    camera.ToggleStallAndWait();
    EXPECT_EQ(camera.CountFrames(), 0);
    camera.DriveLine(true);
    camera.ToggleStallAndWait();
    EXPECT_EQ(camera.CountFrames(), 0) << "neither is kept";
    camera.DriveLine(true);
    EXPECT_EQ(camera.CountFrames(), 1);
}

} // namespace
} // namespace zevo_sim
