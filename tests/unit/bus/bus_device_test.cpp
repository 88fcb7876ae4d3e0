#include "bus/bus_device.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <numeric>

#include "memory_bridge.h"

namespace
{

using namespace mcm;
using testing::ElementsAre;
using Bytes = std::vector<std::uint8_t>;

constexpr std::uint16_t kCci = 0x4000;
constexpr std::uint16_t kDevice = 0x0100;
constexpr std::uint16_t kWrapping = 0x8000; ///< at the last two addresses of the bus

class BusDeviceTest : public testing::Test
{
protected:
    BusDevice makeDevice(TransferLimits limits = {}) const
    {
        return deviceOn(bridge, limits, {{kCci, kDevice, 0x1000}, {0xFFFE, kWrapping, 2}});
    }
    Bytes bytesAt(std::uint16_t address, std::size_t count) const
    {
        const auto* begin = bridge->memory.data() + address;
        return Bytes(begin, begin + count);
    }

    std::shared_ptr<MemoryBridge> bridge = std::make_shared<MemoryBridge>();
};

TEST_F(BusDeviceTest, MapsByTheLastEntryAtOrBelowTheAddress)
{
    const struct {
        std::uint16_t address;
        unsigned cci;
        const char* error;
    } cases[] = {
        {0x0010, 0x8000, ""},
        {0x0020, 0x8010, ""},
        {0x0021, 0, "Device address 0x21 outside mapped range.\n"},
        {0x0FFF, 0, "Device address 0xfff outside mapped range.\n"},
        {0x1000, 0x0000, ""},
        {0x1010, 0x0010, ""},
        {0x1011, 0, "Device address 0x1011 outside mapped range.\n"},
        {0x000F, 0, "Unmapped device address 0xf requested."},
        {0xFFFF, 0xFFEF, ""},
    };
    // The second entry of a device address changes nothing.
    BusDevice device = deviceOn(bridge, {},
                                {{0x0000, 0x1000, 0x10},
                                 {0x8000, 0x0010, 0x10},
                                 {0xFFE0, 0xFFF0, 0x10000},
                                 {0x2000, 0x1000, 0x1000}});
    std::vector<Transfer> expected;
    for (const auto& row : cases) {
        std::uint8_t value = 0;
        EXPECT_EQ(errorOf([&] { device.read(row.address, &value); }), row.error) << row.address;
        if (!*row.error)
            expected.push_back({'r', row.cci, 1});
    }
    EXPECT_EQ(bridge->transfers, expected);
}

TEST_F(BusDeviceTest, AddressErrorsAreRangeErrorsAndTakeNoLock)
{
    BusDevice device = makeDevice();
    BusDevice empty = deviceOn(bridge, {}, {});
    EXPECT_THROW(device.write(0x0000, std::uint16_t{1}), std::range_error);
    EXPECT_THROW(device.readBlock(0x2000, nullptr, 1), std::range_error);
    EXPECT_THROW(empty.write(0x0000, std::uint16_t{1}), std::range_error);
    EXPECT_EQ(bridge->lockCount, 0U);
}

TEST_F(BusDeviceTest, CarriesEveryWidthMostSignificantByteFirst)
{
    BusDevice device = makeDevice({2, 2});
    const auto bytesOf = [&](auto value) {
        device.write(kDevice + 1, value);
        decltype(value) back = 0;
        device.read(kDevice + 1, &back);
        EXPECT_EQ(back, value);
        return bytesAt(kCci + 1, sizeof value);
    };
    EXPECT_EQ(bytesOf(std::uint8_t{0x11}), (Bytes{0x11}));
    EXPECT_EQ(bytesOf(std::uint16_t{0x8122}), (Bytes{0x81, 0x22}));
    EXPECT_EQ(bytesOf(std::uint32_t{0x84556677}), (Bytes{0x84, 0x55, 0x66, 0x77}));
    EXPECT_EQ(bytesOf(std::uint64_t{0x8899AABBCCDDEEFF}),
              (Bytes{0x88, 0x99, 0xAA, 0xBB, 0xCC, 0xDD, 0xEE, 0xFF}));
}

TEST_F(BusDeviceTest, CutsBlocksAtTheLimitsUnderOneLock)
{
    const struct {
        TransferLimits limits;
        std::uint16_t address;
        long size;
        std::vector<Transfer> pieces;
    } cases[] = {
        {{5, 4}, kDevice, 5, {{'w', kCci, 4}, {'w', kCci + 4, 1}, {'r', kCci, 5}}},
        {{0, 0}, kDevice, 256, {{'w', kCci, 256}, {'r', kCci, 256}}},
        {{2, 4}, kWrapping, 4, {{'w', 0xFFFE, 4}, {'r', 0xFFFE, 2}, {'r', 0x0000, 2}}},
        {{2, 2}, kDevice, 0, {}},
        {{2, 2}, kDevice, -1, {}},
    };
    Bytes sent(257);
    std::iota(sent.begin(), sent.end(), 1);
    for (const auto& row : cases) {
        SCOPED_TRACE(row.size);
        BusDevice device = makeDevice(row.limits);
        *bridge = {};
        device.writeBlock(row.address, sent.data(), row.size);
        Bytes received(std::max(row.size, 0L));
        device.readBlock(row.address, received.data(), row.size);
        EXPECT_TRUE(std::equal(received.begin(), received.end(), sent.begin()));
        EXPECT_EQ(bridge->transfers, row.pieces);
        EXPECT_EQ(bridge->lockCount, 2U);
        EXPECT_FALSE(bridge->isLocked);
    }
    EXPECT_EQ(errorOf([&] { makeDevice().writeBlock(kDevice, sent.data(), 257); }),
              "Illegal transfer size requested");
}

TEST_F(BusDeviceTest, FailedPieceUnlocksAndKeepsWhatWasSent)
{
    BusDevice device = makeDevice({2, 2});
    bridge->failingTransfer = 2;
    EXPECT_EQ(errorOf([&] { device.write(kDevice, std::uint32_t{0x01020304}); }), "no answer");
    EXPECT_FALSE(bridge->isLocked);
    EXPECT_EQ(bytesAt(kCci, 4), (Bytes{1, 2, 0, 0}));
}

TEST_F(BusDeviceTest, HandleThatWasMovedFromThrows)
{
    BusDevice device = makeDevice();
    BusDevice owner = std::move(device);
    std::uint64_t value = 0;
    // NOLINTNEXTLINE(bugprone-use-after-move): what this test is about
    EXPECT_EQ(errorOf([&] { device.read(kDevice, &value); }), "BusDevice no longer exists.");
    owner.read(kDevice, &value);
    EXPECT_EQ(bridge->lockCount, 1U);
}

TEST_F(BusDeviceTest, LogsTransfersAndTheirMapping)
{
    const auto use = [this] {
        BusDevice device = makeDevice();
        device.write(kDevice + 2, std::uint16_t{0xABCD});
        device.write(kDevice + 4, std::uint8_t{'A'});
        std::uint32_t value = 0;
        device.read(kDevice, &value);
    };
    expectLogged(
        "7", "0xffffffff", use,
        hasLines("", {"[000008] INFO: Add: Device <3> 0x100 to cci <2> 0x4000 range 0x1000.",
                      "[000004] DEBUG: I2C write <3> 0x102 = abcd (size: 2)",
                      "[000008] DEBUG: itMapping->DeviceAddressStart <3> 0x100",
                      "[000008] DEBUG: itMapping->AddressRangeSize   0x1000",
                      "[000008] DEBUG: itMapping->CciAddressStart    <2> 0x4000",
                      "[000008] DEBUG: DeviceAddress                 <3> 0x102",
                      "[000008] DEBUG: Mapping device  address <3> 0x102 to CCI adress <2> 0x4002.",
                      "[000004] DEBUG: I2C write <3> 0x104 = A (size: 1)",
                      "[000004] DEBUG: I2C read <3> 0x100 = abcd (size: 4)"}));
}

} // namespace
