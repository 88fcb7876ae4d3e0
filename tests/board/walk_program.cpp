// One run of a consumer as a program: prints what it came to, as "TLOpen: -1001, ..." or
// "4 frames, 1 incomplete, 0 missing". The argument is how long a frame may take, in ms.
#include <cinttypes>
#include <cstdio>
#include <cstdlib>

#include <gtest/gtest.h>

#include "walk.h"

int main(int argc, char** argv)
{
    Walk walk(argc > 1 ? std::strtoull(argv[1], nullptr, 10) : 30'000);
    const std::string failure = walk();
    if (failure.empty())
        std::printf("%" PRIu64 " frames, %" PRIu64 " incomplete, %" PRIu64 " missing\n",
                    walk.frames(), walk.incomplete(), walk.missing());
    else
        std::puts(failure.c_str());
    return testing::UnitTest::GetInstance()->ad_hoc_test_result().Failed() ? 1 : 0;
}
