// The frame trigger, the periodic signal and the other trigger sets.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "recording_camera.h"

namespace GenTLProducer
{
namespace
{

using testing::ElementsAre;
using testing::IsEmpty;
using Lines = std::vector<std::string>;
using Words = std::vector<std::uint32_t>;

constexpr std::uint32_t kExposureMode = 0x10000b60;
constexpr std::uint32_t kTriggerMode = 0x10000da0;
constexpr std::uint32_t kTriggerSource = 0x10001518;
constexpr std::uint32_t kActivationValid = 0x1000151c;
constexpr std::uint32_t kTriggerActivation = 0x1000159c;
constexpr std::uint32_t kPeriod = 0x10001a1c;
constexpr std::uint32_t kPeriodicDelay = 0x10001a2c;
constexpr std::uint32_t kPeriodicSource = 0x10001ab0;
constexpr std::uint32_t kPeriodicActivation = 0x10001b34;
constexpr std::uint32_t kTriggerSoftware = 0x10001bc8;

/// Value addresses of one set.
struct Set {
    std::uint32_t mode, source, activation, delay, modeLocked, sourceLocked, software;
};

constexpr Set kSets[] = {
    {0x10000c14, 0x100011d0, 0x10001254, 0x10001264, 0x1000031c, 0x100003ac, 0x10001bb0},
    {0x10000c98, 0x100012e8, 0x1000136c, 0x1000137c, 0x10000328, 0x100003d0, 0x10001bbc},
    {0x10000d1c, 0x100010b8, 0x1000113c, 0x1000114c, 0x10000334, 0x10000388, 0},
    {0x10000da0, 0x10001518, 0x1000159c, 0x100015ac, 0x10000340, 0x10000418, 0x10001bc8},
    {0x10000e24, 0x10001630, 0x100016b4, 0x100016c4, 0x1000034c, 0x1000043c, 0x10001bd4},
    {0x10000ea8, 0x10001400, 0x10001484, 0x10001494, 0x10000358, 0x100003f4, 0},
    {0x10000f2c, 0x10001860, 0x100018e4, 0x100018f4, 0x10000364, 0x10000484, 0x10001be0},
    {0x10000fb0, 0x10001978, 0x100019fc, 0x10001a0c, 0x10000370, 0x100004a8, 0x10001bec},
    {0x10001034, 0x10001748, 0x100017cc, 0x100017dc, 0x1000037c, 0x10000460, 0},
};
constexpr int kFrameStart = 3;
constexpr int kFrameActive = 5;

bool TakesLineOnly(int set)
{
    return set == 2 || set == 5 || set == 8;
}

/// Validity words in front of an enumeration's value.
Words ValidOf(Registers& camera, std::uint32_t value, std::size_t entries)
{
    return camera.words(value - 128, entries);
}

class Trigger : public testing::Test
{
protected:
    void check(const std::vector<OpenRegisters::Write>& writes) { camera.check(writes); }

    OpenRegisters camera;
};

// selector, enabled, type and index of the source, activation, delay
TEST_F(Trigger, EachWriteConfiguresTheFrameTrigger)
{
    check({
        {kTriggerMode, 1, 0, {"module ConfigureTrigger 3 1 0 0 3 0"}},
        {kTriggerActivation, 4, 0, {"module ConfigureTrigger 3 1 0 0 4 0"}},
        {kTriggerActivation, 0, kRejected, {}},
        {kTriggerSource, 2, 0, {"module ConfigureTrigger 3 1 2 0 4 0"}},
        {kTriggerSource, 0, 0, {"module ConfigureTrigger 3 1 1 0 4 0"}},
        {kTriggerSource, 3, kRejected, {}},
        {kTriggerMode, 0, 0, {"module ConfigureTrigger 3 0 1 0 4 0"}},
        {kTriggerMode, 2, kRejected, {}},
        {kExposureMode, 0, 0, {"module ConfigureTrigger 3 0 1 0 4 0"}},
        {kExposureMode, 1, kRejected, {}},
    });
}

TEST_F(Trigger, OnlyALineHasAnActivation)
{
    EXPECT_EQ(camera.words(kActivationValid, 5), (Words{0, 0, 0, 1, 1}));
    for (const std::uint32_t source : {0u, 2u}) {
        camera.write32(kTriggerSource, source);
        EXPECT_EQ(camera.words(kActivationValid, 5), Words(5, 0));
        EXPECT_EQ(camera.read32(kTriggerActivation), 3u);
        EXPECT_EQ(camera.write32(kTriggerActivation, 3), kRejected);
        camera.write32(kTriggerSource, 1);
        EXPECT_EQ(camera.words(kActivationValid, 5), (Words{0, 0, 0, 1, 1}));
    }
}

TEST_F(Trigger, AcquisitionLocksModeAndSourceOfAllSets)
{
    camera.write32(kAcquisitionStart, 1);
    for (const Set& set : kSets) {
        EXPECT_EQ(camera.write32(set.mode, 0), kProtected);
        EXPECT_EQ(camera.write32(set.source, 1), kProtected);
        EXPECT_EQ(camera.write32(set.activation, 4), 0);
        EXPECT_EQ(camera.read32(set.modeLocked), 1u);
        EXPECT_EQ(camera.read32(set.sourceLocked), 1u);
    }
    camera.write32(kAcquisitionStop, 1);
    for (const Set& set : kSets) {
        EXPECT_EQ(camera.write32(set.mode, 0), 0);
        EXPECT_EQ(camera.read32(set.modeLocked), 0u);
        EXPECT_EQ(camera.read32(set.sourceLocked), 0u);
    }
}

TEST_F(Trigger, SoftwareTriggerFiresWithAnyValueAtAnyTime)
{
    const Lines kFired = {"module ExecuteSoftwareTrigger 3"};
    check({{kTriggerSoftware, 1, 0, kFired}, {kTriggerSoftware, 0, 0, kFired}});
    camera.write32(kStreamingStart, 1);
    check({{kTriggerSoftware, 1, 0, kFired}});
    for (const Set& set : kSets) {
        if (set.software != 0 && set.software != kTriggerSoftware) {
            check({{set.software, 1, 0, {}}});
        }
        std::uint32_t word = 0;
        if (set.software != 0) {
            EXPECT_EQ(camera.read(set.software, &word, 4), kDenied);
        }
    }
}

TEST_F(Trigger, HiddenSetsKeepValidValues)
{
    for (int i = 0; i < 9; ++i) {
        SCOPED_TRACE(i);
        const Set& set = kSets[i];
        if (i == kFrameStart)
            continue;
        EXPECT_EQ(ValidOf(camera, set.mode, 2), (Words{1, 0}));
        EXPECT_EQ(ValidOf(camera, set.source, 3),
                  TakesLineOnly(i) ? (Words{0, 1, 0}) : Words(3, 1));
        EXPECT_EQ(camera.write32(set.mode, 1), kRejected);
        EXPECT_EQ(camera.write32(set.mode, 0), 0);
        EXPECT_EQ(camera.journal.take(),
                  i == kFrameActive ? Lines{"module ConfigureTrigger 3 0 0 0 3 0"} : Lines{});
        EXPECT_EQ(camera.write32(set.activation, 4), 0);
        EXPECT_EQ(camera.write32(set.source, 0), TakesLineOnly(i) ? kRejected : 0);
        EXPECT_EQ(ValidOf(camera, set.activation, 5),
                  TakesLineOnly(i) ? (Words{0, 0, 0, 1, 1}) : Words(5, 0));
        EXPECT_EQ(camera.read32(set.activation), 4u);
        EXPECT_THAT(camera.journal.take(), IsEmpty());
    }
}

TEST_F(Trigger, DelaysAreNeverToBeHad)
{
    for (const bool isStreaming : {false, true}) {
        if (isStreaming)
            camera.write32(kStreamingStart, 1);
        for (const Set& set : kSets) {
            EXPECT_EQ(camera.write32(set.delay, 0), kProtected);
            EXPECT_EQ(camera.words(set.delay - 12, 4), (Words{0, 0, 1, 0}));
        }
    }
}

// index, delay, type and index of the source, activation
TEST_F(Trigger, PeriodicSignal)
{
    check({
        {kPeriodicDelay, 10000, 0, {"module ConfigurePeriodicSignal 0 10 0 0 0"}},
        {kPeriodicDelay, -1000000000, 0, {"module ConfigurePeriodicSignal 0 -1000000 0 0 0"}},
        {kPeriodicDelay, 500, kRejected, {}},
        {kPeriodicDelay, 1000001000, kRejected, {}},
        {kPeriodicActivation, 1, 0, {"module ConfigurePeriodicSignal 0 -1000000 0 0 1"}},
        {kPeriodicActivation, 3, kRejected, {}},
        {kPeriodicSource, 0, 0, {"module ConfigurePeriodicSignal 0 -1000000 0 0 1"}},
        {kPeriodicSource, 1, kRejected, {}},
        {kPeriod, 2000, 0, {}},
        {kPeriod, 1500, kRejected, {}},
        {kPeriod, 0, kRejected, {}},
    });
    EXPECT_EQ(camera.words(kPeriod - 12, 4), (Words{1000, 1000000000, 1000, 2000}));
    // The period is no streamed feature: it is checked and taken at once.
    camera.write32(kStreamingStart, 1);
    check({{kPeriod, 1500, kRejected, {}}, {kPeriod, 3000, 0, {}}});
    EXPECT_EQ(camera.read32(kPeriod), 3000u);
}

TEST_F(Trigger, StreamingEndBringsAllSetsToValidValues)
{
    camera.write32(kStreamingStart, 1);
    camera.write32(kExposureMode, 2);
    camera.write32(kPeriodicDelay, 10999);
    camera.write32(kPeriodicSource, 2);
    camera.write32(kPeriodicActivation, 4);
    for (const Set& set : kSets) {
        EXPECT_EQ(camera.write32(set.mode, 1), 0);
        EXPECT_EQ(camera.write32(set.source, 2), 0);
        EXPECT_EQ(camera.write32(set.activation, 2), 0);
    }
    EXPECT_EQ(camera.read32(kTriggerMode), 0u);
    EXPECT_EQ(camera.read32(kTriggerSource), 1u);
    EXPECT_THAT(camera.journal.take(), IsEmpty());

    camera.write32(kStreamingEnd, 1);
    const Lines calls = camera.journal.take();
    ASSERT_GE(calls.size(), 2u);
    EXPECT_THAT(Lines(calls.end() - 2, calls.end()),
                ElementsAre("module ConfigurePeriodicSignal 0 10 0 0 0",
                            "module ConfigureTrigger 3 1 2 0 2 0"));
    EXPECT_EQ(camera.read32(kExposureMode), 0u);
    EXPECT_EQ(camera.read32(kPeriodicDelay), 10000u);
    for (int i = 0; i < 9; ++i) {
        SCOPED_TRACE(i);
        EXPECT_EQ(camera.read32(kSets[i].mode), i == kFrameStart ? 1u : 0u);
        EXPECT_EQ(camera.read32(kSets[i].source), TakesLineOnly(i) ? 1u : 2u);
        EXPECT_EQ(camera.read32(kSets[i].activation), TakesLineOnly(i) ? 3u : 2u);
    }
}

} // namespace
} // namespace GenTLProducer
