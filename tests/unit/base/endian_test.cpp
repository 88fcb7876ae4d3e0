#include "base/endian.h"

#include <array>
#include <cstring>

#include <gtest/gtest.h>

namespace GenTLProducer
{

// The wire order must not depend on the host, nor on where in a buffer a value lies.
TEST(Endian, WritesAndReadsTheBytesOfEveryWidthAtAnOddAddress)
{
    std::array<std::uint8_t, 16> bytes{};
    const auto expect = [&](std::initializer_list<int> expected) {
        std::size_t i = 1;
        for (const int byte : expected)
            EXPECT_EQ(bytes[i++], byte);
    };
    storeBigEndian<std::uint64_t>(&bytes[1], 0x0102030405060708);
    expect({1, 2, 3, 4, 5, 6, 7, 8});
    EXPECT_EQ(loadBigEndian<std::uint64_t>(&bytes[1]), 0x0102030405060708u);
    EXPECT_EQ(loadLittleEndian<std::uint32_t>(&bytes[1]), 0x04030201u);
    storeLittleEndian<std::uint32_t>(&bytes[1], 0xA0B0C0D0);
    expect({0xD0, 0xC0, 0xB0, 0xA0, 5});
    EXPECT_EQ(loadBigEndian<std::uint16_t>(&bytes[1]), 0xD0C0u);
    storeBigEndian<std::uint8_t>(&bytes[1], 0xFE);
    expect({0xFE, 0xC0});
    EXPECT_EQ(loadLittleEndian<std::uint8_t>(&bytes[1]), 0xFEu);
}

} // namespace GenTLProducer
