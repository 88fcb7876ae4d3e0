#include "grab/statistics.h"

#include <gtest/gtest.h>

#include "grab/progress.h"

namespace zevo_tool
{
namespace
{

constexpr Nanoseconds kMillisecond = 1'000'000;

TEST(Statistics, TakesTheFrameRateFromTheTimeStamps)
{
    Statistics statistics;
    for (Nanoseconds i = 0; i < 31; ++i)
        statistics.AddFrame(1000 + i * 20 * kMillisecond, 2000 + i * 25 * kMillisecond);
    EXPECT_EQ(statistics.Frames(), 31U);
    EXPECT_EQ(statistics.Duration(), 600 * kMillisecond);
    EXPECT_DOUBLE_EQ(statistics.FrameRate().value_or(0), 50.0);
}

TEST(Statistics, TakesTheFrameRateFromDeliveriesWithoutTimeStamps)
{
    Statistics statistics;
    statistics.AddFrame(5 * kMillisecond, 10 * kMillisecond);
    statistics.AddFrame(std::nullopt, 30 * kMillisecond);
    statistics.AddFrame(7 * kMillisecond, 50 * kMillisecond);
    EXPECT_DOUBLE_EQ(statistics.FrameRate().value_or(0), 50.0);
    EXPECT_FALSE(statistics.TimeToDelivery().has_value());
}

TEST(Statistics, HasNoFrameRateBeforeTheSecondFrame)
{
    Statistics statistics;
    EXPECT_FALSE(statistics.FrameRate().has_value());
    EXPECT_FALSE(statistics.TimeToDelivery().has_value());
    statistics.AddIncomplete();
    statistics.AddFrame(1, 2);
    EXPECT_FALSE(statistics.FrameRate().has_value());
    EXPECT_EQ(statistics.Incomplete(), 1U);
}

TEST(Statistics, GivesMedianAndPercentileOfTheDelivery)
{
    Statistics statistics;
    for (Nanoseconds i = 1; i <= 200; ++i)
        statistics.AddFrame(i * kMillisecond, i * kMillisecond + 201 - i);
    ASSERT_TRUE(statistics.TimeToDelivery().has_value());
    EXPECT_EQ(statistics.TimeToDelivery()->median, 100U);
    EXPECT_EQ(statistics.TimeToDelivery()->percentile99, 198U);
}

TEST(Statistics, DoesNotCompareClocksThatDiffer)
{
    Statistics future;
    future.AddFrame(10, 9);
    EXPECT_FALSE(future.TimeToDelivery().has_value());
    Statistics past;
    past.AddFrame(0, 3'600'000 * kMillisecond + 1);
    EXPECT_FALSE(past.TimeToDelivery().has_value());
}

TEST(Statistics, PercentileIsAValueOfTheSeries)
{
    EXPECT_EQ(Percentile({}, 0.5), 0U);
    EXPECT_EQ(Percentile({7}, 0.99), 7U);
    EXPECT_EQ(Percentile({4, 1, 3, 2}, 0.5), 2U);
    EXPECT_EQ(Percentile({4, 1, 3, 2}, 0.51), 3U);
    EXPECT_EQ(Percentile({4, 1, 3, 2}, 1.0), 4U);
    EXPECT_EQ(Percentile({4, 1, 3, 2}, 0.0), 1U);
}

TEST(Progress, FillsTheBarInProportion)
{
    EXPECT_EQ(ProgressText(0, 4, 0.0, 8), "[........] 0/4 frames, 0.0 s");
    EXPECT_EQ(ProgressText(1, 4, 1.25, 8), "[##......] 1/4 frames, 1.2 s");
    EXPECT_EQ(ProgressText(5, 4, 2.0, 8), "[########] 5/4 frames, 2.0 s");
    EXPECT_EQ(ProgressText(5, 0, 2.0, 8), "5 frames, 2.0 s");
}

} // namespace
} // namespace zevo_tool
