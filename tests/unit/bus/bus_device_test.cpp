#include "bus/bus_device.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "bus/bus_device_implementation.h"
#include "memory_bridge.h"

namespace
{

using namespace mcm;
using testing::ElementsAre;
using testing::HasSubstr;
using Bytes = std::vector<std::uint8_t>;

constexpr std::uint16_t kCci = 0x4000;
constexpr std::uint16_t kDevice = 0x0100;

class BusDeviceTest : public testing::Test
{
protected:
    BusDevice makeDevice(TransferLimits limits, std::initializer_list<MappingEntry> entries)
    {
        auto implementation =
            std::make_unique<BusDeviceImplementation>(ChunkedConnection(bridge, limits));
        for (const MappingEntry& entry : entries)
            implementation->addMapping(entry);
        return BusDevice(std::move(implementation));
    }
    BusDevice makeDevice(TransferLimits limits = {})
    {
        return makeDevice(limits, {{kCci, kDevice, 0x1000}});
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
    BusDevice device =
        makeDevice({}, {{0x0000, 0x1000, 0x10}, {0x8000, 0x0010, 0x10}, {0xFFE0, 0xFFF0, 0x10000}});
    for (const auto& row : cases) {
        SCOPED_TRACE(row.address);
        bridge->transfers.clear();
        std::uint8_t value = 0;
        EXPECT_EQ(errorOf([&] { device.read(row.address, &value); }), row.error);
        if (*row.error)
            EXPECT_THAT(bridge->transfers, ElementsAre());
        else
            EXPECT_THAT(bridge->transfers, ElementsAre(Transfer{'r', row.cci, 1}));
    }
}

TEST_F(BusDeviceTest, AddressErrorsAreRangeErrorsAndTakeNoLock)
{
    BusDevice device = makeDevice();
    BusDevice empty = makeDevice({}, {});
    EXPECT_THROW(device.write(0x0000, std::uint16_t{1}), std::range_error);
    EXPECT_THROW(device.readBlock(0x2000, nullptr, 1), std::range_error);
    EXPECT_THROW(empty.write(0x0000, std::uint16_t{1}), std::range_error);
    EXPECT_EQ(bridge->lockCount, 0U);
}

TEST_F(BusDeviceTest, SecondEntryOfADeviceAddressChangesNothing)
{
    BusDevice device = makeDevice({}, {{0x1000, 0, 4}, {0x2000, 0, 0x100}});
    device.write(4, std::uint8_t{7});
    EXPECT_THAT(bridge->transfers, ElementsAre(Transfer{'w', 0x1004, 1}));
    EXPECT_THROW(device.write(5, std::uint8_t{7}), std::range_error);
}

TEST_F(BusDeviceTest, WritesMostSignificantByteFirst)
{
    BusDevice device = makeDevice();
    device.write(kDevice, std::uint8_t{0x11});
    device.write(kDevice + 1, std::uint16_t{0x2233});
    device.write(kDevice + 3, std::uint32_t{0x44556677});
    device.write(kDevice + 7, std::uint64_t{0x8899AABBCCDDEEFF});
    EXPECT_EQ(bytesAt(kCci, 15), (Bytes{0x11, 0x22, 0x33, 0x44, 0x55, 0x66, 0x77, 0x88, 0x99, 0xAA,
                                        0xBB, 0xCC, 0xDD, 0xEE, 0xFF}));
    EXPECT_EQ(bridge->lockCount, 4U);
    EXPECT_FALSE(bridge->isLocked);
}

TEST_F(BusDeviceTest, ReadsBackEveryWidth)
{
    BusDevice device = makeDevice({2, 2});
    bridge->put(kCci, std::uint64_t{0x8899AABBCCDDEEFF});
    const auto readAs = [&](auto value) -> std::uint64_t {
        device.read(kDevice, &value);
        return value;
    };
    EXPECT_EQ(readAs(std::uint8_t{}), 0x88U);
    EXPECT_EQ(readAs(std::uint16_t{}), 0x8899U);
    EXPECT_EQ(readAs(std::uint32_t{}), 0x8899AABBU);
    EXPECT_EQ(readAs(std::uint64_t{}), 0x8899AABBCCDDEEFFU);
}

TEST_F(BusDeviceTest, CutsBlocksAtTheLimitsUnderOneLock)
{
    BusDevice device = makeDevice({5, 4});
    const Bytes sent{1, 2, 3, 4, 5, 6, 7, 8, 9};
    device.writeBlock(kDevice, sent.data(), 9);
    Bytes received(9);
    device.readBlock(kDevice, received.data(), 9);
    EXPECT_EQ(received, sent);
    EXPECT_THAT(bridge->transfers, ElementsAre(Transfer{'w', kCci, 4}, Transfer{'w', kCci + 4, 4},
                                               Transfer{'w', kCci + 8, 1}, Transfer{'r', kCci, 5},
                                               Transfer{'r', kCci + 5, 4}));
    EXPECT_EQ(bridge->lockCount, 2U);
}

TEST_F(BusDeviceTest, LimitZeroSendsABlockInOnePiece)
{
    BusDevice device = makeDevice();
    Bytes block(257);
    device.writeBlock(kDevice, block.data(), 256);
    EXPECT_THAT(bridge->transfers, ElementsAre(Transfer{'w', kCci, 256}));
    EXPECT_EQ(errorOf([&] { device.writeBlock(kDevice, block.data(), 257); }),
              "Illegal transfer size requested");
}

TEST_F(BusDeviceTest, EmptyBlocksOnlyTakeTheLock)
{
    BusDevice device = makeDevice();
    device.writeBlock(kDevice, nullptr, 0);
    device.readBlock(kDevice, nullptr, -1);
    EXPECT_THAT(bridge->transfers, ElementsAre());
    EXPECT_EQ(bridge->lockCount, 2U);
    EXPECT_FALSE(bridge->isLocked);
}

TEST_F(BusDeviceTest, RunningAddressWrapsAtTheEndOfTheBus)
{
    BusDevice device = makeDevice({2, 2}, {{0xFFFE, 0, 2}});
    device.write(0, std::uint32_t{0x01020304});
    EXPECT_THAT(bridge->transfers, ElementsAre(Transfer{'w', 0xFFFE, 2}, Transfer{'w', 0x0000, 2}));
    EXPECT_EQ(bytesAt(0, 2), (Bytes{3, 4}));
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
    EXPECT_EQ(errorOf([&] { device.writeBlock(kDevice, &value, 1); }),
              "BusDevice no longer exists.");
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
        AllOf(HasSubstr("[000008] INFO: Add: Device <3> 0x100 to cci <2> 0x4000 range 0x1000.\n"),
              HasSubstr("[000004] DEBUG: I2C write <3> 0x102 = abcd (size: 2)\n"),
              HasSubstr("[000008] DEBUG: itMapping->DeviceAddressStart <3> 0x100\n"),
              HasSubstr("[000008] DEBUG: itMapping->AddressRangeSize   0x1000\n"),
              HasSubstr("[000008] DEBUG: itMapping->CciAddressStart    <2> 0x4000\n"),
              HasSubstr("[000008] DEBUG: DeviceAddress                 <3> 0x102\n"),
              HasSubstr("[000008] DEBUG: Mapping device  address <3> 0x102 to CCI adress "
                        "<2> 0x4002.\n"),
              HasSubstr("[000004] DEBUG: I2C write <3> 0x104 = A (size: 1)\n"),
              HasSubstr("[000004] DEBUG: I2C read <3> 0x100 = abcd (size: 4)\n")));
}

} // namespace
