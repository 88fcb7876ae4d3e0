#include "bus/mcm_device.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>

#include "memory_bridge.h"

namespace
{

using namespace mcm;
using testing::ElementsAre;
using testing::HasSubstr;

constexpr std::uint16_t kBlock = 0x2000; ///< CCI address of the register block
constexpr std::uint16_t kSections = kBlock + 0x140;
constexpr std::uint16_t kFirmware = kBlock + 0x50;
constexpr char kNoI2cDevice[] = "Could not find requested MCM section of type 6.";
constexpr char kNoTriggerDevice[] = "Could not find requested MCM section of type 7.";

/// A module with a register block of interface 2.0, both limits 64, and no sections.
class McmDeviceTest : public testing::Test
{
protected:
    McmDeviceTest()
    {
        bridge->put(0x01D8, std::uint64_t{kBlock});
        bridge->put(kBlock + 0x00, std::uint32_t{0x00020000});
        bridge->put(kBlock + 0x14, std::uint32_t{64});
        bridge->put(kBlock + 0x18, std::uint32_t{64});
        bridge->putText(kFirmware, "p=x/s=r/v=1.2/h=abc");
    }

    /// Appends a section whose words begin with size, type and format.
    void addSection(const std::vector<std::uint16_t>& words)
    {
        for (std::size_t i = 0; i < words.size(); ++i)
            bridge->put(static_cast<std::uint16_t>(kSections + listSize + 2 * i), words[i]);
        listSize += words.front();
        bridge->put(kBlock + 0x13C, listSize);
    }
    std::vector<Transfer> transfersOf(const std::function<void()>& use)
    {
        bridge->transfers.clear();
        use();
        return bridge->transfers;
    }

    std::shared_ptr<MemoryBridge> bridge = std::make_shared<MemoryBridge>();
    std::uint32_t listSize = 0;
};

TEST_F(McmDeviceTest, OpensInTheToldOrder)
{
    const McmDevice device(bridge);
    EXPECT_THAT(bridge->transfers,
                ElementsAre(Transfer{'r', 0x01D8, 8}, Transfer{'r', kBlock, 4},
                            Transfer{'r', kBlock + 0x14, 4}, Transfer{'r', kBlock + 0x18, 4},
                            Transfer{'r', kFirmware, 64}, Transfer{'r', kFirmware + 64, 64},
                            Transfer{'r', kFirmware + 128, 64},
                            Transfer{'r', kFirmware + 192, 44}));
    EXPECT_EQ(bridge->lockCount, 5U);
    EXPECT_EQ(device.getFirmwareVersion(), "p=x/s=r/v=1.2/h=abc");
}

TEST_F(McmDeviceTest, AcceptsInterfaceTwoOnly)
{
    const struct {
        std::uint32_t version;
        const char* error;
    } cases[] = {
        {0x00020000, ""},
        {0x00020007, ""},
        {0x00010009, "ZEVO version mismatch, expected 2.0, connected: 1.9"},
        {0x00030000, "ZEVO version mismatch, expected 2.0, connected: 3.0"},
        {0xFFFFFFFF, "ZEVO version mismatch, expected 2.0, connected: 65535.65535"},
    };
    for (const auto& row : cases) {
        bridge->put(kBlock, row.version);
        EXPECT_EQ(errorOf([&] { McmDevice device(bridge); }), row.error);
    }
}

TEST_F(McmDeviceTest, FirmwareTextEndsAtNulOrAtItsField)
{
    bridge->putText(kFirmware, std::string(236, 'f') + "beyond");
    EXPECT_EQ(McmDevice(bridge).getFirmwareVersion(), std::string(236, 'f'));
    bridge->put(kFirmware, std::uint8_t{0});
    EXPECT_THAT(stderrOf([&] { EXPECT_EQ(McmDevice(bridge).getFirmwareVersion(), ""); }),
                HasSubstr("[000000] WARNING: Empty MCM Firmware Version String.\n"));
}

// Example failure: an open that carries on with a version that it hasn't read.
TEST_F(McmDeviceTest, FailedTransfersEndTheOpeningButForTheLimits)
{
    const struct {
        unsigned transfer;
        const char* error;
        const char* warning;
    } cases[] = {
        {1, "no answer", ""},
        {2, "no answer", ""},
        {3, "", "WARNING: Could net set maximum write length.\n"},
        {5, "no answer", ""},
        {8, "no answer", ""},
        {4, "", "WARNING: Could net set maximum read length.\n"},
    };
    for (const auto& row : cases) {
        SCOPED_TRACE(row.transfer);
        bridge->transfers.clear();
        bridge->failingTransfer = row.transfer;
        EXPECT_THAT(
            stderrOf([&] { EXPECT_EQ(errorOf([&] { McmDevice device(bridge); }), row.error); }),
            HasSubstr(row.warning));
        EXPECT_FALSE(bridge->isLocked);
    }
    EXPECT_EQ(bridge->transfers.back(), (Transfer{'r', kFirmware, 236})) << "without a limit";
}

TEST_F(McmDeviceTest, BlockAtTheEndOfTheBusEndsThere)
{
    bridge->memory.fill(0);
    bridge->put(0x01D8, std::uint64_t{0x12340000FF00});
    bridge->put(0xFF00, std::uint32_t{0x00020000});
    bridge->putText(0xFF50, "v");
    const McmDevice device(bridge);
    EXPECT_EQ(errorOf([&] { device.getI2cDevice(60); }),
              "Device address 0x13c outside mapped range.\n");
}

TEST_F(McmDeviceTest, ResetWritesOneUnlessTheHandleWasMovedFrom)
{
    McmDevice device(bridge);
    McmDevice owner = std::move(device);
    // NOLINTNEXTLINE(bugprone-use-after-move): what this test is about
    EXPECT_EQ(errorOf([&] { device.resetDevice(); }), "McmDevice no longer exists.");
    EXPECT_THAT(transfersOf([&] { owner.resetDevice(); }),
                ElementsAre(Transfer{'w', kBlock + 0x34, 4}));
    EXPECT_EQ(bridge->get<std::uint32_t>(kBlock + 0x34), 1U);
}

TEST_F(McmDeviceTest, BootstrapDeviceSeesTheBusAsItIs)
{
    BusDevice device = McmDevice(bridge).getBootstrapDevice();
    std::uint64_t value = 0;
    EXPECT_THAT(transfersOf([&] {
                    device.read(0x01D8, &value);
                    device.write(0xFFFF, std::uint8_t{1});
                }),
                ElementsAre(Transfer{'r', 0x01D8, 8}, Transfer{'w', 0xFFFF, 1}));
}

TEST_F(McmDeviceTest, FindsTheI2cDeviceInTheToldOrder)
{
    addSection({8, 9, 0x0100, 0});
    addSection({16, 6, 0x0100, 1, 0x10, 0x5000, 0x100, 0x0000});
    addSection({22, 6, 0x0100, 2, 0x3C, 0x6000, 0x0FFF, 0x0000, 0x8000, 0x1FFF, 0x1000});
    const McmDevice device(bridge);
    bridge->transfers.clear();
    BusDevice isp = device.getI2cDevice(60);
    // Of every section size and type; of the type's format and address; then the entries.
    std::vector<Transfer> expected = {{'r', kBlock + 0x13C, 4}};
    for (const unsigned offset : {0, 2, 8, 10, 12, 16, 24, 26, 28, 32, 30, 34, 36, 38, 40, 42, 44})
        expected.push_back({'r', kSections + offset, 2});
    EXPECT_EQ(bridge->transfers, expected);

    EXPECT_THAT(transfersOf([&] { isp.write(0x0010, std::uint32_t{1}); }),
                ElementsAre(Transfer{'w', 0x6010, 4}));
    std::uint32_t value = 0;
    EXPECT_THAT(transfersOf([&] { isp.read(0x1010, &value); }),
                ElementsAre(Transfer{'r', 0x8010, 2}, Transfer{'r', 0x8012, 2}));
}

TEST_F(McmDeviceTest, PassesOverSectionsOfUnknownFormat)
{
    addSection({16, 6, 0x0200, 1, 0x3C, 0x5000, 0x100, 0x0000});
    addSection({16, 6, 0x0107, 1, 0x3C, 0x6000, 0x100, 0x0000});
    EXPECT_THAT(stderrOf([&] { McmDevice(bridge).getI2cDevice(60).write(0, std::uint8_t{1}); }),
                HasSubstr("ERROR: Version incompatible, need at least 1.0, connected: 2.0\n"));
    EXPECT_EQ(bridge->transfers.back(), (Transfer{'w', 0x6000, 1}));
}

TEST_F(McmDeviceTest, CountsGenericDevicesFromZero)
{
    addSection({10, 0, 0x0100, 0x5000, 0x10});
    addSection({6, 3, 0x0100});
    addSection({10, 0, 0x0100, 0x6000, 0x10});
    const McmDevice device(bridge);
    BusDevice second = device.getGenericDevice(1);
    EXPECT_THAT(transfersOf([&] { second.write(0x10, std::uint8_t{1}); }),
                ElementsAre(Transfer{'w', 0x6010, 1}));
    EXPECT_EQ(errorOf([&] { device.getGenericDevice(2); }),
              "Could not find requested MCM section of type 0.");
}

TEST_F(McmDeviceTest, TriggerDeviceIsItsSection)
{
    addSection({6, 3, 0x0100});
    addSection({30, 7, 0x0100, 0x1234, 0xAAAA, 0xBBBB});
    TriggerDevice trigger = McmDevice(bridge).getTriggerDevice();
    EXPECT_EQ(trigger.read(TriggerRegister16::At6), 0x1234);
    EXPECT_EQ(trigger.read(TriggerRegister32::At8), 0xAAAABBBB);
    EXPECT_EQ(bridge->transfers.back().size, 4) << "the module itself, behind no chip";
    trigger.write(TriggerRegister16::FlagAt20, 1);
    trigger.write(TriggerRegister32::At24, 7);
    EXPECT_EQ(bridge->get<std::uint16_t>(kSections + 6 + 20), 1);
    EXPECT_EQ(bridge->get<std::uint32_t>(kSections + 6 + 24), 7U);
    const TriggerDevice owner = std::move(trigger);
    // NOLINTNEXTLINE(bugprone-use-after-move): what this check is about
    EXPECT_EQ(errorOf([&] { trigger.read(TriggerRegister16::At22); }),
              "TriggerDevice no longer exists.");
}

TEST_F(McmDeviceTest, ReportsMissingSections)
{
    const McmDevice device(bridge);
    addSection({16, 6, 0x0100, 1, 0x10, 0x5000, 0x100, 0x0000});
    EXPECT_EQ(errorOf([&] { device.getI2cDevice(60); }), kNoI2cDevice);
    EXPECT_EQ(errorOf([&] { device.getTriggerDevice(); }), kNoTriggerDevice);

    // Without entries it is there, but maps nothing.
    addSection({10, 6, 0x0100, 0, 0x3C});
    EXPECT_EQ(errorOf([&] { device.getI2cDevice(60).write(0, std::uint8_t{1}); }),
              "Unmapped device address 0x0 requested.");
}

TEST_F(McmDeviceTest, SectionShorterThanItsHeaderEndsTheList)
{
    const McmDevice device(bridge);
    addSection({10, 6, 0x0100, 0, 0x3C});
    bridge->put(kBlock + 0x13C, std::uint32_t{0xFFFFFFFF});
    for (const std::uint16_t size : {0, 1, 5}) {
        bridge->put(kSections, size);
        const auto transfers = transfersOf(
            [&] { EXPECT_EQ(errorOf([&] { device.getI2cDevice(60); }), kNoI2cDevice); });
        EXPECT_EQ(transfers.size(), 3U);
    }
}

// A list without end all over the bus: a walk stays within one round.
TEST_F(McmDeviceTest, EveryWalkEnds)
{
    bridge->put(0x01D8, std::uint64_t{0});
    bridge->put(0x0000, std::uint32_t{0x00020000});
    const McmDevice device(bridge);
    for (const std::uint16_t size : {6, 8, 0x100}) {
        for (unsigned address = 0; address < bridge->memory.size(); address += 2)
            bridge->put(static_cast<std::uint16_t>(address), size);
        bridge->put(0x13C, std::uint32_t{0xFFFFFFFF});
        const auto transfers = transfersOf(
            [&] { EXPECT_EQ(errorOf([&] { device.getTriggerDevice(); }), kNoTriggerDevice); });
        EXPECT_EQ(transfers.size(), 1U + 2 * ((0x10000U + size - 1) / size));
    }
}

} // namespace
