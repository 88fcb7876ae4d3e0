// Started on a board, and never built with sanitizers: a library that is loaded with every trick
// still sees the board.
#include <dlfcn.h>
#include <gtest/gtest.h>

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

} // namespace
