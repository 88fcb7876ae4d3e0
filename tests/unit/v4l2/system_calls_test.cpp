#include "v4l2/system_calls.h"

#include <cerrno>

#include <gtest/gtest.h>

#include "support/board_files.h"
#include "v4l2/mapped_region.h"

namespace V4L2
{
namespace
{

TEST(RealSystemCalls, IoctlIsRepeatedWhileASignalInterruptsIt)
{
    test::BoardFiles board;
    const struct {
        int interruptions;
        int error;
    } rows[] = {{0, 0}, {1, 0}, {3, 0}, {2, EIO}};
    for (const auto& row : rows) {
        int calls = 0;
        board.onIoctl = [&](int, unsigned long, void*, int& result) {
            errno = calls < row.interruptions ? EINTR : row.error;
            result = errno == 0 ? 5 : -1;
            return ++calls;
        };
        const IoctlResult result = RealSystemCalls().ioctl(-1, 0, nullptr);
        EXPECT_EQ(calls, row.interruptions + 1);
        EXPECT_EQ(result.value(), row.error == 0 ? 5 : -1);
        EXPECT_EQ(result.error(), row.error);
    }
}

TEST(MappedRegion, IsReleasedOnceWhoeverOwnsIt)
{
    int memory = 0;
    int releases = 0;
    const auto release = [&](void* address) { releases += address == &memory; };
    {
        MappedRegion first(&memory, release);
        MappedRegion second(std::move(first));
        first = std::move(second);
        EXPECT_EQ(first.address(), &memory);
        EXPECT_EQ(releases, 0);
        first = MappedRegion();
        EXPECT_EQ(releases, 1);
    }
    EXPECT_EQ(releases, 1);
}

} // namespace
} // namespace V4L2
