#include "genapi/value_text.h"

#include <gtest/gtest.h>

#include <cfloat>

namespace zevo_tool
{
namespace
{

TEST(ValueText, ReadsIntegers)
{
    const struct {
        const char* text;
        std::optional<std::int64_t> value;
    } kRows[] = {
        {"0", 0},
        {"-12", -12},
        {"+7", 7},
        {"010", 10},
        {"0x1F", 31},
        {"-0x10", -16},
        {"9223372036854775807", INT64_MAX},
        {"-9223372036854775808", INT64_MIN},
        {"9223372036854775808", std::nullopt},
        {"-9223372036854775809", std::nullopt},
        {"", std::nullopt},
        {"-", std::nullopt},
        {"0x", std::nullopt},
        {"1.5", std::nullopt},
        {"12 ", std::nullopt},
        {"--1", std::nullopt},
    };
    for (const auto& row : kRows)
        EXPECT_EQ(ParseInteger(row.text), row.value) << row.text;
}

TEST(ValueText, ReadsNumbersAndBooleans)
{
    EXPECT_EQ(ParseFloat("1.5"), 1.5);
    EXPECT_EQ(ParseFloat("+2e3"), 2000.0);
    EXPECT_EQ(ParseFloat("-7"), -7.0);
    for (const char* text : {"", "1,5", "nan", "inf", "1.5 ", "x", "+-1"})
        EXPECT_FALSE(ParseFloat(text).has_value()) << text;
    for (const char* text : {"true", "1", "ON", "Yes"})
        EXPECT_EQ(ParseBoolean(text), true) << text;
    for (const char* text : {"False", "0", "off", "no"})
        EXPECT_EQ(ParseBoolean(text), false) << text;
    EXPECT_FALSE(ParseBoolean("2").has_value());
    EXPECT_FALSE(ParseBoolean("").has_value());
}

TEST(ValueText, WritesNumbersForPeopleAndExactly)
{
    EXPECT_EQ(FormatFloat(255.9), "255.9");
    EXPECT_EQ(FormatFloat(1.0 / 3.0), "0.333333333");
    EXPECT_EQ(FormatFloat(-20.0), "-20");
    for (const double value : {1.0 / 3.0, 0.1, 1.6767578125, DBL_MAX, -DBL_MIN})
        EXPECT_EQ(ParseFloat(FormatFloatExactly(value)), value);
    EXPECT_EQ(FormatHex(0x210001f), "0x210001f");
}

} // namespace
} // namespace zevo_tool
