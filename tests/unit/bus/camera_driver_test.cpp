#include "bus/camera_driver.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cerrno>
#include <cstring>
#include <system_error>

#include "bus/tolmen_camera_driver_bridge.h"
#include "memory_bridge.h"

namespace
{

using namespace mcm;
using GenTLProducer::UniqueFd;
using testing::HasSubstr;

/// Operations that tell the given version and answer nothing else.
OperationTable tableOfVersion(int result, unsigned short major, unsigned short minor)
{
    OperationTable table;
    table.version = [=](int, unsigned short* majorOut, unsigned short* minorOut) {
        *majorOut = major;
        *minorOut = minor;
        return result;
    };
    table.csi = [](int, tolmen_csi_information*) { return -ENOTTY; };
    table.device = [](int, tolmen_device_information*) { return -ENOTTY; };
    table.read = [](int, unsigned short, void*, long) {};
    table.write = [](int, unsigned short, const void*, long) {};
    return table;
}

UniqueFd anyNode()
{
    return UniqueFd(::open("/dev/null", O_RDWR));
}

CameraDriver driverWith(const OperationTable& table)
{
    return CameraDriver("/dev/video7", anyNode(), table, table);
}

TEST(CameraDriver, ChoosesTheFormThatAnswersItsVersion)
{
    const struct {
        int nativeResult;
        unsigned short nativeMajor, nativeMinor, controlMajor, controlMinor;
        const char* error;
    } cases[] = {
        {0, 1, 1, 0, 0, ""},
        {0, 1, 7, 0, 0, ""},
        {-ENOTTY, 0, 0, 1, 1, ""},
        {0, 0, 0, 1, 3, ""},
        {0, 1, 0, 1, 1, "Tolmen Interface version mismatch: expected: 1.1, got: 1.0"},
        {0, 2, 1, 1, 1, "Tolmen Interface version mismatch: expected: 1.1, got: 2.1"},
        {0, 0, 0, 0, 0, "Tolmen Interface version mismatch: expected: 1.1, got: 0.0"},
        {-ENOTTY, 1, 1, 2, 5, "Tolmen Interface version mismatch: expected: 1.1, got: 2.5"},
    };
    for (const auto& row : cases) {
        EXPECT_EQ(errorOf([&] {
                      CameraDriver driver(
                          "/dev/video7", anyNode(),
                          tableOfVersion(row.nativeResult, row.nativeMajor, row.nativeMinor),
                          tableOfVersion(0, row.controlMajor, row.controlMinor));
                  }),
                  row.error);
    }
}

TEST(CameraDriver, ReportsANodeThatDoesNotOpen)
{
    try {
        CameraDriver driver("/nowhere/video0");
        FAIL() << "opened";
    } catch (const std::system_error& error) {
        EXPECT_EQ(error.code(), std::error_code(ENOENT, std::generic_category()));
        EXPECT_STREQ(error.what(),
                     "Could not open camara device /nowhere/video0: No such file or directory");
    }
}

TEST(CameraDriver, RefusesANodeOfAnotherKind)
{
    EXPECT_EQ(errorOf([] { CameraDriver driver("/dev/null"); }),
              "Tolmen Interface version mismatch: expected: 1.1, got: 0.0");
}

TEST(CameraDriver, ClosesItsDescriptor)
{
    UniqueFd refused = anyNode();
    const int refusedFd = refused.get();
    const OperationTable wrong = tableOfVersion(0, 9, 9);
    EXPECT_THROW(CameraDriver("/dev/video7", std::move(refused), wrong, wrong), std::runtime_error);
    EXPECT_EQ(::fcntl(refusedFd, F_GETFD), -1);

    UniqueFd accepted = anyNode();
    const int acceptedFd = accepted.get();
    const OperationTable right = tableOfVersion(0, 1, 1);
    {
        CameraDriver driver("/dev/video7", std::move(accepted), right, right);
        const CameraDriver owner = std::move(driver);
        EXPECT_NE(::fcntl(acceptedFd, F_GETFD), -1);
    }
    EXPECT_EQ(::fcntl(acceptedFd, F_GETFD), -1);
}

TEST(CameraDriver, TellsTheCsiLink)
{
    OperationTable table = tableOfVersion(0, 1, 1);
    std::uint8_t lanes = 0;
    table.csi = [&lanes](int, tolmen_csi_information* information) {
        *information = {400000000, lanes, {4, 3, 2, 1}, {9, 9, 9}};
        return 0;
    };
    const CameraDriver driver = driverWith(table);
    for (lanes = 1; lanes <= 4; ++lanes) {
        const CsiConfiguration configuration = driver.getCsiConfiguration();
        EXPECT_EQ(configuration.laneDataRateBps, 800000000U);
        EXPECT_EQ(configuration.laneCount, lanes);
        for (unsigned i = 0; i < 4; ++i)
            EXPECT_EQ(configuration.laneAssignment[i], i < lanes ? 4 - i : 0);
        EXPECT_EQ(configuration.reserved, 0U);
    }
    for (const std::uint8_t wrong : {0, 5, 255}) {
        lanes = wrong;
        EXPECT_EQ(errorOf([&] { driver.getCsiConfiguration(); }),
                  "Invalid number of data lanes (" + std::to_string(wrong) +
                      ") configured: Invalid argument");
    }
}

TEST(CameraDriver, FailedCsiQueryReadsAsNoLanes)
{
    const CameraDriver driver = driverWith(tableOfVersion(0, 1, 1));
    EXPECT_THROW(driver.getCsiConfiguration(), std::system_error);
    EXPECT_THAT(errorOf([&] { driver.getCsiConfiguration(); }),
                HasSubstr("Invalid number of data lanes (0) configured"));
}

TEST(CameraDriver, TellsItsNamesThoughNoneEndsInsideItsField)
{
    OperationTable table = tableOfVersion(0, 1, 1);
    table.device = [](int, tolmen_device_information* told) {
        told->version = 0x00030004;
        char letter = 'a';
        for (char* name :
             {told->manufacturerName, told->modelName, told->familyName, told->deviceVersion,
              told->manufacturerInformation, told->serialNumber, told->userDefinedName})
            std::memset(name, letter++, sizeof told->modelName);
        return -EPIPE;
    };
    const DeviceInformation information = driverWith(table).getDeviceInformation();
    EXPECT_EQ(information.versionFirst, 3);
    EXPECT_EQ(information.versionSecond, 4);
    char letter = 'a';
    for (const std::string& name :
         {information.manufacturerName, information.modelName, information.familyName,
          information.deviceVersion, information.manufacturerInformation, information.serialNumber,
          information.userDefinedName})
        EXPECT_EQ(name, std::string(65, letter++));
}

TEST(CameraDriver, FailedDeviceQueryReadsAsNothing)
{
    const DeviceInformation information =
        driverWith(tableOfVersion(0, 1, 1)).getDeviceInformation();
    EXPECT_EQ(information.versionFirst, 0);
    EXPECT_EQ(information.modelName, "");
    EXPECT_EQ(information.serialNumber, "");
}

TEST(TolmenCameraDriverBridge, ForwardsToTheDriver)
{
    OperationTable table = tableOfVersion(0, 1, 1);
    std::vector<Transfer> transfers;
    table.read = [&](int, unsigned short address, void* data, long size) {
        transfers.push_back({'r', address, size});
        std::memset(data, 5, static_cast<std::size_t>(size));
    };
    table.write = [&](int, unsigned short address, const void*, long size) {
        transfers.push_back({'w', address, size});
    };
    TolmenCameraDriverBridge bridge(std::make_shared<CameraDriver>(driverWith(table)));
    char data[2] = {};
    bridge.lock();
    bridge.read(0x10, data, 2);
    bridge.write(0x20, data, 1);
    bridge.unlock();
    EXPECT_EQ(data[1], 5);
    EXPECT_THAT(transfers, testing::ElementsAre(Transfer{'r', 0x10, 2}, Transfer{'w', 0x20, 1}));
}

} // namespace
