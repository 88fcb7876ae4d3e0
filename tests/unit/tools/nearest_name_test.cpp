#include "genapi/nearest_name.h"

#include <gtest/gtest.h>

namespace zevo_tool
{
namespace
{

TEST(NearestName, FindsWhatWasMeant)
{
    const std::vector<std::string> names{"Width",          "WidthMax",     "Height",
                                         "Gain",           "GainAuto",     "PixelFormat",
                                         "TLParamsLocked", "ExposureTime", "Gamma"};
    const struct {
        const char* typed;
        const char* meant;
    } kRows[] = {
        {"Widht", "Width"},
        {"width", "Width"},
        {"Hight", "Height"},
        {"Gian", "Gain"},
        {"gainauto", "GainAuto"},
        {"format", "PixelFormat"},
        {"Exposure", "ExposureTime"},
        {"ParamsLocked", "TLParamsLocked"},
        {"Gama", "Gamma"},
        {"Brightness", ""},
        {"x", ""},
        {"", ""},
    };
    for (const auto& row : kRows)
        EXPECT_EQ(NearestName(row.typed, names), row.meant) << row.typed;
}

TEST(NearestName, SuggestsOnlyWhatItHasFound)
{
    EXPECT_EQ(Suggestion("Of", {"Off", "On", "Continuous"}), "; did you mean Off?");
    EXPECT_EQ(Suggestion("Elsewhere", {"Off", "On"}), "");
    EXPECT_EQ(Suggestion("Off", {}), "");
}

} // namespace
} // namespace zevo_tool
