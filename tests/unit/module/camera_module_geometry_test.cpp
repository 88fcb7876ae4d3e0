#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "opened_module.h"

namespace
{

using namespace mcm;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;

class GeometryTest : public testing::Test
{
protected:
    Lines transfersOf(const std::function<void(CameraModuleAP1302&)>& use)
    {
        return idle.transfersOf([&] { use(module); });
    }
    void setSize(std::uint32_t width, std::uint32_t height)
    {
        module.SetWidth(width);
        module.SetHeight(height);
    }

    Idle idle{running(2)};
    CameraModuleAP1302& module = idle.module;
};

TEST_F(GeometryTest, SizeGoesToTheOutputAlone)
{
    EXPECT_THAT(transfersOf([](auto& module) { module.SetWidth(2592); }),
                ElementsAre("w 2000 0a20"));
    EXPECT_THAT(transfersOf([](auto& module) { module.SetHeight(1944); }),
                ElementsAre("w 2002 0798"));
    EXPECT_EQ(errorOf([this] { module.SetWidth(65536); }),
              "PREVIEW_WIDTH: Value 65536 outside range 0...65535.");
}

TEST_F(GeometryTest, OffsetsAreAtomicRecords)
{
    setSize(1300, 976);
    EXPECT_THAT(transfersOf([](auto& module) { module.SetOffsetX(650); }),
                ElementsAre("r 1184", "w 1184 0001", "w 2004 1000", "w 2008 3000", "w 1184 0007"));
    EXPECT_THAT(transfersOf([](auto& module) { module.SetOffsetY(976); }),
                ElementsAre("r 1184", "w 1184 0001", "w 2006 2000", "w 200a 4000", "w 1184 0007"));
}

TEST_F(GeometryTest, RecordsCommitByTheStateOfTheAcquisition)
{
    module.AcquisitionStart();
    EXPECT_EQ(transfersOf([](auto& module) { module.SetOffsetX(0); }).back(), "w 1184 0003");
    module.AcquisitionStop();
    EXPECT_EQ(transfersOf([](auto& module) { module.SetOffsetX(0); }).back(), "w 1184 0007");
}

TEST_F(GeometryTest, ScalingIsOneRecordOfLineTimeAndRegion)
{
    setSize(1300, 976);
    EXPECT_THAT(transfersOf([](auto& module) { module.SetScalingFactor(2.0F); }),
                ElementsAre("r 1184", "w 1184 0001", "r 004e", "w 201c 00000000", "w 2004 0000",
                            "w 2008 4000", "w 2006 0000", "w 200a 4000", "w 1184 0007"));
}

TEST_F(GeometryTest, RegionsAreSensorWindowsBeforeScaling)
{
    const struct {
        std::uint32_t width, height, offsetX, offsetY;
        float scaling;
        std::uint16_t x0, x1, y0, y1;
    } cases[] = {
        {2600, 1952, 0, 0, 1.0F, 0, 0x4000, 0, 0x4000},
        {2592, 1944, 4, 4, 1.0F, 25, 16359, 34, 16350},
        {1296, 972, 4, 4, 2.0F, 25, 16359, 34, 16350},
        {96, 104, 1252, 924, 1.0F, 7890, 8494, 7756, 8628},
        {640, 480, 1000, 700, 1.25F, 6302, 11343, 5875, 10911},
        {1, 1, 2599, 1951, 1.0F, 16378, 16384, 16376, 16384},
        // Rounded twice, or in double precision, the end would be 15283.
        {1036, 976, 2156, 0, 0.26F, 13586, 15284, 0, 2130},
    };
    for (const auto& row : cases) {
        setSize(row.width, row.height);
        module.SetOffsetX(row.offsetX);
        module.SetOffsetY(row.offsetY);
        module.SetScalingFactor(row.scaling);
        EXPECT_EQ(idle.peek(0x2004), row.x0);
        EXPECT_EQ(idle.peek(0x2008), row.x1);
        EXPECT_EQ(idle.peek(0x2006), row.y0);
        EXPECT_EQ(idle.peek(0x200A), row.y1);
    }
}

TEST_F(GeometryTest, RegionOutsideTheRegisterLeavesTheRecordOpen)
{
    setSize(2600, 1952);
    EXPECT_EQ(errorOf([this] { module.SetOffsetX(2600); }),
              "PREVIEW_ROI_X1: Value 2 outside range -2...1.99994.");
    EXPECT_THAT(idle.takeIspTransfers(), Contains("w 2004 4000"));
    EXPECT_EQ(idle.peek(0x1184), 1);
}

TEST_F(GeometryTest, WaitsForTheRecordBefore)
{
    zevo_sim::Misbehaviour slow;
    slow.atomicReads = 3;
    idle.camera.SetMisbehaviour(slow);
    module.SetOffsetX(1);
    idle.clock.sleeps.clear();
    EXPECT_THAT(transfersOf([](auto& module) { module.SetOffsetX(2); }),
                ElementsAre("r 1184", "r 1184", "r 1184", "r 1184", "w 1184 0001", testing::_,
                            testing::_, "w 1184 0007"));
    EXPECT_EQ(idle.clock.sleeps, std::vector<IClock::Duration>(3, std::chrono::milliseconds(10)));
}

TEST_F(GeometryTest, StuckRecordCostsTenSecondsAndAWarning)
{
    zevo_sim::Misbehaviour stuck;
    stuck.isAtomicStuck = true;
    idle.camera.SetMisbehaviour(stuck);
    module.SetOffsetX(1);
    const double before = idle.clock.seconds();
    testing::internal::CaptureStderr();
    EXPECT_EQ(transfersOf([](auto& module) { module.SetOffsetX(2); }).back(), "w 1184 0007");
    EXPECT_THAT(testing::internal::GetCapturedStderr(),
                HasSubstr("[000000] WARNING: ISP is still waiting until all recorded data is "
                          "written.\n"));
    EXPECT_NEAR(idle.clock.seconds() - before, 10.1, 0.02);
}

// The one case in which the line time isn't left to the ISP: all of four conditions hold.
TEST(Geometry, LineTimeNeedsAllItsConditions)
{
    const struct {
        std::uint16_t revision;
        float scaling;
        std::uint8_t lanes;
        std::uint32_t linkRate;
        std::uint32_t lineTime;
    } cases[] = {
        {425, 0.5F, 2, 1200 << 16, 1201660}, {426, 0.5F, 2, 1200 << 16, 0},
        {425, 0.51F, 2, 1200 << 16, 0},      {425, 0.5F, 4, 1200 << 16, 0},
        {425, 0.5F, 2, (1200 << 16) + 1, 0},
    };
    for (const auto& row : cases) {
        Idle idle(running(row.lanes));
        idle.camera.PokeIsp16(0x004E, row.revision);
        idle.camera.PokeIsp32(0x0068, row.linkRate);
        idle.module.SetWidth(1300);
        idle.module.SetScalingFactor(row.scaling);
        EXPECT_EQ(idle.camera.PeekIsp32(0x201C), row.lineTime);
    }
}

TEST_F(GeometryTest, PixelFormatsHaveTheirOutputCodes)
{
    const struct {
        std::uint32_t pfnc;
        const char* write;
    } cases[] = {
        {0x01080001, "w 2012 008a"}, {0x01080008, "w 2012 008a"}, {0x01100003, "w 2012 009a"},
        {0x0110000C, "w 2012 009a"}, {0x0210001F, "w 2012 0050"}, {0x02100032, "w 2012 0050"},
        {0x020C0112, "w 2012 0051"},
    };
    for (const auto& row : cases)
        EXPECT_THAT(transfersOf([&](auto& module) { module.SetPixelFormat(row.pfnc); }),
                    ElementsAre(row.write));
}

TEST_F(GeometryTest, UnsupportedPixelFormatIsIgnored)
{
    testing::internal::CaptureStderr();
    EXPECT_THAT(transfersOf([](auto& module) { module.SetPixelFormat(0x01080009); }),
                ElementsAre());
    EXPECT_THAT(testing::internal::GetCapturedStderr(),
                HasSubstr("[000000] ERROR: SetPixelFormat Ignore unsupported PFNC pixel format "
                          "0x1080009\n"));
}

} // namespace
