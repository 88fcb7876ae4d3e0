#include "data/camera_data.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace
{

using namespace mcm;

TEST(CameraData, CarriesAWholeImage)
{
    const auto image = firmwareImage();
    ASSERT_EQ(image.size(), 76144U);
    EXPECT_NE(std::count(image.begin(), image.end(), 0), 76144) << "an empty image";
    if (kFirmwareIsStandIn) {
        EXPECT_TRUE(std::equal(image.end() - 16, image.end(), "stand-in 012960\n"));
    }
}

TEST(CameraData, PllRowsKeepTheirColumns)
{
    const PllRow* row =
        std::find_if(pllTable().begin(), pllTable().end(),
                     [](const PllRow& candidate) { return candidate.laneRateMbps == 236.0; });
    ASSERT_NE(row, pllTable().end());
    EXPECT_EQ(row->clockMhz, 708.0);
    EXPECT_EQ(row->referenceClock, 48.0);
    const std::uint32_t expected[] = {0x002F0301, 0x003B0301, 0x00030004, 0x00010003,
                                      0x00010000, 0x00010005, 0x00030004, 0x00010003,
                                      0x0000003E, 0x0000002D, 0x000100FF, 0x00000000};
    const std::uint32_t words[] = {row->pll0,    row->pll1,      row->cpu,       row->ipipe,
                                   row->sinf,    row->hinf,      row->hinfMipi,  row->ip,
                                   row->unsent0, row->priSensor, row->secSensor, row->unsent1};
    EXPECT_TRUE(std::equal(std::begin(words), std::end(words), std::begin(expected)));
}

} // namespace
