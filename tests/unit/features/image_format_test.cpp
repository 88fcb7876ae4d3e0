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
using testing::IsEmpty;
using Lines = std::vector<std::string>;
using Words = std::vector<std::uint32_t>;

/// The limits in front of a number's value.
Words LimitsOf(Registers& registers, std::uint32_t value)
{
    return registers.words(value - 12, 3);
}

std::unique_ptr<GivenAgent> Platform(const ImageSizeLimits& limits,
                                     std::vector<std::uint32_t> refused = {})
{
    auto agent = std::make_unique<GivenAgent>();
    agent->limits = limits;
    agent->refused = std::move(refused);
    return agent;
}

TEST(ImageFormat, OpeningAsksThePlatform)
{
    OpenRegisters registers;
    const ImageSizeLimits& asked = registers.platform.asked;
    EXPECT_THAT((Words{asked.minWidth, asked.maxWidth, asked.widthIncrement, asked.minHeight,
                       asked.maxHeight, asked.heightIncrement}),
                ElementsAre(96, 2592, 8, 104, 1944, 8));
    EXPECT_THAT(registers.platform.candidates, ElementsAre(Pfnc::YUV422_8, Pfnc::YUV422_8_UYVY,
                                                           Pfnc::YCbCr420_8_YY_CbCr_Semiplanar));
}

TEST(ImageFormat, RegistersAtOpen)
{
    OpenRegisters registers;
    const struct {
        std::uint32_t address;
        Words words;
    } kCases[] = {
        {0x10000a0c, {96, 2592, 8, 2592}},
        {0x10000a1c, {104, 1944, 8, 1944}},
        {0x10000a2c, {0, 0, 8, 0}},
        {0x10000a3c, {0, 0, 8, 0}},
        {0x10000ad0, {30, 100, 1, 100}},
        {kPayloadSize, {10077696}},
        {kPixelFormat, {Pfnc::YUV422_8_UYVY}},
        {kPixelSize, {3, 255}},
        {kScaledSensorWidth, {2592, 1944}},
        {kWidthMax, {2592, 1944}},
    };
    for (const auto& c : kCases)
        EXPECT_EQ(registers.words(c.address, c.words.size()), c.words) << std::hex << c.address;
    Words valid(32, 0);
    valid[5] = valid[6] = valid[7] = 1;
    EXPECT_EQ(registers.words(kPixelFormatValid, 32), valid);
}

TEST(ImageFormat, WidthSendsAllThatDependsOnIt)
{
    OpenRegisters registers;
    EXPECT_EQ(registers.write32(kWidth, 1000), 0);
    EXPECT_THAT(registers.journal.take(),
                ElementsAre("grabber SetWidth 1000", "module SetWidth 1000",
                            "module SetScalingFactor 1", "module SetOffsetX 0",
                            "grabber SetOffsetX 0", "module SetOffsetY 0", "grabber SetOffsetY 0",
                            "grabber SetPayloadSize 3888000"));
    EXPECT_THAT(LimitsOf(registers, kOffsetX), ElementsAre(0, 1592, 8));
    EXPECT_EQ(registers.read32(kPayloadSize), 3888000u);

    EXPECT_EQ(registers.write32(kWidth, 1003), kRejected);
    EXPECT_THAT(registers.journal.take(), IsEmpty());
    EXPECT_EQ(registers.read32(kWidth), 1000u);
}

// One long walk, each step on the state that the one before left.
TEST(ImageFormat, ScalingAndOffsets)
{
    OpenRegisters registers;
    registers.write32(kWidth, 1008);
    registers.write32(kHeight, 1000);
    EXPECT_THAT(LimitsOf(registers, kScalingFactor), ElementsAre(30, 194, 1));
    registers.journal.take();
    const struct {
        std::uint32_t address, value;
        RegisterStatus status;
        Lines calls;
        Words x, y; ///< limits and value of the offsets behind the step
    } kSteps[] = {
        // clang-format off
        {kScalingFactor, 50, 0,
         {"module SetScalingFactor 0.5", "module SetOffsetX 0", "grabber SetOffsetX 0",
          "module SetOffsetY 0", "grabber SetOffsetY 0"}, {0, 4176, 16, 0}, {0, 2880, 16, 0}},
        {kOffsetX, 96, 0, {"module SetOffsetX 48", "grabber SetOffsetX 48"},
         {0, 4176, 16, 96}, {0, 2880, 16, 0}},
        {kOffsetX, 100, kRejected, {}, {0, 4176, 16, 96}, {0, 2880, 16, 0}},
        {kCenterX, 1, 0, {"module SetOffsetX 1040", "grabber SetOffsetX 1040"},
         {0, 4176, 16, 2080}, {0, 2880, 16, 0}},
        {kCenterY, 0, 0, {"module SetOffsetY 720", "grabber SetOffsetY 720"},
         {0, 4176, 16, 2080}, {0, 2880, 16, 1440}},
        {kScalingFactor, 195, kRejected, {}, {0, 4176, 16, 2080}, {0, 2880, 16, 1440}},
        {kScalingFactor, 150, 0,
         {"module SetScalingFactor 1.5", "module SetOffsetX 1080", "grabber SetOffsetX 1080",
          "module SetOffsetY 440", "grabber SetOffsetY 440"}, {0, 720, 5, 720}, {0, 295, 5, 295}},
        {kOffsetY, 290, 0, {"module SetOffsetY 435", "grabber SetOffsetY 435"},
         {0, 720, 5, 720}, {0, 295, 5, 290}},
        {kOffsetY, 300, kRejected, {}, {0, 720, 5, 720}, {0, 295, 5, 290}},
        // clang-format on
    };
    for (const auto& step : kSteps) {
        EXPECT_EQ(registers.write32(step.address, step.value), step.status) << step.value;
        EXPECT_EQ(registers.journal.take(), step.calls) << step.value;
        EXPECT_EQ(registers.words(kOffsetX - 12, 4), step.x) << step.value;
        EXPECT_EQ(registers.words(kOffsetY - 12, 4), step.y) << step.value;
    }
    EXPECT_THAT(registers.words(kScaledSensorWidth, 2), ElementsAre(1728, 1296));
}

TEST(ImageFormat, SmallerScaleEnlargesTheSensor)
{
    OpenRegisters registers;
    registers.write32(kWidth, 1008);
    registers.write32(kHeight, 1000);
    registers.write32(kScalingFactor, 50);
    EXPECT_THAT(registers.words(kScaledSensorWidth, 2), ElementsAre(5184, 3888));
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
        EXPECT_EQ(registers.write32(kWidth, c.width), 0);
        EXPECT_EQ(registers.write32(kHeight, c.height), 0);
        EXPECT_THAT(LimitsOf(registers, kScalingFactor), ElementsAre(c.min, c.max, 1)) << c.width;
    }
}

TEST(ImageFormat, PixelFormatBringsItsWords)
{
    OpenRegisters registers;
    registers.write32(kWidth, 1008);
    registers.write32(kHeight, 1000);
    registers.journal.take();
    EXPECT_EQ(registers.write32(kPixelFormat, Pfnc::YCbCr420_8_YY_CbCr_Semiplanar), 0);
    EXPECT_THAT(registers.journal.take(),
                ElementsAre("grabber SetPixelFormat 34341138", "module SetPixelFormat 34341138",
                            "grabber SetPayloadSize 1512000"));
    EXPECT_EQ(registers.read32(kPixelFormat), Pfnc::YCbCr420_8_YY_CbCr_Semiplanar);
    EXPECT_THAT(registers.words(kPixelSize, 2), ElementsAre(2, 255));
    EXPECT_EQ(registers.read32(kPayloadSize), 1512000u);

    for (const std::uint32_t format : {Pfnc::Mono8, Pfnc::RGB8, Pfnc::BayerRG8, 0u})
        EXPECT_EQ(registers.write32(kPixelFormat, format), kRejected);
    EXPECT_THAT(registers.journal.take(), IsEmpty());
}

TEST(ImageFormat, PlatformNarrowsTheFormats)
{
    const ImageSizeLimits wide{96, 2592, 8, 104, 1944, 8};
    const struct {
        std::vector<std::uint32_t> refused;
        std::uint32_t mask, format;
    } kCases[] = {
        {{Pfnc::YUV422_8_UYVY}, 1u << 5 | 1u << 7, Pfnc::YUV422_8},
        {{Pfnc::YUV422_8_UYVY, Pfnc::YUV422_8}, 1u << 7, Pfnc::YCbCr420_8_YY_CbCr_Semiplanar},
        {{Pfnc::Mono8}, 1u << 5 | 1u << 6 | 1u << 7, Pfnc::YUV422_8_UYVY},
        // Without any format the first choice is sent all the same.
        {{Pfnc::YUV422_8_UYVY, Pfnc::YUV422_8, Pfnc::YCbCr420_8_YY_CbCr_Semiplanar},
         0,
         Pfnc::YUV422_8_UYVY},
    };
    for (const auto& c : kCases) {
        Registers registers(Platform(wide, c.refused));
        registers.camera->run();
        EXPECT_EQ(registers.journal.take()[1],
                  "grabber SetPixelFormat " + std::to_string(c.format));
        std::uint32_t mask = 0;
        for (std::uint32_t i = 0; i < 32; ++i)
            mask |= registers.read32(kPixelFormatValid + 4 * i) << i;
        EXPECT_EQ(mask, c.mask);
    }
}

TEST(ImageFormat, SmallerPlatformCutsFromTheMiddle)
{
    Registers registers(Platform({96, 1920, 8, 104, 1080, 8}));
    registers.camera->run();
    EXPECT_THAT(registers.journal.take(),
                testing::IsSupersetOf({"module SetWidth 1920", "module SetHeight 1080",
                                       "module SetOffsetX 336", "module SetOffsetY 432"}));
    EXPECT_EQ(registers.words(kWidth - 12, 4), (Words{96, 1920, 8, 1920}));
    EXPECT_EQ(registers.words(kOffsetX - 12, 4), (Words{0, 672, 8, 336}));
    EXPECT_EQ(registers.words(kOffsetY - 12, 4), (Words{0, 864, 8, 432}));
    EXPECT_THAT(LimitsOf(registers, kScalingFactor), ElementsAre(30, 135, 1));
    EXPECT_THAT(registers.words(kWidthMax, 2), ElementsAre(1920, 1080));
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
        Registers registers(Platform(limits));
        registers.open();
        for (const std::uint32_t address :
             {kWidth, kHeight, kScalingFactor, kOffsetX, kOffsetY, kCenterX, kCenterY}) {
            for (const std::uint32_t value : {0u, 1u, 96u, 2592u, 0x80000000u, kHuge}) {
                registers.write32(address, value);
                registers.write32(kStreamingStart, 1);
                EXPECT_EQ(registers.write32(address, value), 0);
                EXPECT_EQ(registers.write32(kStreamingEnd, 1), 0);
            }
        }
        for (const std::uint32_t offset : {kOffsetX, kOffsetY}) {
            const Words words = registers.words(offset - 12, 4);
            EXPECT_GE(words[2], 1u);
            EXPECT_LE(words[3], words[1]);
        }
        EXPECT_GE(registers.read32(kWidth), std::min(limits.minWidth, limits.maxWidth));
        EXPECT_LE(registers.read32(kWidth), std::max(limits.minWidth, limits.maxWidth));
    }
}

// A quotient by nothing is 0.
TEST(ImageFormat, PlatformWithoutAnImageLeavesZeros)
{
    Registers registers(Platform({0, 0, 0, 0, 0, 0}));
    registers.camera->run();
    EXPECT_THAT(registers.journal.take(),
                testing::IsSupersetOf({"module SetWidth 0", "module SetScalingFactor 0",
                                       "module SetOffsetX 0", "grabber SetPayloadSize 0"}));
    EXPECT_EQ(registers.words(kScalingFactor - 12, 4), (Words{30, 0, 1, 0}));
    EXPECT_EQ(registers.words(kOffsetX - 12, 4), (Words{0, 0, 1, 0}));
    EXPECT_THAT(registers.words(kScaledSensorWidth, 2), ElementsAre(0, 0));
}

TEST(ImageFormat, FailingCallEndsTheChain)
{
    OpenRegisters registers;
    registers.journal.failing = "module SetScalingFactor";
    EXPECT_THROW(registers.write32(kWidth, 1000), std::runtime_error);
    EXPECT_THAT(
        registers.journal.take(),
        ElementsAre("grabber SetWidth 1000", "module SetWidth 1000", "module SetScalingFactor 1"));
    EXPECT_EQ(registers.read32(kWidth), 1000u);
    EXPECT_EQ(registers.read32(kPayloadSize), 10077696u);
}

} // namespace
} // namespace GenTLProducer
