// Image format features at the worked numbers of the camera.
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

std::unique_ptr<GivenAgent> Platform(std::optional<ImageSizeLimits> limits,
                                     const Words& refused = {})
{
    auto agent = std::make_unique<GivenAgent>();
    agent->limits = limits;
    agent->refused = refused;
    return agent;
}

class ImageFormat1008 : public testing::Test, protected OpenRegisters
{
protected:
    ImageFormat1008()
    {
        write(Reg::Width, 1008);
        write(Reg::Height, 1000);
        journal.take();
    }
};

TEST_F(ImageFormat1008, WidthSendsAllThatDependsOnIt)
{
    check({{Reg::Width,
            1000,
            {"grabber SetWidth 1000", "SetWidth 1000", "SetScalingFactor 1", "SetOffsetX 0",
             "grabber SetOffsetX 0", "SetOffsetY 0", "grabber SetOffsetY 0",
             "grabber SetPayloadSize 2000000"}},
           {Reg::Width, 1003, kRejected}});
    EXPECT_THAT(limits(Reg::OffsetX), ElementsAre(0, 1592, 8, 0));
    EXPECT_THAT(read({Reg::PayloadSize, Reg::Width}), ElementsAre(2000000, 1000));
}

// One long walk, each step on the state that the one before left.
TEST_F(ImageFormat1008, ScalingAndOffsets)
{
    EXPECT_THAT(limits(Reg::TlmScalingFactor), ElementsAre(30, 194, 1, 100));
    const struct {
        Write write;
        Words x, y;   ///< limits and value of the offsets behind the step
        Words sensor; ///< its scaled size
    } kSteps[] = {
        // clang-format off
        {{Reg::TlmScalingFactor, 50, {"SetScalingFactor 0.5", "SetOffsetX 0",
                                      "grabber SetOffsetX 0", "SetOffsetY 0",
                                      "grabber SetOffsetY 0"}},
         {0, 4176, 16, 0}, {0, 2880, 16, 0}, {5184, 3888}},
        {{Reg::OffsetX, 96, {"SetOffsetX 48", "grabber SetOffsetX 48"}},
         {0, 4176, 16, 96}, {0, 2880, 16, 0}, {5184, 3888}},
        {{Reg::OffsetX, 100, kRejected}, {0, 4176, 16, 96}, {0, 2880, 16, 0}, {5184, 3888}},
        {{Reg::TlmCenterX, 1, {"SetOffsetX 1040", "grabber SetOffsetX 1040"}},
         {0, 4176, 16, 2080}, {0, 2880, 16, 0}, {5184, 3888}},
        {{Reg::TlmCenterY, 0, {"SetOffsetY 720", "grabber SetOffsetY 720"}},
         {0, 4176, 16, 2080}, {0, 2880, 16, 1440}, {5184, 3888}},
        {{Reg::TlmScalingFactor, 195, kRejected},
         {0, 4176, 16, 2080}, {0, 2880, 16, 1440}, {5184, 3888}},
        {{Reg::TlmScalingFactor, 150, {"SetScalingFactor 1.5", "SetOffsetX 1080",
                                       "grabber SetOffsetX 1080", "SetOffsetY 440",
                                       "grabber SetOffsetY 440"}},
         {0, 720, 5, 720}, {0, 295, 5, 295}, {1728, 1296}},
        {{Reg::OffsetY, 290, {"SetOffsetY 435", "grabber SetOffsetY 435"}},
         {0, 720, 5, 720}, {0, 295, 5, 290}, {1728, 1296}},
        {{Reg::OffsetY, 300, kRejected}, {0, 720, 5, 720}, {0, 295, 5, 290}, {1728, 1296}},
        // clang-format on
    };
    for (const auto& step : kSteps) {
        SCOPED_TRACE(step.write.value);
        check({step.write});
        EXPECT_EQ(limits(Reg::OffsetX), step.x);
        EXPECT_EQ(limits(Reg::OffsetY), step.y);
        EXPECT_EQ(words(Reg::TlmScaledSensorWidth, 2), step.sensor);
    }
}

// The image has to cover its minimum on the sensor, rounded up, and to fit on it, rounded down.
TEST(ImageFormat, SizeLimitsTheScale)
{
    const struct {
        std::uint32_t width, height, min, max;
    } kCases[] = {
        {104, 1944, 93, 100},  {2592, 112, 93, 100}, {96, 104, 100, 1869},
        {104, 104, 100, 1869}, {320, 352, 30, 552},  {1920, 1080, 30, 135},
    };
    for (const auto& c : kCases) {
        OpenRegisters registers;
        EXPECT_EQ(registers.write(Reg::Width, c.width), 0);
        EXPECT_EQ(registers.write(Reg::Height, c.height), 0);
        EXPECT_THAT(registers.limits(Reg::TlmScalingFactor), ElementsAre(c.min, c.max, 1, 100))
            << c.width;
    }
}

TEST_F(ImageFormat1008, PixelFormatBringsItsWords)
{
    check({{Reg::PixelFormat,
            Pfnc::YCbCr420_8_YY_CbCr_Semiplanar,
            {"grabber SetPixelFormat 34341138", "SetPixelFormat 34341138",
             "grabber SetPayloadSize 1512000"}}});
    for (const std::uint32_t format : {Pfnc::Mono8, Pfnc::RGB8, Pfnc::BayerRG8, 0u})
        check({{Reg::PixelFormat, format, kRejected}});
    EXPECT_THAT(
        read({Reg::PixelFormat, Reg::PixelSize, Reg::PixelDynamicRangeMax, Reg::PayloadSize}),
        ElementsAre(Pfnc::YCbCr420_8_YY_CbCr_Semiplanar, 2, 255, 1512000));
}

TEST(ImageFormat, PlatformNarrowsTheFormats)
{
    const struct {
        Words refused;
        Words valid; ///< of the ISP's three formats
        std::uint32_t format;
    } kCases[] = {
        {{Pfnc::YUV422_8_UYVY}, {1, 0, 1}, Pfnc::YUV422_8},
        {{Pfnc::YUV422_8_UYVY, Pfnc::YUV422_8}, {0, 0, 1}, Pfnc::YCbCr420_8_YY_CbCr_Semiplanar},
        {{Pfnc::Mono8}, {1, 1, 1}, Pfnc::YUV422_8_UYVY},
        // Without any format the first choice is sent all the same.
        {{Pfnc::YUV422_8_UYVY, Pfnc::YUV422_8, Pfnc::YCbCr420_8_YY_CbCr_Semiplanar},
         {0, 0, 0},
         Pfnc::YUV422_8_UYVY},
    };
    for (const auto& c : kCases) {
        OpenRegisters registers(Platform({}, c.refused));
        EXPECT_EQ(registers.opening[1], "grabber SetPixelFormat " + std::to_string(c.format));
        EXPECT_EQ(registers.words(0x100004cc + 4 * 5, 3), c.valid);
    }
}

TEST(ImageFormat, PlatformWithoutRoomCutsFromTheMiddle)
{
    const struct {
        ImageSizeLimits limits;
        Lines calls;
        Words width, x, y, scale, sensor;
    } kCases[] = {
        // clang-format off
        {{96, 1920, 8, 104, 1080, 8},
         {"SetWidth 1920", "SetHeight 1080", "SetOffsetX 336", "SetOffsetY 432"},
         {96, 1920, 8, 1920}, {0, 672, 8, 336}, {0, 864, 8, 432}, {30, 135, 1, 100}, {2592, 1944}},
        // An empty range has no grid; a grid of one point is its minimum.
        {{96, 50, 8, 104, 1944, 0}, {"SetWidth 50", "SetHeight 104"}, {96, 50, 8, 50},
         {0, 1300, 4, 656}, {0, 908, 4, 476}, {192, 1869, 1, 192}, {1350, 1012}},
        // A quotient by nothing is 0.
        {{0, 0, 0, 0, 0, 0},
         {"SetWidth 0", "SetScalingFactor 0", "SetOffsetX 0", "grabber SetPayloadSize 0"},
         {0, 0, 0, 0}, {0, 0, 1, 0}, {0, 0, 1, 0}, {30, 0, 1, 0}, {0, 0}},
        // clang-format on
    };
    for (const auto& c : kCases) {
        OpenRegisters registers(Platform(c.limits));
        EXPECT_THAT(registers.opening, testing::IsSupersetOf(c.calls));
        EXPECT_EQ(registers.limits(Reg::Width), c.width);
        EXPECT_EQ(registers.limits(Reg::OffsetX), c.x);
        EXPECT_EQ(registers.limits(Reg::OffsetY), c.y);
        EXPECT_EQ(registers.limits(Reg::TlmScalingFactor), c.scale);
        EXPECT_EQ(registers.words(Reg::TlmScaledSensorWidth, 2), c.sensor);
        EXPECT_EQ(registers.words(Reg::WidthMax, 2),
                  (Words{c.limits.maxWidth, c.limits.maxHeight}));
    }
}

// No answer of a platform may divide by zero or hang; what comes out is only plausible.
TEST(ImageFormat, SurvivesAnyPlatform)
{
    constexpr std::uint32_t kHuge = 0xFFFFFFFF;
    const ImageSizeLimits kPlatforms[] = {
        {0, 0, 0, 0, 0, 0},         {0, 0, 8, 0, 0, 8},
        {96, 48, 8, 104, 56, 8},    {96, 2592, 0, 104, 1944, 0},
        {1, 1, 1, 1, 1, 1},         {0, kHuge, kHuge, 0, kHuge, kHuge},
        {kHuge, 0, 1, kHuge, 0, 1}, {kHuge, kHuge, kHuge, kHuge, kHuge, kHuge},
        {96, 2592, 8, 0, 0, 0},
    };
    for (const ImageSizeLimits& limits : kPlatforms) {
        OpenRegisters registers(Platform(limits));
        for (const Reg key : {Reg::Width, Reg::Height, Reg::TlmScalingFactor, Reg::OffsetX,
                              Reg::OffsetY, Reg::TlmCenterX, Reg::TlmCenterY}) {
            for (const std::uint32_t value : {0u, 1u, 96u, 2592u, 0x80000000u, kHuge}) {
                registers.write(key, value);
                registers.write(Reg::StreamingStart, 1);
                EXPECT_EQ(registers.write(key, value), 0);
                EXPECT_EQ(registers.write(Reg::StreamingEnd, 1), 0);
            }
        }
        for (const Reg offset : {Reg::OffsetX, Reg::OffsetY}) {
            const Words words = registers.limits(offset);
            EXPECT_GE(words[2], 1u);
            EXPECT_LE(words[3], words[1]);
        }
        EXPECT_GE(registers.read(Reg::Width), std::min(limits.minWidth, limits.maxWidth));
        EXPECT_LE(registers.read(Reg::Width), std::max(limits.minWidth, limits.maxWidth));
    }
}

TEST_F(ImageFormat1008, FailingCallEndsTheChain)
{
    journal.failing = "SetScalingFactor";
    EXPECT_THROW(write(Reg::Width, 1000), std::runtime_error);
    EXPECT_THAT(journal.take(),
                ElementsAre("grabber SetWidth 1000", "SetWidth 1000", "SetScalingFactor 1"));
    EXPECT_THAT(read({Reg::Width, Reg::PayloadSize}), ElementsAre(1000, 2016000));
}

} // namespace
} // namespace GenTLProducer
