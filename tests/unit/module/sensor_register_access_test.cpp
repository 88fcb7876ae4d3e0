#include "module/sensor_register_access.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cerrno>

#include "opened_module.h"

namespace
{

using namespace mcm;
using testing::AllOf;
using testing::Each;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

constexpr std::uint16_t kSip = 0x604A;
constexpr std::uint16_t kControl = 0x301A;

/// The sensor of a simulated camera whose ISP tells of a data width of 2 bytes.
class SensorRegisterAccessTest : public testing::Test
{
protected:
    void SetUp() override
    {
        simulated.camera.PokeIsp16(kSip, 0x0274);
        simulated.camera.PokeSensor(kControl, 0x1234);
        simulated.camera.ClearTransfers();
    }
    /// Reads of DMA_CTRL that show a busy engine behind each command.
    void setBusyReads(unsigned count)
    {
        zevo_sim::Misbehaviour slow;
        slow.dmaReads = count;
        simulated.camera.SetMisbehaviour(slow);
    }

    SimulatedModule simulated{running()};
    std::shared_ptr<McmDevice> control = simulated.controlDevice();
    IspSensor isp{control->getI2cDevice(60)};
    SensorRegisterAccess sensor{isp, simulated.clock};
};

TEST_F(SensorRegisterAccessTest, ReadsThroughTheEngine)
{
    EXPECT_EQ(sensor.ReadSensorReg(kControl), 0x1234);
    EXPECT_THAT(simulated.takeIspTransfers(),
                ElementsAre("r 604a", "r 60ac", "w 60a8 00000002", "w 60a0 0274301a",
                            "w 60a4 000060a4", "w 60ac 0032", "r 60ac", "r 60a4", "r 60a6"));
    EXPECT_THAT(simulated.clock.sleeps, ElementsAre());
}

TEST_F(SensorRegisterAccessTest, WritesThroughTheEngine)
{
    sensor.WriteSensorReg(kControl, 0xBEEF);
    EXPECT_THAT(simulated.takeIspTransfers(),
                ElementsAre("r 604a", "r 60ac", "w 60a8 00000002", "w 60a0 0000beef",
                            "w 60a4 0274301a", "w 60ac 0301", "r 60ac"));
    EXPECT_EQ(simulated.camera.PeekSensor(kControl), 0xBEEF);
}

TEST_F(SensorRegisterAccessTest, NarrowSensorIsReportedAndReadByBytes)
{
    simulated.camera.PokeIsp16(kSip, 0x0074);
    EXPECT_THAT(stderrOf([&] { EXPECT_EQ(sensor.ReadSensorReg(kControl), 0x34); }),
                HasSubstr("[000000] WARNING: ReadSensorReg Unexpected sensor data width of 1 byte. "
                          "Expected: 2\n"));
    EXPECT_THAT(simulated.takeIspTransfers(),
                testing::IsSupersetOf({"w 60a8 00000001", "w 60a0 0074301a"}));
    EXPECT_THAT(stderrOf([&] { sensor.WriteSensorReg(kControl, 0x12); }),
                HasSubstr("[000000] WARNING: WriteSensorReg Unexpected sensor data width of 1 "
                          "byte. Expected: 2\n"));
    EXPECT_THAT(simulated.takeIspTransfers(),
                testing::IsSupersetOf({"w 60a8 00000001", "w 60a4 0074301a"}));
}

TEST_F(SensorRegisterAccessTest, WaitsForABusyEngineInSteps)
{
    setBusyReads(99);
    EXPECT_EQ(sensor.ReadSensorReg(kControl), 0x1234);
    EXPECT_EQ(simulated.clock.sleeps.size(), 99U);
    EXPECT_THAT(simulated.clock.sleeps, Each(std::chrono::milliseconds(10)));
}

TEST_F(SensorRegisterAccessTest, EngineBusyBeyondASecondFails)
{
    setBusyReads(100);
    EXPECT_THAT(stderrOf([&] {
                    EXPECT_EQ(errorOf([&] { sensor.ReadSensorReg(kControl); }),
                              "Cannot read sensor register");
                }),
                HasSubstr("[000000] ERROR: ReadSensorReg(0x301a) Timeout 2, waiting for DMA "
                          "idle\n"));
    EXPECT_THAT(stderrOf([&] {
                    EXPECT_EQ(errorOf([&] { sensor.WriteSensorReg(kControl, 1); }),
                              "Cannot write sensor register");
                }),
                HasSubstr("[000000] ERROR: WriteSensorReg(0x301a) Timeout 2, waiting for DMA "
                          "idle\n"));
    EXPECT_EQ(simulated.clock.sleeps.size(), 200U);
}

TEST_F(SensorRegisterAccessTest, EngineBusyAtEntryIsLeftAlone)
{
    const FixedRegisters busy(simulated, {{0x60AC, 0x0032}});
    const struct {
        const char* line;
        const char* error;
        std::function<void()> use;
    } cases[] = {
        {"[000000] ERROR: ReadSensorReg(0x301a) Timeout 1, waiting for DMA idle\n",
         "Cannot read sensor register", [this] { sensor.ReadSensorReg(kControl); }},
        {"[000000] ERROR: WriteSensorReg(0x301a) Timeout 1, waiting for DMA idle\n",
         "Cannot write sensor register", [this] { sensor.WriteSensorReg(kControl, 1); }},
    };
    for (const auto& row : cases) {
        simulated.clock.sleeps.clear();
        EXPECT_THAT(stderrOf([&] { EXPECT_EQ(errorOf(row.use), row.error); }), HasSubstr(row.line));
        EXPECT_EQ(simulated.clock.sleeps.size(), 100U);
        EXPECT_THAT(simulated.takeIspTransfers(), Each(Not(HasSubstr("w "))));
    }
}

TEST_F(SensorRegisterAccessTest, EveryFailedTransferIsPassedOn)
{
    const std::function<void()> uses[] = {[this] { sensor.ReadSensorReg(kControl); },
                                          [this] { sensor.WriteSensorReg(kControl, 0x55AA); }};
    for (const auto& use : uses) {
        const std::uint64_t begin = simulated.camera.TransferCount();
        use();
        const std::uint64_t count = simulated.camera.TransferCount() - begin;
        for (std::uint64_t n = 1; n <= count; ++n) {
            zevo_sim::Misbehaviour failing;
            const std::uint64_t last = simulated.camera.TransferCount() + n;
            failing.failingTransfers[last] = EREMOTEIO;
            simulated.camera.SetMisbehaviour(failing);
            EXPECT_THAT(errorOf(use), HasSubstr("Remote I/O error"));
            EXPECT_EQ(simulated.camera.TransferCount(), last) << "nothing behind the failure";
        }
    }
    EXPECT_EQ(sensor.ReadSensorReg(kControl), 0x55AA);
}

TEST_F(SensorRegisterAccessTest, LogsValuesInHexadecimal)
{
    const auto use = [this] {
        sensor.WriteSensorReg(kControl, 0xBEE0);
        sensor.ReadSensorReg(kControl);
        setBusyReads(1000);
        errorOf([this] { sensor.ReadSensorReg(kControl); });
    };
    expectLogged("7", "2", use,
                 AllOf(HasSubstr("[000002] DEBUG: WriteSensorReg(0x301a:0xbee0)\n"),
                       HasSubstr("[000002] DEBUG: ReadSensorReg(0x301a)\n"),
                       HasSubstr("[000002] DEBUG: ReadSensorReg(0x301a) returns 0xbee0\n"),
                       HasSubstr("[000002] DEBUG: WaitForDmaIdle Timeout, ctrlMode=0x2\n")));
}

} // namespace
