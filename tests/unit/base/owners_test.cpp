// Each owner gives back exactly what it got, moves included.
#include <fcntl.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include "base/scope_exit.h"
#include "base/unique_fd.h"

namespace GenTLProducer
{

namespace
{

bool isOpen(int fd)
{
    return ::fcntl(fd, F_GETFD) != -1;
}

int openSomething()
{
    return ::open("/dev/null", O_RDONLY);
}

} // namespace

TEST(UniqueFd, ClosesOnceWhateverRoadTheDescriptorTook)
{
    const int first = openSomething();
    const int second = openSomething();
    {
        UniqueFd source(first);
        UniqueFd target(std::move(source));
        EXPECT_FALSE(source.isValid());
        EXPECT_EQ(target.get(), first);
        UniqueFd other(second);
        target = std::move(other);
        EXPECT_EQ(target.get(), second);
        EXPECT_TRUE(isOpen(first)) << "swapped into the other one, which still lives";
    }
    EXPECT_FALSE(isOpen(first));
    EXPECT_FALSE(isOpen(second));
}

TEST(UniqueFd, ReleaseGivesTheDescriptorAway)
{
    int fd = -1;
    {
        UniqueFd owner(openSomething());
        fd = owner.release();
    }
    EXPECT_TRUE(isOpen(fd));
    UniqueFd again(fd);
    again.reset();
    EXPECT_FALSE(isOpen(fd));
    EXPECT_FALSE(again.isValid());
}

TEST(ScopeExit, RunsUnlessReleased)
{
    int runs = 0;
    {
        const ScopeExit undo([&] { ++runs; });
    }
    EXPECT_EQ(runs, 1);
    {
        ScopeExit undo([&] { ++runs; });
        undo.release();
    }
    EXPECT_EQ(runs, 1);
}

} // namespace GenTLProducer
