// Started on a board, and never built with sanitizers: a library that is loaded with every trick
// still sees the board.
#include <dlfcn.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <pthread.h>
#include <unistd.h>

#include <string>

namespace
{

class Loading : public testing::TestWithParam<int>
{
};

INSTANTIATE_TEST_SUITE_P(Flags, Loading,
                         testing::Values(RTLD_NOW, RTLD_NOW | RTLD_DEEPBIND,
                                         RTLD_LAZY | RTLD_GLOBAL | RTLD_DEEPBIND));

/// The name has no slash: only the RUNPATH of this program leads to the library.
TEST_P(Loading, FindsLibraryByTheCallersRunpathAndLibraryFindsTheBoard)
{
    void* library = dlopen("libzevo_probe_plugin.so", GetParam());
    ASSERT_NE(library, nullptr) << dlerror();
    const auto findNode = reinterpret_cast<int (*)()>(dlsym(library, "FindNode"));
    ASSERT_NE(findNode, nullptr);
    EXPECT_EQ(findNode(), 1);
    EXPECT_EQ(dlclose(library), 0);
}

TEST(LoadingFailure, IsToldAsEver)
{
    EXPECT_EQ(dlopen("libzevo_no_such_library.so", RTLD_NOW), nullptr);
    EXPECT_NE(std::string(dlerror()).find("libzevo_no_such_library.so"), std::string::npos);
    EXPECT_NE(dlopen(nullptr, RTLD_NOW), nullptr);
}

/// Here, since the address sanitizer takes the stack of a cancelled thread for damaged.
TEST(Threads, CancelledInForeignCallsEndAsEver)
{
    const int node = open("/dev/video0", O_RDWR);
    ASSERT_GE(node, 0);
    const auto waitInPoll = [](void* fd) -> void* {
        pollfd entry{*static_cast<int*>(fd), POLLIN, 0};
        return poll(&entry, 1, -1) == 1 ? fd : nullptr;
    };
    const auto waitInRead = [](void* fd) -> void* {
        char byte;
        return read(*static_cast<int*>(fd), &byte, 1) == 1 ? fd : nullptr;
    };
    int ends[2];
    ASSERT_EQ(pipe(ends), 0);
    for (void* (*wait)(void*) : {+waitInPoll, +waitInRead}) {
        pthread_t thread;
        ASSERT_EQ(pthread_create(&thread, nullptr, wait, &ends[0]), 0);
        EXPECT_EQ(pthread_cancel(thread), 0);
        void* result = nullptr;
        EXPECT_EQ(pthread_join(thread, &result), 0);
        EXPECT_EQ(result, PTHREAD_CANCELED);
    }
    close(ends[0]);
    close(ends[1]);
    close(node);
}

} // namespace
