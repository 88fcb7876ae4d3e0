#include "module/sensor_register_access.h"

#include <gmock/gmock.h>

#include "opened_module.h"

namespace
{

using namespace mcm;
using testing::Each;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsSupersetOf;
using testing::Not;
using zevo_sim::Misbehaviour;

constexpr std::uint16_t kSip = 0x604A;
constexpr std::uint16_t kControl = 0x301A;

/// The sensor of a simulated camera whose ISP tells of a data width of 2 bytes.
class SensorRegisterAccessTest : public CameraTest<SimulatedModule>
{
protected:
    SensorRegisterAccessTest() : CameraTest(running())
    {
        poke({{kSip, 0x0274}});
        camera.PokeSensor(kControl, 0x1234);
        camera.ClearTransfers();
    }

    std::shared_ptr<McmDevice> control = controlDevice();
    IspSensor isp{control->getI2cDevice(60)};
    SensorRegisterAccess sensor{isp, clock};
    const Use read = [this] { sensor.ReadSensorReg(kControl); };
    const Use write = [this] { sensor.WriteSensorReg(kControl, 0x55AA); };
};

TEST_F(SensorRegisterAccessTest, ReadsAndWritesThroughTheEngine)
{
    expectTransfers({
        {[&] { EXPECT_EQ(sensor.ReadSensorReg(kControl), 0x1234); },
         {"r 604a", "r 60ac", "w 60a8 00000002", "w 60a0 0274301a", "w 60a4 000060a4",
          "w 60ac 0032", "r 60ac", "r 60a4", "r 60a6"}},
        {write,
         {"r 604a", "r 60ac", "w 60a8 00000002", "w 60a0 000055aa", "w 60a4 0274301a",
          "w 60ac 0301", "r 60ac"}},
    });
    EXPECT_EQ(camera.PeekSensor(kControl), 0x55AA);
    EXPECT_THAT(clock.sleeps, ElementsAre());
}

TEST_F(SensorRegisterAccessTest, NarrowSensorIsReportedAndReadByBytes)
{
    poke({{kSip, 0x0074}});
    EXPECT_THAT(stderrOf([&] { EXPECT_EQ(sensor.ReadSensorReg(kControl), 0x34); }),
                hasLines("[000000] WARNING: ", {"ReadSensorReg Unexpected sensor data width of 1 "
                                                "byte. Expected: 2"}));
    EXPECT_THAT(takeIspTransfers(), IsSupersetOf({"w 60a8 00000001", "w 60a0 0074301a"}));
    EXPECT_THAT(stderrOf(write),
                hasLines("[000000] WARNING: ", {"WriteSensorReg Unexpected sensor data width of 1 "
                                                "byte. Expected: 2"}));
    EXPECT_THAT(takeIspTransfers(), IsSupersetOf({"w 60a8 00000001", "w 60a4 0074301a"}));
}

TEST_F(SensorRegisterAccessTest, WaitsForABusyEngineInSteps)
{
    misbehave(&Misbehaviour::dmaReads, 99);
    EXPECT_EQ(sensor.ReadSensorReg(kControl), 0x1234);
    EXPECT_EQ(clock.sleeps.size(), 99U);
    EXPECT_THAT(clock.sleeps, Each(std::chrono::milliseconds(10)));
}

TEST_F(SensorRegisterAccessTest, EngineBusyBeyondASecondFails)
{
    const auto expectFailures = [this](const std::string& timeout) {
        EXPECT_THAT(stderrOf([&] { EXPECT_EQ(errorOf(read), "Cannot read sensor register"); }),
                    hasLines("[000000] ERROR: ", {"ReadSensorReg(0x301a) " + timeout}));
        EXPECT_THAT(stderrOf([&] { EXPECT_EQ(errorOf(write), "Cannot write sensor register"); }),
                    hasLines("[000000] ERROR: ", {"WriteSensorReg(0x301a) " + timeout}));
        EXPECT_EQ(clock.sleeps.size(), 200U);
        clock.sleeps.clear();
    };
    misbehave(&Misbehaviour::dmaReads, 100);
    expectFailures("Timeout 2, waiting for DMA idle");

    // An engine that is busy at the entry already is left alone.
    const FixedRegisters busy(*this, {{0x60AC, 0x0032}});
    takeIspTransfers();
    expectFailures("Timeout 1, waiting for DMA idle");
    EXPECT_THAT(takeIspTransfers(), Each(Not(HasSubstr("w "))));
}

TEST_F(SensorRegisterAccessTest, EveryFailedTransferIsPassedOn)
{
    for (const Use& use : {read, write}) {
        const std::uint64_t begin = camera.TransferCount();
        use();
        const std::uint64_t count = camera.TransferCount() - begin;
        for (std::uint64_t n = 1; n <= count; ++n) {
            const std::uint64_t last = camera.TransferCount() + n;
            failTransfer(n);
            EXPECT_THAT(errorOf(use), HasSubstr("Remote I/O error"));
            EXPECT_EQ(camera.TransferCount(), last) << "nothing behind the failure";
        }
    }
    EXPECT_EQ(sensor.ReadSensorReg(kControl), 0x55AA);
}

TEST_F(SensorRegisterAccessTest, LogsValuesInHexadecimal)
{
    const auto use = [this] {
        sensor.WriteSensorReg(kControl, 0xBEE0);
        sensor.ReadSensorReg(kControl);
        misbehave(&Misbehaviour::dmaReads, 1000);
        errorOf(read);
    };
    expectLogged(
        "7", "2", use,
        hasLines("[000002] DEBUG: ",
                 {"WriteSensorReg(0x301a:0xbee0)", "ReadSensorReg(0x301a)",
                  "ReadSensorReg(0x301a) returns 0xbee0", "WaitForDmaIdle Timeout, ctrlMode=0x2"}));
}

} // namespace
