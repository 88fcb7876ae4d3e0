#include "bus/version.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "../support/outcome.h"

namespace
{

using namespace mcm;
using testing::ElementsAre;

TEST(Version, NeedsTheSameMajorAndAtLeastTheMinorNumber)
{
    const struct {
        Version required, connected;
        bool fits;
    } cases[] = {
        {{2, 3}, {2, 3}, true},
        {{2, 3}, {2, 7}, true},
        {{2, 3}, {2, 2}, false},
        {{2, 3}, {3, 3}, false},
    };
    for (const auto& row : cases) {
        const std::string report =
            stderrOf([&] { EXPECT_EQ(checkVersion(row.required, row.connected), row.fits); });
        EXPECT_EQ(report.empty(), row.fits);
    }
}

TEST(ExtractVersionstring, TakesTheFieldsApart)
{
    const struct {
        const char* text;
        const char *p, *s, *v, *h;
        int major, minor;
    } cases[] = {
        {"p=x/s=r/v=1.2/h=abc", "x", "r", "1.2", "abc", 1, 2},
        {"p=x/s=p/v=10.20.30", "x", "p", "10.20.30", "", 10, 20},
        {"p=x/s=d/v=1.2/h=abc", "x", "d", "1.2", "abc", -1, -1},
        {"v=1.2", "", "", "1.2", "", -1, -1},
        {"s=r/v=7", "", "r", "7", "", 7, -1},
        {"s=r/v=x", "", "r", "x", "", -1, -1},
        {"", "", "", "", "", -1, -1},
        {"//p/=/px/h=a=b/p=/", "", "", "", "a=b", -1, -1},
        {"h=1/h=2", "", "", "", "2", -1, -1},
    };
    for (const auto& row : cases) {
        const auto& [p, s, v, h, major, minor] = ExtractVersionstring(row.text);
        EXPECT_THAT((std::vector{p, s, v, h}), ElementsAre(row.p, row.s, row.v, row.h));
        EXPECT_EQ(std::pair(major, minor), std::pair(row.major, row.minor)) << row.text;
    }
}

TEST(ExtractVersionstring, ReportsAndDropsOtherLetters)
{
    EXPECT_THAT(stderrOf([] { EXPECT_EQ(ExtractVersionstring("q=%s%n/p=x").p, "x"); }),
                testing::HasSubstr("ERROR: ExtractVersionstring: Unexpected field 'q=%s%n' in "
                                   "version string ignored.\n"));
}

} // namespace
