#include "module/trigger_feature.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cerrno>

#include "opened_module.h"

namespace
{

using namespace mcm;
using testing::AllOf;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::HasSubstr;
using Milliseconds = std::chrono::milliseconds;

constexpr std::uint16_t kTriggerControl = 0x1186;
constexpr std::uint16_t kSensorControl = 0x301A;

// Bits of TRIGGER_CTRL that no operation may touch are set: 0x7300.
const Lines kLineLow = {"w f038 002a0000", "r e000", "r e002", "w e000 00010000"};
const Lines kLineHigh = {"w f038 002a0000", "r e000", "r e002", "w e000 00010400"};
const Lines kReadSensor = {"r 604a",          "r 60ac",          "w 60a8 00000002",
                           "w 60a0 0274301a", "w 60a4 000060a4", "w 60ac 0032",
                           "r 60ac",          "r 60a4",          "r 60a6"};

Lines writeSensor(const std::string& value)
{
    return {"r 604a",          "r 60ac",      "w 60a8 00000002", "w 60a0 0000" + value,
            "w 60a4 0274301a", "w 60ac 0301", "r 60ac"};
}

TriggerConfiguration trigger(TriggerSourceType source = TriggerSourceType::DigitalIoLine)
{
    return {TriggerSelector::FrameStart, true, source, 0, TriggerActivation::LevelHigh, 0.0};
}

PeriodicSignalConfiguration signal(double delay = 10.0)
{
    return {0, delay, TriggerSourceType::DigitalIoLine, 0, TriggerActivation::LevelLow};
}

class TriggerFeatureTest : public testing::Test
{
protected:
    void SetUp() override
    {
        simulated.camera.PokeIsp16(0x604A, 0x0274);
        simulated.camera.PokeIsp16(kTriggerControl, 0x7304);
        simulated.camera.PokeIsp16(0x6114, 0x8002);
        simulated.camera.PokeSensor(kSensorControl, 0x10DC);
        isp.ADVANCED_BASE(0x002A0000);
        isp.write(0xE000, std::uint32_t{0x00010400});
        simulated.camera.ClearTransfers();
    }
    Lines transfersOf(const std::function<void(TriggerFeature&)>& use)
    {
        simulated.takeIspTransfers();
        use(feature);
        return simulated.takeIspTransfers();
    }

    SimulatedModule simulated{running()};
    std::shared_ptr<McmDevice> control = simulated.controlDevice();
    IspSensor isp{control->getI2cDevice(60)};
    TriggerFeature feature{isp, simulated.clock};
};

TEST_F(TriggerFeatureTest, ConfigurationsComeIntoForceByDelayAndPolarity)
{
    const auto level = [](TriggerSourceType source, TriggerActivation activation) {
        TriggerConfiguration configuration = trigger(source);
        configuration.activation = activation;
        configuration.delay = 77.0; // of the trigger, which the ISP doesn't delay
        return configuration;
    };
    const struct {
        TriggerSourceType source;
        TriggerActivation activation;
        const char* control;
    } cases[] = {
        {TriggerSourceType::DigitalIoLine, TriggerActivation::LevelHigh, "w 1186 7304"},
        {TriggerSourceType::DigitalIoLine, TriggerActivation::LevelLow, "w 1186 7704"},
        {TriggerSourceType::Software, TriggerActivation::LevelHigh, "w 1186 7304"},
        {TriggerSourceType::Software, TriggerActivation::LevelLow, "w 1186 7304"},
    };
    for (const auto& row : cases) {
        EXPECT_THAT(
            transfersOf([&](auto& f) { f.ConfigureTrigger(level(row.source, row.activation)); }),
            ElementsAre("w 1188 00000000", "r 1186", row.control));
    }
}

TEST_F(TriggerFeatureTest, PeriodicSignalRulesWhileItIsTheSource)
{
    EXPECT_THAT(transfersOf([](auto& f) { f.ConfigurePeriodicSignal(signal()); }),
                ElementsAre("w 1188 00000000", "r 1186", "w 1186 7304"));
    const auto periodic = trigger(TriggerSourceType::PeriodicSignal);
    EXPECT_THAT(transfersOf([&](auto& f) { f.ConfigureTrigger(periodic); }),
                ElementsAre("w 1188 fffff600", "r 1186", "w 1186 7704"));
    const struct {
        double delay;
        const char* write;
    } delays[] = {
        {0.0, "w 1188 00000000"}, {-10.0, "w 1188 00000a00"},  {0.001953125, "w 1188 ffffffff"},
        {1e6, "w 1188 f0bdc000"}, {0.0019, "w 1188 00000000"},
    };
    for (const auto& row : delays) {
        EXPECT_EQ(transfersOf([&](auto& f) { f.ConfigurePeriodicSignal(signal(row.delay)); })[0],
                  row.write);
    }
    EXPECT_THAT(transfersOf([](auto& f) { f.ConfigureTrigger(trigger()); }),
                ElementsAre("w 1188 00000000", "r 1186", "w 1186 7304"));
}

TEST_F(TriggerFeatureTest, PeriodicSignalTakesAllActivationsButAnyEdge)
{
    feature.ConfigureTrigger(trigger(TriggerSourceType::PeriodicSignal));
    const struct {
        TriggerActivation activation;
        const char* control;
    } cases[] = {
        {TriggerActivation::FallingEdge, "w 1186 7704"},
        {TriggerActivation::RisingEdge, "w 1186 7304"},
        {TriggerActivation::LevelLow, "w 1186 7704"},
        {TriggerActivation::LevelHigh, "w 1186 7304"},
    };
    PeriodicSignalConfiguration configuration = signal();
    for (const auto& row : cases) {
        configuration.activation = row.activation;
        EXPECT_EQ(transfersOf([&](auto& f) { f.ConfigurePeriodicSignal(configuration); }).back(),
                  row.control);
    }
    configuration.activation = TriggerActivation::AnyEdge;
    EXPECT_THROW(feature.ConfigurePeriodicSignal(configuration), std::range_error);
    EXPECT_EQ(errorOf([&] { feature.ConfigurePeriodicSignal(configuration); }),
              "TriggerActivation::AnyEdge not supported.");
}

TEST_F(TriggerFeatureTest, LineTriggerIsArmedAtStartAndTakenBackAtStop)
{
    feature.ConfigureTrigger(trigger());
    EXPECT_THAT(transfersOf([](auto& f) { f.AcquisitionStart(); }),
                ElementsAreArray(kLineLow +
                                 Lines{"r 1186", "w 1186 7307", "r 1186", "w 1186 7387", "r 1186",
                                       "w 1186 7383", "r 6114", "w 6114 8000", "w 6110 0000"} +
                                 kReadSensor + writeSensor("10d8")));
    EXPECT_THAT(transfersOf([](auto& f) { f.AcquisitionStop(); }),
                ElementsAreArray(Lines{"r 1186", "w 1186 7380", "r 1186", "w 1186 7384", "r 6114",
                                       "w 6114 8002", "w 6110 012c"} +
                                 kReadSensor + writeSensor("10dc")));
}

TEST_F(TriggerFeatureTest, SensorThatStandsRightIsOnlyRead)
{
    const auto readsOnly = [](const Lines& transfers) {
        return Lines(transfers.end() - static_cast<std::ptrdiff_t>(kReadSensor.size()),
                     transfers.end()) == kReadSensor;
    };
    feature.ConfigureTrigger(trigger(TriggerSourceType::Software));
    simulated.camera.PokeSensor(kSensorControl, 0x10D8);
    EXPECT_TRUE(readsOnly(transfersOf([](auto& f) { f.AcquisitionStart(); })));
    simulated.camera.PokeSensor(kSensorControl, 0x10DC);
    EXPECT_TRUE(readsOnly(transfersOf([](auto& f) { f.AcquisitionStop(); })));
}

TEST_F(TriggerFeatureTest, PeriodicSignalLeavesTheSensorAlone)
{
    feature.ConfigureTrigger(trigger(TriggerSourceType::PeriodicSignal));
    EXPECT_THAT(transfersOf([](auto& f) { f.AcquisitionStart(); }),
                ElementsAreArray(kLineLow + Lines{"r 1186", "w 1186 7306", "r 1186", "w 1186 7386",
                                                  "r 1186", "w 1186 7382", "r 6114", "w 6114 8000",
                                                  "w 6110 0000"}));
    EXPECT_THAT(transfersOf([](auto& f) { f.AcquisitionStop(); }),
                ElementsAre("r 1186", "w 1186 7380", "r 1186", "w 1186 7384", "r 6114",
                            "w 6114 8002", "w 6110 012c"));
}

TEST_F(TriggerFeatureTest, StartAndStopWithoutATriggerTouchNothing)
{
    const auto startAndStop = [](auto& f) {
        f.AcquisitionStart();
        f.AcquisitionStop();
    };
    EXPECT_THAT(transfersOf(startAndStop), ElementsAre());
    TriggerConfiguration off = trigger();
    off.enabled = false;
    feature.ConfigureTrigger(off);
    EXPECT_THAT(transfersOf(startAndStop), ElementsAre());
}

TEST_F(TriggerFeatureTest, FirstSoftwareTriggerIsAPulseAndLaterOnesALevel)
{
    EXPECT_THAT(transfersOf([](auto& f) { f.ExecuteSoftwareTrigger(TriggerSelector::FrameStart); }),
                ElementsAreArray(kLineHigh + kLineLow));
    EXPECT_THAT(simulated.clock.sleeps, ElementsAre(Milliseconds(2)));
    simulated.clock.sleeps.clear();
    for (int i = 0; i < 2; ++i) {
        EXPECT_EQ(
            transfersOf([](auto& f) { f.ExecuteSoftwareTrigger(TriggerSelector::FrameStart); })[3],
            "w e000 00010400");
    }
    EXPECT_THAT(simulated.clock.sleeps, ElementsAre());
}

TEST_F(TriggerFeatureTest, UnsupportedConfigurationsAreReportedOnly)
{
    using Selector = TriggerSelector;
    using Source = TriggerSourceType;
    using Activation = TriggerActivation;
    const auto kLine = Source::DigitalIoLine;
    const auto kHigh = Activation::LevelHigh;
    const auto configure = [](TriggerConfiguration configuration) {
        return [configuration](TriggerFeature& f) { f.ConfigureTrigger(configuration); };
    };
    const auto signal5us = [](unsigned index, Source source, unsigned sourceIndex) {
        return [=](TriggerFeature& f) {
            f.ConfigurePeriodicSignal({index, 5.0, source, sourceIndex, Activation::LevelLow});
        };
    };
    const struct {
        const char* line;
        std::function<void(TriggerFeature&)> use;
    } cases[] = {
        {"ConfigureTrigger: ignore unsupported trigger activation RisingEdge\n",
         configure({Selector::FrameEnd, false, kLine, 0, Activation::RisingEdge, 0.0})},
        {"ConfigureTrigger: ignore unsupported trigger activation AnyEdge\n",
         configure({Selector::FrameStart, false, kLine, 0, Activation::AnyEdge, 0.0})},
        {"ConfigureTrigger: ignore unsupported trigger activation FallingEdge\n",
         configure({Selector::FrameStart, false, kLine, 0, Activation::FallingEdge, 0.0})},
        {"ConfigureTrigger: ignore unsupported trigger selector ExposureActive\n",
         configure({Selector::ExposureActive, false, kLine, 1, kHigh, 0.0})},
        {"ConfigureTrigger: ignore unsupported trigger source: PeriodicSignal, 1\n",
         configure({Selector::FrameStart, false, Source::PeriodicSignal, 1, kHigh, 0.0})},
        {"ConfigureTrigger: ignore unsupported trigger source: 3, 0\n",
         configure({Selector::FrameStart, false, static_cast<Source>(3), 0, kHigh, 0.0})},
        {"ConfigurePeriodicSignal: ignore unsupported periodic signal index 1\n",
         signal5us(1, kLine, 0)},
        {"ConfigurePeriodicSignal: ignore unsupported periodic signal source: Software, 0\n",
         signal5us(0, Source::Software, 0)},
        {"ConfigurePeriodicSignal: ignore unsupported periodic signal source: DigitalIoLine, 2\n",
         signal5us(0, kLine, 2)},
        {"ExecuteSoftwareTrigger: ignore software trigger for unsupported trigger selector "
         "FrameEnd\n",
         [](auto& f) { f.ExecuteSoftwareTrigger(Selector::FrameEnd); }},
    };
    feature.ConfigureTrigger(trigger(Source::PeriodicSignal));
    feature.ConfigurePeriodicSignal(signal(10.0));
    for (const auto& row : cases) {
        EXPECT_THAT(stderrOf([&] { EXPECT_THAT(transfersOf(row.use), ElementsAre()); }),
                    HasSubstr(std::string("[000000] ERROR: ") + row.line));
    }
    // The configuration from before stands: enabled, and by the periodic signal of 10 us.
    EXPECT_EQ(transfersOf([](auto& f) { f.AcquisitionStart(); }).size(), 13U);
    EXPECT_EQ(transfersOf([](auto& f) { f.ConfigureTrigger(trigger(Source::PeriodicSignal)); })[0],
              "w 1188 fffff600");
}

TEST_F(TriggerFeatureTest, BusySensorEngineFailsTheStart)
{
    feature.ConfigureTrigger(trigger());
    const FixedRegisters busy(simulated, {{0x60AC, 0x0001}});
    EXPECT_THAT(
        stderrOf([&] {
            EXPECT_EQ(errorOf([&] { feature.AcquisitionStart(); }), "Cannot read sensor register");
            EXPECT_EQ(errorOf([&] { feature.AcquisitionStop(); }), "Cannot read sensor register");
        }),
        HasSubstr("[000000] ERROR: ReadSensorReg(0x301a) Timeout 1, waiting for DMA "
                  "idle\n"));
}

TEST_F(TriggerFeatureTest, FailedFirstPulseLeavesThePulseToTheNextTrigger)
{
    zevo_sim::Misbehaviour failing;
    failing.failingTransfers[simulated.camera.TransferCount() + 2] = EREMOTEIO;
    simulated.camera.SetMisbehaviour(failing);
    EXPECT_THAT(errorOf([&] { feature.ExecuteSoftwareTrigger(TriggerSelector::FrameStart); }),
                HasSubstr("Remote I/O error"));
    EXPECT_THAT(transfersOf([](auto& f) { f.ExecuteSoftwareTrigger(TriggerSelector::FrameStart); }),
                ElementsAreArray(kLineHigh + kLineLow));
}

TEST_F(TriggerFeatureTest, LogsConfigurations)
{
    const auto use = [this] {
        feature.ConfigureTrigger({TriggerSelector::FrameStart, true,
                                  TriggerSourceType::PeriodicSignal, 0, TriggerActivation::LevelLow,
                                  2.5});
        feature.ConfigurePeriodicSignal(signal(12.5));
        feature.ExecuteSoftwareTrigger(TriggerSelector::FrameEnd);
    };
    expectLogged("7", "2", use,
                 AllOf(HasSubstr("[000002] DEBUG: ConfigureTrigger(selector=FrameStart, enabled=1, "
                                 "source=(PeriodicSignal, 0), activation=LevelLow, delay=2.5)\n"),
                       HasSubstr("[000002] DEBUG: ConfigurePeriodicSignal(index=0, "
                                 "source=(DigitalIoLine, 0), activation=LevelLow, delay=12.5)\n"),
                       HasSubstr("[000002] DEBUG: SetTriggerDelay(12.5us)\n"),
                       HasSubstr("[000002] DEBUG: SetTriggerActivation(LevelLow)\n"),
                       HasSubstr("[000002] DEBUG: ExecuteSoftwareTrigger(FrameEnd)\n")));
}

// The module hands triggers on: armed before the stream runs, taken back behind its stall.
TEST(CameraModuleTrigger, FramesTheRunOfTheStream)
{
    Idle idle;
    idle.camera.PokeIsp16(kTriggerControl, 0x0004);
    idle.module.ConfigureTrigger(trigger(TriggerSourceType::PeriodicSignal));
    const auto first = [](const Lines& lines, const char* line) {
        return std::find(lines.begin(), lines.end(), line) - lines.begin();
    };
    const Lines start = idle.transfersOf([&] { idle.module.AcquisitionStart(); });
    EXPECT_LT(first(start, "w 6110 0000"), first(start, "r 601a"));
    EXPECT_LT(first(start, "r 601a"), static_cast<std::ptrdiff_t>(start.size()));
    const Lines stop = idle.transfersOf([&] { idle.module.AcquisitionStop(); });
    EXPECT_LT(first(stop, "w 601a 0140"), first(stop, "w 1186 0080"));
    EXPECT_EQ(stop.back(), "w 6110 012c");

    EXPECT_THAT(idle.transfersOf([&] { idle.module.ConfigurePeriodicSignal(signal()); }),
                ElementsAre("w 1188 fffff600", "r 1186", "w 1186 0484"));
    EXPECT_EQ(idle.transfersOf([&] { idle.module.ExecuteSoftwareTrigger(3); }).size(), 8U);
    EXPECT_THAT(stderrOf([&] { idle.module.ExecuteSoftwareTrigger(4); }), HasSubstr("FrameEnd"));
}

} // namespace
