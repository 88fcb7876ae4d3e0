#include "bus/version.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace
{

using namespace mcm;

TEST(Version, NeedsTheSameMajorAndAtLeastTheMinorNumber)
{
    const struct {
        Version required, connected;
        bool fits;
    } cases[] = {
        {{2, 0}, {2, 0}, true},  {{2, 0}, {2, 7}, true},  {{2, 3}, {2, 3}, true},
        {{2, 3}, {2, 2}, false}, {{2, 0}, {1, 9}, false}, {{2, 0}, {3, 0}, false},
    };
    for (const auto& row : cases) {
        testing::internal::CaptureStderr();
        EXPECT_EQ(checkVersion(row.required, row.connected), row.fits);
        EXPECT_EQ(testing::internal::GetCapturedStderr().empty(), row.fits);
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
        SCOPED_TRACE(row.text);
        const VersionFields fields = ExtractVersionstring(row.text);
        EXPECT_EQ(fields.p, row.p);
        EXPECT_EQ(fields.s, row.s);
        EXPECT_EQ(fields.v, row.v);
        EXPECT_EQ(fields.h, row.h);
        EXPECT_EQ(fields.major, row.major);
        EXPECT_EQ(fields.minor, row.minor);
    }
}

TEST(ExtractVersionstring, ReportsAndDropsOtherLetters)
{
    testing::internal::CaptureStderr();
    const VersionFields fields = ExtractVersionstring("q=%s%n/p=x");
    EXPECT_THAT(testing::internal::GetCapturedStderr(),
                testing::HasSubstr("ERROR: ExtractVersionstring: Unexpected field 'q=%s%n' in "
                                   "version string ignored.\n"));
    EXPECT_EQ(fields.p, "x");
}

} // namespace
