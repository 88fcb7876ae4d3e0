#include "opened_module.h"

namespace
{

using zevo_sim::Misbehaviour;

class GeometryTest : public IdleTest
{
protected:
    GeometryTest() : IdleTest(running(2)) {}
    void setSize(std::uint32_t width, std::uint32_t height)
    {
        module.SetWidth(width);
        module.SetHeight(height);
    }
};

TEST_F(GeometryTest, SizeGoesToTheOutputAndOffsetsAreAtomicRecords)
{
    expectTransfers({
        {[&] { module.SetWidth(1300); }, {"w 2000 0514"}},
        {[&] { module.SetHeight(976); }, {"w 2002 03d0"}},
        {[&] { module.SetOffsetX(650); },
         {"r 1184", "w 1184 0001", "w 2004 1000", "w 2008 3000", "w 1184 0007"}},
        {[&] { module.SetOffsetY(976); },
         {"r 1184", "w 1184 0001", "w 2006 2000", "w 200a 4000", "w 1184 0007"}},
    });
}

TEST_F(GeometryTest, RecordsCommitByTheStateOfTheAcquisition)
{
    module.AcquisitionStart();
    EXPECT_EQ(transfersOf([&] { module.SetOffsetX(0); }).back(), "w 1184 0003");
    module.AcquisitionStop();
    EXPECT_EQ(transfersOf([&] { module.SetOffsetX(0); }).back(), "w 1184 0007");
}

TEST_F(GeometryTest, ScalingIsOneRecordOfLineTimeAndRegion)
{
    setSize(1300, 976);
    expectTransfers({{[&] { module.SetScalingFactor(2.0F); },
                      {"r 1184", "w 1184 0001", "r 004e", "w 201c 00000000", "w 2004 0000",
                       "w 2008 4000", "w 2006 0000", "w 200a 4000", "w 1184 0007"}}});
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
        EXPECT_EQ(peek(0x2004), row.x0);
        EXPECT_EQ(peek(0x2008), row.x1);
        EXPECT_EQ(peek(0x2006), row.y0);
        EXPECT_EQ(peek(0x200A), row.y1);
    }
}

TEST_F(GeometryTest, RegionOutsideTheRegisterLeavesTheRecordOpen)
{
    setSize(2600, 1952);
    const auto setOffset = [&] {
        EXPECT_EQ(errorOf([&] { module.SetOffsetX(2600); }),
                  "PREVIEW_ROI_X1: Value 2 outside range -2...1.99994.");
    };
    expectTransfers({{setOffset, {"r 1184", "w 1184 0001", "w 2004 4000"}}});
}

TEST_F(GeometryTest, WaitsForTheRecordBefore)
{
    misbehave(&Misbehaviour::atomicReads, 3);
    module.SetOffsetX(1);
    clock.sleeps.clear();
    expectTransfers({{[&] { module.SetOffsetX(0); },
                      {"r 1184", "r 1184", "r 1184", "r 1184", "w 1184 0001", "w 2004 0000",
                       "w 2008 0000", "w 1184 0007"}}});
    EXPECT_EQ(clock.sleeps, std::vector<mcm::IClock::Duration>(3, std::chrono::milliseconds(10)));
}

TEST_F(GeometryTest, StuckRecordCostsTenSecondsAndAWarning)
{
    misbehave(&Misbehaviour::isAtomicStuck, true);
    module.SetOffsetX(1);
    const double before = clock.seconds();
    EXPECT_THAT(stderrOf([&] {
                    EXPECT_EQ(transfersOf([&] { module.SetOffsetX(2); }).back(), "w 1184 0007");
                }),
                hasLines("[000000] ",
                         {"WARNING: ISP is still waiting until all recorded data is written."}));
    EXPECT_NEAR(clock.seconds() - before, 10.1, 0.02);
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
        idle.poke({{0x004E, row.revision}});
        idle.camera.PokeIsp32(0x0068, row.linkRate);
        idle.module.SetWidth(1300);
        idle.module.SetScalingFactor(row.scaling);
        EXPECT_EQ(idle.camera.PeekIsp32(0x201C), row.lineTime);
    }
}

TEST_F(GeometryTest, PixelFormatsHaveTheirOutputCodes)
{
    expectTransfers({
        {[&] { module.SetPixelFormat(0x01080001); }, {"w 2012 008a"}},
        {[&] { module.SetPixelFormat(0x01080008); }, {"w 2012 008a"}},
        {[&] { module.SetPixelFormat(0x01100003); }, {"w 2012 009a"}},
        {[&] { module.SetPixelFormat(0x0110000C); }, {"w 2012 009a"}},
        {[&] { module.SetPixelFormat(0x0210001F); }, {"w 2012 0050"}},
        {[&] { module.SetPixelFormat(0x02100032); }, {"w 2012 0050"}},
        {[&] { module.SetPixelFormat(0x020C0112); }, {"w 2012 0051"}},
    });
    expectIgnored([&] { module.SetPixelFormat(0x01080009); },
                  "SetPixelFormat Ignore unsupported PFNC pixel format 0x1080009");
}

} // namespace
