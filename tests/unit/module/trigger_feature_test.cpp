#include "module/trigger_feature.h"

#include <gmock/gmock.h>

#include "opened_module.h"

namespace
{

using namespace mcm;
using testing::ElementsAre;
using testing::HasSubstr;
using Selector = TriggerSelector;
using Source = TriggerSourceType;
using Activation = TriggerActivation;
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

TriggerConfiguration trigger(Source source, Activation activation = Activation::LevelHigh)
{
    constexpr double kDelay = 77.0; // of the trigger, which the ISP doesn't delay
    return {Selector::FrameStart, true, source, 0, activation, kDelay};
}

class TriggerFeatureTest : public CameraTest<SimulatedModule>
{
protected:
    TriggerFeatureTest() : CameraTest(running())
    {
        poke({{0x604A, 0x0274}, {kTriggerControl, 0x7304}, {0x6114, 0x8002}});
        camera.PokeSensor(kSensorControl, 0x10DC);
        isp.ADVANCED_BASE(0x002A0000);
        isp.write(0xE000, std::uint32_t{0x00010400});
    }

    void configure(Source source, Activation activation = Activation::LevelHigh)
    {
        feature.ConfigureTrigger(trigger(source, activation));
    }
    void configureSignal(double delay, Activation activation = Activation::LevelLow)
    {
        feature.ConfigurePeriodicSignal({0, delay, Source::DigitalIoLine, 0, activation});
    }

    std::shared_ptr<McmDevice> control = controlDevice();
    IspSensor isp{control->getI2cDevice(60)};
    TriggerFeature feature{isp, clock};
    const Use start = [this] { feature.AcquisitionStart(); };
    const Use stop = [this] { feature.AcquisitionStop(); };
    const Use fire = [this] { feature.ExecuteSoftwareTrigger(Selector::FrameStart); };
};

TEST_F(TriggerFeatureTest, ConfigurationsComeIntoForceByDelayAndPolarity)
{
    const Lines high = {"w 1188 00000000", "r 1186", "w 1186 7304"};
    const Lines low = {"w 1188 00000000", "r 1186", "w 1186 7704"};
    expectTransfers({
        {[&] { configure(Source::DigitalIoLine, Activation::LevelLow); }, low},
        {[&] { configure(Source::DigitalIoLine, Activation::LevelHigh); }, high},
        {[&] { configure(Source::Software, Activation::LevelLow); }, high},
        {[&] { configure(Source::Software, Activation::LevelHigh); }, high},
        {[&] { configureSignal(10.0); }, high},
        {[&] { configure(Source::PeriodicSignal); }, {"w 1188 fffff600", "r 1186", "w 1186 7704"}},
        {[&] { configure(Source::DigitalIoLine); }, high},
    });
}

TEST_F(TriggerFeatureTest, PeriodicSignalBringsItsDelayAndActivation)
{
    configure(Source::PeriodicSignal);
    const struct {
        double delay;
        Activation activation;
        Lines transfers;
    } cases[] = {
        {0.0, Activation::FallingEdge, {"w 1188 00000000", "r 1186", "w 1186 7704"}},
        {-10.0, Activation::RisingEdge, {"w 1188 00000a00", "r 1186", "w 1186 7304"}},
        {0.001953125, Activation::LevelLow, {"w 1188 ffffffff", "r 1186", "w 1186 7704"}},
        {1e6, Activation::LevelHigh, {"w 1188 f0bdc000", "r 1186", "w 1186 7304"}},
        {0.0019, Activation::LevelLow, {"w 1188 00000000", "r 1186", "w 1186 7704"}},
    };
    for (const auto& row : cases)
        expectTransfers({{[&] { configureSignal(row.delay, row.activation); }, row.transfers}});
    EXPECT_THROW(configureSignal(0.0, Activation::AnyEdge), std::range_error);
    EXPECT_EQ(errorOf([&] { configureSignal(0.0, Activation::AnyEdge); }),
              "TriggerActivation::AnyEdge not supported.");
}

TEST_F(TriggerFeatureTest, LineTriggerIsArmedAtStartAndTakenBackAtStop)
{
    const Lines arm = {"r 1186",      "w 1186 7307", "r 1186",      "w 1186 7387", "r 1186",
                       "w 1186 7383", "r 6114",      "w 6114 8000", "w 6110 0000"};
    const Lines takeBack = {"r 1186", "w 1186 7380", "r 1186",     "w 1186 7384",
                            "r 6114", "w 6114 8002", "w 6110 012c"};
    configure(Source::DigitalIoLine);
    expectTransfers({
        {start, kLineLow + arm + kReadSensor + writeSensor("10d8")},
        {stop, takeBack + kReadSensor + writeSensor("10dc")},
    });
    // A sensor that stands right is only read.
    configure(Source::Software);
    camera.PokeSensor(kSensorControl, 0x10D8);
    EXPECT_EQ(transfersOf(start).back(), kReadSensor.back());
    camera.PokeSensor(kSensorControl, 0x10DC);
    EXPECT_EQ(transfersOf(stop).back(), kReadSensor.back());
}

TEST_F(TriggerFeatureTest, PeriodicSignalLeavesTheSensorAlone)
{
    configure(Source::PeriodicSignal);
    expectTransfers({
        {start, kLineLow + Lines{"r 1186", "w 1186 7306", "r 1186", "w 1186 7386", "r 1186",
                                 "w 1186 7382", "r 6114", "w 6114 8000", "w 6110 0000"}},
        {stop,
         {"r 1186", "w 1186 7380", "r 1186", "w 1186 7384", "r 6114", "w 6114 8002",
          "w 6110 012c"}},
    });
}

TEST_F(TriggerFeatureTest, StartAndStopWithoutATriggerTouchNothing)
{
    expectTransfers({{start, {}}, {stop, {}}});
    TriggerConfiguration off = trigger(Source::DigitalIoLine);
    off.enabled = false;
    feature.ConfigureTrigger(off);
    expectTransfers({{start, {}}, {stop, {}}});
}

TEST_F(TriggerFeatureTest, FirstSoftwareTriggerIsAPulseAndLaterOnesALevel)
{
    // The pulse is left to the next trigger as long as it fails.
    for (const unsigned transfer : {2, 7}) {
        failTransfer(transfer);
        EXPECT_THAT(errorOf(fire), HasSubstr("Remote I/O error"));
    }
    clock.sleeps.clear();
    expectTransfers({{fire, kLineHigh + kLineLow}, {fire, kLineHigh}, {fire, kLineHigh}});
    EXPECT_THAT(clock.sleeps, ElementsAre(Milliseconds(2)));
}

TEST_F(TriggerFeatureTest, UnsupportedConfigurationsAreReportedOnly)
{
    constexpr Selector kStart = Selector::FrameStart;
    constexpr Source kLine = Source::DigitalIoLine;
    constexpr Activation kHigh = Activation::LevelHigh;
    constexpr Activation kLow = Activation::LevelLow;
    const std::pair<TriggerConfiguration, const char*> triggers[] = {
        {{Selector::FrameEnd, false, kLine, 0, Activation::RisingEdge, 0}, "activation RisingEdge"},
        {{kStart, false, kLine, 0, Activation::AnyEdge, 0}, "activation AnyEdge"},
        {{kStart, false, kLine, 0, Activation::FallingEdge, 0}, "activation FallingEdge"},
        {{Selector::ExposureActive, false, kLine, 1, kHigh, 0}, "selector ExposureActive"},
        {{kStart, false, Source::PeriodicSignal, 1, kHigh, 0}, "source: PeriodicSignal, 1"},
        {{kStart, false, static_cast<Source>(3), 0, kHigh, 0}, "source: 3, 0"},
    };
    const std::pair<PeriodicSignalConfiguration, const char*> signals[] = {
        {{1, 5.0, kLine, 0, kLow}, "index 1"},
        {{0, 5.0, Source::Software, 0, kLow}, "source: Software, 0"},
        {{0, 5.0, kLine, 2, kLow}, "source: DigitalIoLine, 2"},
    };
    configure(Source::PeriodicSignal);
    configureSignal(10.0);
    for (const auto& [wrong, what] : triggers)
        expectIgnored([&, wrong = wrong] { feature.ConfigureTrigger(wrong); },
                      std::string("ConfigureTrigger: ignore unsupported trigger ") + what);
    for (const auto& [wrong, what] : signals)
        expectIgnored([&, wrong = wrong] { feature.ConfigurePeriodicSignal(wrong); },
                      std::string("ConfigurePeriodicSignal: ignore unsupported periodic signal ") +
                          what);
    expectIgnored([&] { feature.ExecuteSoftwareTrigger(Selector::FrameEnd); },
                  "ExecuteSoftwareTrigger: ignore software trigger for unsupported trigger "
                  "selector FrameEnd");
    // The configuration from before stands: enabled, and by the periodic signal of 10 us.
    EXPECT_EQ(transfersOf(start).size(), 13U);
    configure(Source::PeriodicSignal);
    EXPECT_EQ(camera.PeekIsp32(0x1188), 0xFFFFF600);
}

TEST_F(TriggerFeatureTest, LogsConfigurations)
{
    const auto use = [this] {
        feature.ConfigureTrigger(
            {Selector::FrameStart, true, Source::PeriodicSignal, 0, Activation::LevelLow, 2.5});
        configureSignal(12.5);
        feature.ExecuteSoftwareTrigger(Selector::FrameEnd);
    };
    expectLogged(
        "7", "2", use,
        hasLines("[000002] DEBUG: ", {"ConfigureTrigger(selector=FrameStart, enabled=1, "
                                      "source=(PeriodicSignal, 0), activation=LevelLow, delay=2.5)",
                                      "ConfigurePeriodicSignal(index=0, source=(DigitalIoLine, 0), "
                                      "activation=LevelLow, delay=12.5)",
                                      "SetTriggerDelay(12.5us)", "SetTriggerActivation(LevelLow)",
                                      "ExecuteSoftwareTrigger(FrameEnd)"}));
}

TEST_F(TriggerFeatureTest, BusySensorEngineFailsStartAndStop)
{
    configure(Source::DigitalIoLine);
    const FixedRegisters busy(*this, {{0x60AC, 0x0001}});
    for (const Use& use : {start, stop}) {
        EXPECT_THAT(stderrOf([&] { EXPECT_EQ(errorOf(use), "Cannot read sensor register"); }),
                    hasLines("[000000] ERROR: ",
                             {"ReadSensorReg(0x301a) Timeout 1, waiting for DMA idle"}));
    }
}

// The module hands triggers on: armed before the stream runs, taken back behind its stall.
TEST_F(IdleTest, TriggersFrameTheRunOfTheStream)
{
    poke({{kTriggerControl, 0x0004}});
    module.ConfigureTrigger(trigger(Source::PeriodicSignal));
    const auto first = [](const Lines& lines, const char* line) {
        return std::find(lines.begin(), lines.end(), line) - lines.begin();
    };
    const Lines start = transfersOf([&] { module.AcquisitionStart(); });
    EXPECT_LT(first(start, "w 6110 0000"), first(start, "r 601a"));
    EXPECT_LT(first(start, "r 601a"), static_cast<std::ptrdiff_t>(start.size()));
    const Lines stop = transfersOf([&] { module.AcquisitionStop(); });
    EXPECT_LT(first(stop, "w 601a 0140"), first(stop, "w 1186 0080"));
    EXPECT_EQ(stop.back(), "w 6110 012c");

    const PeriodicSignalConfiguration signal = {0, 10.0, Source::DigitalIoLine, 0,
                                                Activation::LevelLow};
    expectTransfers({{[&] { module.ConfigurePeriodicSignal(signal); },
                      {"w 1188 fffff600", "r 1186", "w 1186 0484"}}});
    EXPECT_EQ(transfersOf([&] { module.ExecuteSoftwareTrigger(3); }).size(), 8U);
    EXPECT_THAT(stderrOf([&] { module.ExecuteSoftwareTrigger(4); }), HasSubstr("FrameEnd"));
}

} // namespace
