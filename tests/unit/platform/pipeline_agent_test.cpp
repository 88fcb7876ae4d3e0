#include "platform/pipeline_agent.h"

#include <array>

#include <gtest/gtest.h>

#include "fake_handler.h"

namespace GenTLProducer
{

TEST(PipelineAgent, NarrowsTheCamerasLimitsToThePlatforms)
{
    const struct {
        ImageSizeLimits camera;
        std::uint32_t increment;
        std::uint32_t maxWidth;
        std::uint32_t maxHeight;
        ImageSizeLimits expected;
    } kCases[] = {
        {{96, 2592, 8, 104, 1944, 8}, 1, ~0u, ~0u, {96, 2592, 8, 104, 1944, 8}},
        {{64, 4096, 2, 64, 4096, 2}, 32, ~0u, ~0u, {64, 4096, 32, 64, 4096, 2}},
        {{100, 4000, 4, 8, 8, 8}, 128, ~0u, ~0u, {128, 3968, 128, 8, 8, 8}},
        {{96, 2592, 8, 104, 1944, 8}, 128, 2048, 1080, {128, 2048, 128, 104, 1080, 8}},
        {{96, 2592, 6, 104, 1944, 8}, 4, ~0u, ~0u, {96, 2592, 12, 104, 1944, 8}},
        {{96, 2592, 0, 104, 1944, 8}, 8, ~0u, ~0u, {0, 0, 0, 104, 1944, 8}},
        {{96, 2592, 8, 104, 1944, 8}, 0, ~0u, ~0u, {0, 0, 0, 104, 1944, 8}},
        {{5, 7, 0xFFFFFFFF, 1, 1, 1}, 2, ~0u, ~0u, {0xFFFFFFFE, 0, 0xFFFFFFFE, 1, 1, 1}},
    };
    for (const auto& row : kCases) {
        FakeHandler handler;
        handler.widthIncrement = row.increment;
        handler.maxWidth = row.maxWidth;
        handler.maxHeight = row.maxHeight;
        const ImageSizeLimits limits = PipelineAgent(&handler).GetImageSizeLimits(row.camera);
        EXPECT_EQ(limits.minWidth, row.expected.minWidth);
        EXPECT_EQ(limits.maxWidth, row.expected.maxWidth);
        EXPECT_EQ(limits.widthIncrement, row.expected.widthIncrement);
        EXPECT_EQ(limits.minHeight, row.expected.minHeight);
        EXPECT_EQ(limits.maxHeight, row.expected.maxHeight);
        EXPECT_EQ(limits.heightIncrement, row.expected.heightIncrement);
    }
}

TEST(PipelineAgent, OffersWhatCameraAndPlatformBothHave)
{
    FakeHandler handler;
    handler.supported = 22;
    constexpr std::uint32_t kValues[] = {11, 22, 22};
    constexpr bool kOffered[] = {true, true, false};
    std::array<bool, 3> result{true, false, true};
    PipelineAgent(&handler).FilterPixelFormats(kOffered, kValues, result);
    EXPECT_EQ(result, (std::array<bool, 3>{false, true, false}));
}

} // namespace GenTLProducer
