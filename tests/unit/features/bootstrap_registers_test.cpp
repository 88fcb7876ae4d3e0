#include "features/bootstrap_registers.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "recording_camera.h"

namespace GenTLProducer
{
namespace
{

using testing::ElementsAre;

class BootstrapRegistersTest : public testing::Test, protected OpenRegisters
{
};

TEST_F(BootstrapRegistersTest, ReadThroughToTheModule)
{
    const struct {
        std::uint32_t address;
        long size;           ///< on the bus
        std::uint32_t shown; ///< words in the register space
    } kCases[] = {
        {0x000, 4, 1}, {0x1C4, 8, 2}, {0x1CC, 4, 1}, {0x1D8, 8, 2},
        {0x1E0, 8, 1}, {0x1F0, 8, 2}, {0x1FC, 8, 2},
    };
    for (const auto& c : kCases) {
        const auto address = static_cast<std::uint16_t>(c.address);
        for (const std::uint32_t low : {0x05060708u, 0x15161718u}) {
            bridge->transfers.clear();
            c.size == 8 ? bridge->put(address, std::uint64_t{0x01020304} << 32 | low)
                        : bridge->put(address, low);
            std::uint32_t words[2] = {~0u, ~0u};
            EXPECT_EQ(root->read(c.address, words, 4 * c.shown), 0);
            EXPECT_EQ(loadLittleEndian<std::uint32_t>(words), low);
            EXPECT_EQ(words[1], c.shown == 2 ? 0u : ~0u);
            EXPECT_THAT(bridge->transfers, ElementsAre(Transfer{'r', c.address, c.size}));
        }
    }
}

TEST_F(BootstrapRegistersTest, ShowTheTexts)
{
    const std::string full(64, 'f');
    const struct {
        std::uint32_t address;
        std::string stored, shown;
    } kCases[] = {
        {0x004, "Tolmen", "Tolmen"},
        {0x044, "zvK1800-45tqr", "zvK1800-45tqr"},
        {0x0C4, "2.1", "2.1"},
        {0x104, full, full},
        {0x144, "SN:12345", "12345"},
        {0x144, "12345", "12345"},
        {0x144, "a:b:c", "b:c"},
        {0x144, ":", ""},
        {0x184, "my camera", "my camera"},
    };
    for (const auto& c : kCases) {
        bridge->memory.fill(0);
        bridge->putText(static_cast<std::uint16_t>(c.address), c.stored);
        std::string text(64, '?');
        EXPECT_EQ(root->read(c.address, text.data(), 64), 0);
        EXPECT_EQ(text, c.shown + std::string(64 - c.shown.size(), '\0'));
    }
}

TEST_F(BootstrapRegistersTest, WriteThroughToTheModule)
{
    bridge->putText(0x184, "old name");
    EXPECT_EQ(root->write(0x184, "new\0", 4), 0);
    EXPECT_EQ(std::string(&bridge->memory[0x184], &bridge->memory[0x1C4]),
              "new" + std::string(61, '\0'));
    EXPECT_EQ(bridge->transfers.back(), (Transfer{'w', 0x184, 64}));

    bridge->put(0x1E0, std::uint64_t{0x1111111122222222});
    EXPECT_EQ(write(0x1E0, 0x33334444), 0);
    EXPECT_EQ(bridge->get<std::uint64_t>(0x1E0), 0x33334444u);
    EXPECT_EQ(bridge->transfers.back(), (Transfer{'w', 0x1E0, 8}));

    EXPECT_EQ(write(0x1F8, 0xFFFFFFFF), 0);
    EXPECT_EQ(bridge->get<std::uint32_t>(0x1F8), 0xFFFFFFFFu);
    EXPECT_EQ(read(0x1F8), 0u);
    EXPECT_EQ(bridge->transfers.back(), (Transfer{'w', 0x1F8, 4}));
}

TEST_F(BootstrapRegistersTest, RefuseTheRest)
{
    std::uint8_t bytes[64] = {};
    const struct {
        std::uint32_t address, size;
        RegisterStatus read, write;
    } kCases[] = {
        {0x000, 4, 0, kProtected},
        {0x084, 4, kNoRegister, kNoRegister},
        {0x1D0, 8, kNoRegister, kNoRegister},
        {0x20C, 4, kNoRegister, kNoRegister},
        {0x1C4, 8, 0, kProtected},
        {0x210, 4, 0, 0},
        {0xFFFFFFF8, 4, 0, 0},
    };
    for (const auto& c : kCases) {
        EXPECT_EQ(root->read(c.address, bytes, c.size), c.read) << std::hex << c.address;
        EXPECT_EQ(root->write(c.address, bytes, c.size), c.write) << std::hex << c.address;
    }
    EXPECT_EQ(root->size(), 0xFFFFFFFCu);
}

} // namespace
} // namespace GenTLProducer
