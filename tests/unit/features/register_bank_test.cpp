#include "features/register_bank.h"

#include <gtest/gtest.h>

namespace GenTLProducer
{
namespace
{

TEST(RegisterBank, FirstValidIsTheLowestBit)
{
    const struct {
        std::int64_t index;
        std::uint32_t mask, result;
    } kCases[] = {
        {0, 1, 0},          {1, 1, 0},          {3, 0xE0, 5}, {6, 0xE0, 6},
        {31, 1u << 31, 31}, {0, 1u << 31, 31},  {32, 1, 0},   {33, 2, 1},
        {25, 0xE0, 5},      {0xFFFFFFFF, 4, 2}, {6, 0, 6},    {0xFFFFFFFF, 0, 0xFFFFFFFF},
    };
    for (const auto& c : kCases)
        EXPECT_EQ(FirstValid(c.index, c.mask), c.result) << c.index << " in " << c.mask;
}

TEST(RegisterBank, LimitsCutToTheGridBelow)
{
    const struct {
        std::int64_t requested;
        Limits limits;
        std::int64_t result;
    } kCases[] = {
        {97, {96, 2592, 8}, 96},
        {95, {96, 2592, 8}, 96},
        {103, {96, 2592, 8}, 96},
        {104, {96, 2592, 8}, 104},
        {0xFFFFFFFF, {96, 2590, 8}, 2584},
        {-5, {30, 100, 1}, 30},
        {999, {-1000000000, 1000000000, 1000}, 0},
        {-1, {-1000000000, 1000000000, 1000}, -1000},
        {2592, {96, 2592, 0}, 96},
        {0, {0, 0, 0}, 0},
        {2592, {96, 48, 8}, 48},
        {5, {96, 48, 8}, 96},
    };
    for (const auto& c : kCases)
        EXPECT_EQ(WithinLimits(c.requested, c.limits), c.result) << c.requested;
}

} // namespace
} // namespace GenTLProducer
