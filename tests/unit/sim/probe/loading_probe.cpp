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

/// The name has no slash: only the RUNPATH of this program leads to the library.
TEST(Loading, FindsLibraryByTheCallersRunpathAndLibraryFindsTheBoard)
{
    for (const int flags :
         {RTLD_NOW, RTLD_NOW | RTLD_DEEPBIND, RTLD_LAZY | RTLD_GLOBAL | RTLD_DEEPBIND}) {
        void* library = dlopen("libzevo_probe_plugin.so", flags);
        ASSERT_NE(library, nullptr) << dlerror();
        const auto findNode = reinterpret_cast<int (*)()>(dlsym(library, "FindNode"));
        ASSERT_NE(findNode, nullptr);
        EXPECT_EQ(findNode(), 1);
        EXPECT_EQ(dlclose(library), 0);
    }
}

TEST(Loading, FailuresAreToldAsEver)
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
    for (const bool usesPoll : {true, false}) {
        int ends[2];
        ASSERT_EQ(pipe(ends), 0);
        pthread_t thread;
        const auto waitInPoll = [](void* argument) -> void* {
            pollfd entry{*static_cast<int*>(argument), POLLIN, 0};
            poll(&entry, 1, -1);
            return nullptr;
        };
        const auto waitInRead = [](void* argument) -> void* {
            char byte;
            return read(*static_cast<int*>(argument), &byte, 1) == 1 ? argument : nullptr;
        };
        ASSERT_EQ(usesPoll ? pthread_create(&thread, nullptr, waitInPoll, &ends[0])
                           : pthread_create(&thread, nullptr, waitInRead, &ends[0]),
                  0);
        EXPECT_EQ(pthread_cancel(thread), 0);
        void* result = nullptr;
        EXPECT_EQ(pthread_join(thread, &result), 0);
        EXPECT_EQ(result, PTHREAD_CANCELED);
        close(ends[0]);
        close(ends[1]);
    }
    close(node);
}

} // namespace
