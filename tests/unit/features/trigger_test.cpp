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

class Trigger : public testing::Test, protected OpenRegisters
{
};

// selector, enabled, type and index of the source, activation, delay
TEST_F(Trigger, EachWriteConfiguresTheFrameTrigger)
{
    check({
        {Reg::TriggerMode3, 1, {"ConfigureTrigger 3 1 0 0 3 0"}},
        {Reg::TriggerActivation3, 4, {"ConfigureTrigger 3 1 0 0 4 0"}},
        {Reg::TriggerActivation3, 0, kRejected},
        {Reg::TriggerSource3, 2, {"ConfigureTrigger 3 1 2 0 4 0"}},
        {Reg::TriggerSource3, 0, {"ConfigureTrigger 3 1 1 0 4 0"}},
        {Reg::TriggerSource3, 3, kRejected},
        {Reg::TriggerMode3, 0, {"ConfigureTrigger 3 0 1 0 4 0"}},
        {Reg::TriggerMode3, 2, kRejected},
        {Reg::ExposureMode, 0, {"ConfigureTrigger 3 0 1 0 4 0"}},
        {Reg::ExposureMode, 1, kRejected},
    });
}

TEST_F(Trigger, AcquisitionLocksModeAndSourceOfAllSets)
{
    for (const bool isAcquiring : {true, false}) {
        write(isAcquiring ? Reg::AcquisitionStart : Reg::AcquisitionStop, 1);
        for (const Set& set : kSets) {
            EXPECT_EQ(write(set.mode, 0), isAcquiring ? kProtected : 0);
            EXPECT_EQ(write(set.source, 1), isAcquiring ? kProtected : 0);
            EXPECT_EQ(write(set.activation, 4), 0);
            EXPECT_THAT(read({set.modeLocked, set.sourceLocked}), testing::Each(isAcquiring));
        }
    }
}

TEST_F(Trigger, SoftwareTriggerFiresWithAnyValueAtAnyTime)
{
    const Lines kFired = {"ExecuteSoftwareTrigger 3"};
    for (const Reg state : {Reg::StreamingEnd, Reg::StreamingStart}) {
        write(state, 1);
        check({{Reg::TriggerSoftware3, 1, kFired}, {Reg::TriggerSoftware3, 0, kFired}});
    }
    for (const Set& set : kSets) {
        if (set.software == 0)
            continue;
        check({{set.software, 1, &set == &kSets[kFrameStart] ? kFired : Lines{}}});
        std::uint32_t word = 0;
        EXPECT_EQ(root->read(set.software, &word, 4), kDenied);
    }
}

TEST_F(Trigger, HiddenSetsKeepValidValues)
{
    for (int i = 0; i < 9; ++i) {
        SCOPED_TRACE(i);
        const Set& set = kSets[i];
        if (i == kFrameStart)
            continue;
        EXPECT_EQ(valid(set.mode, 2), (Words{1, 0}));
        EXPECT_EQ(valid(set.source, 3), TakesLineOnly(i) ? (Words{0, 1, 0}) : Words(3, 1));
        EXPECT_EQ(write(set.mode, 1), kRejected);
        EXPECT_EQ(write(set.mode, 0), 0);
        EXPECT_EQ(journal.take(),
                  i == kFrameActive ? Lines{"ConfigureTrigger 3 0 0 0 3 0"} : Lines{});
        EXPECT_EQ(write(set.activation, 4), 0);
        EXPECT_EQ(write(set.source, 0), TakesLineOnly(i) ? kRejected : 0);
        EXPECT_EQ(valid(set.activation, 5),
                  TakesLineOnly(i) ? (Words{0, 0, 0, 1, 1}) : Words(5, 0));
        EXPECT_EQ(read(set.activation), 4u);
        EXPECT_THAT(journal.take(), IsEmpty());
    }
}

TEST_F(Trigger, DelaysAreNeverToBeHad)
{
    for (const Reg state : {Reg::StreamingEnd, Reg::StreamingStart}) {
        write(state, 1);
        for (const Set& set : kSets) {
            EXPECT_EQ(write(set.delay, 0), kProtected);
            EXPECT_EQ(limits(set.delay), (Words{0, 0, 1, 0}));
        }
    }
}

// index, delay, type and index of the source, activation
TEST_F(Trigger, PeriodicSignal)
{
    check({
        {Reg::TlmPeriodicSignalDelay, 10000, {"ConfigurePeriodicSignal 0 10 0 0 0"}},
        {Reg::TlmPeriodicSignalDelay, -1000000000, {"ConfigurePeriodicSignal 0 -1000000 0 0 0"}},
        {Reg::TlmPeriodicSignalDelay, 500, kRejected},
        {Reg::TlmPeriodicSignalDelay, 1000001000, kRejected},
        {Reg::TlmPeriodicSignalActivation, 1, {"ConfigurePeriodicSignal 0 -1000000 0 0 1"}},
        {Reg::TlmPeriodicSignalActivation, 3, kRejected},
        {Reg::TlmPeriodicSignalSource, 0, {"ConfigurePeriodicSignal 0 -1000000 0 0 1"}},
        {Reg::TlmPeriodicSignalSource, 1, kRejected},
        {Reg::TlmPeriodicSignalPeriod, 2000},
        {Reg::TlmPeriodicSignalPeriod, 1500, kRejected},
        {Reg::TlmPeriodicSignalPeriod, 0, kRejected},
    });
    EXPECT_EQ(limits(Reg::TlmPeriodicSignalPeriod), (Words{1000, 1000000000, 1000, 2000}));
    // The period is no streamed feature: it is checked and taken at once.
    write(Reg::StreamingStart, 1);
    check({{Reg::TlmPeriodicSignalPeriod, 1500, kRejected}, {Reg::TlmPeriodicSignalPeriod, 3000}});
    EXPECT_EQ(read(Reg::TlmPeriodicSignalPeriod), 3000u);
}

TEST_F(Trigger, StreamingEndBringsAllSetsToValidValues)
{
    write(Reg::StreamingStart, 1);
    write(Reg::ExposureMode, 2);
    write(Reg::TlmPeriodicSignalDelay, 10999);
    write(Reg::TlmPeriodicSignalSource, 2);
    write(Reg::TlmPeriodicSignalActivation, 4);
    for (const Set& set : kSets) {
        EXPECT_EQ(write(set.mode, 1), 0);
        EXPECT_EQ(write(set.source, 2), 0);
        EXPECT_EQ(write(set.activation, 2), 0);
    }
    EXPECT_EQ(read({Reg::TriggerMode3, Reg::TriggerSource3}), (Words{0, 1}));
    EXPECT_THAT(journal.take(), IsEmpty());

    write(Reg::StreamingEnd, 1);
    const Lines calls = journal.take();
    ASSERT_GE(calls.size(), 2u);
    EXPECT_THAT(Lines(calls.end() - 2, calls.end()),
                ElementsAre("ConfigurePeriodicSignal 0 10 0 0 0", "ConfigureTrigger 3 1 2 0 2 0"));
    EXPECT_EQ(read({Reg::ExposureMode, Reg::TlmPeriodicSignalDelay}), (Words{0, 10000}));
    for (int i = 0; i < 9; ++i) {
        SCOPED_TRACE(i);
        EXPECT_EQ(read(kSets[i].mode), i == kFrameStart ? 1u : 0u);
        EXPECT_EQ(read(kSets[i].source), TakesLineOnly(i) ? 1u : 2u);
        EXPECT_EQ(read(kSets[i].activation), TakesLineOnly(i) ? 3u : 2u);
    }
}

} // namespace
} // namespace GenTLProducer
