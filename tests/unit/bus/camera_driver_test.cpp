#include "bus/camera_driver.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstring>
#include <system_error>

#include "memory_bridge.h"

namespace
{

using namespace mcm;
using GenTLProducer::UniqueFd;

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
    return table;
}

CameraDriver driverWith(const OperationTable& native, const OperationTable& control)
{
    return CameraDriver("/dev/video7", UniqueFd(), native, control);
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
                      driverWith(tableOfVersion(row.nativeResult, row.nativeMajor, row.nativeMinor),
                                 tableOfVersion(0, row.controlMajor, row.controlMinor));
                  }),
                  row.error);
    }
}

TEST(CameraDriver, RefusesWhatIsNoNodeOfItsKind)
{
    const auto open = [] { CameraDriver driver("/nowhere/video0"); };
    EXPECT_EQ(errorOf(open),
              "Could not open camara device /nowhere/video0: No such file or directory");
    EXPECT_THROW(open(), std::system_error);
    EXPECT_EQ(errorOf([] { CameraDriver driver("/dev/null"); }),
              "Tolmen Interface version mismatch: expected: 1.1, got: 0.0");
}

TEST(CameraDriver, TellsTheCsiLink)
{
    OperationTable table = tableOfVersion(0, 1, 1);
    std::uint8_t lanes = 0;
    table.csi = [&lanes](int, tolmen_csi_information* information) {
        if (lanes == 0)
            return -ENOTTY;
        *information = {400000000, lanes, {4, 3, 2, 1}, {9, 9, 9}};
        return 0;
    };
    const CameraDriver driver = driverWith(table, table);
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
        EXPECT_THROW(driver.getCsiConfiguration(), std::system_error);
        EXPECT_EQ(errorOf([&] { driver.getCsiConfiguration(); }),
                  "Invalid number of data lanes (" + std::to_string(wrong) +
                      ") configured: Invalid argument");
    }
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
    const DeviceInformation information = driverWith(table, table).getDeviceInformation();
    EXPECT_EQ(information.versionFirst, 3);
    EXPECT_EQ(information.versionSecond, 4);
    char letter = 'a';
    for (const std::string& name :
         {information.manufacturerName, information.modelName, information.familyName,
          information.deviceVersion, information.manufacturerInformation, information.serialNumber,
          information.userDefinedName})
        EXPECT_EQ(name, std::string(65, letter++));

    const OperationTable silent = tableOfVersion(0, 1, 1);
    const DeviceInformation nothing = driverWith(silent, silent).getDeviceInformation();
    EXPECT_EQ(nothing.versionFirst, 0);
    EXPECT_EQ(nothing.modelName + nothing.serialNumber, "");
}

} // namespace
