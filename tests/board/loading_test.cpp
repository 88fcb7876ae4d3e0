// The library as a guest in somebody else's process: loaded, unloaded, started as a program, left
// behind without a word.
#include <atomic>
#include <dlfcn.h>
#include <regex>
#include <set>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "../unit/support/command.h"
#include "camera.h"

namespace
{

bool isMapped()
{
    return runCommand("grep GenTLProducerZEVO /proc/" + std::to_string(::getpid()) + "/maps")
               .exitCode == 0;
}

int g_callsOfOwnFunction = 0;

// Something that takes the library through all its layers.
void useIt(Producer& loaded)
{
    EXPECT_EQ(loaded.GCInitLib(), GC_ERR_SUCCESS);
    TL_HANDLE system = nullptr;
    IF_HANDLE interface = nullptr;
    DEV_HANDLE device = nullptr;
    char id[256] = {};
    size_t size = sizeof id;
    EXPECT_EQ(loaded.TLOpen(&system), GC_ERR_SUCCESS);
    EXPECT_EQ(loaded.TLOpenInterface(system, kInterfaceId, &interface), GC_ERR_SUCCESS);
    EXPECT_EQ(loaded.IFUpdateDeviceList(interface, nullptr, 0), GC_ERR_SUCCESS);
    EXPECT_EQ(loaded.IFGetDeviceID(interface, 0, id, &size), GC_ERR_SUCCESS);
    EXPECT_EQ(loaded.IFOpenDevice(interface, id, DEVICE_ACCESS_EXCLUSIVE, &device), GC_ERR_SUCCESS);
}

} // namespace

// A function of the consumer's own, which comes first where the loader looks names up.
extern "C" __attribute__((visibility("default"))) GC_ERROR TLClose(TL_HANDLE)
{
    ++g_callsOfOwnFunction;
    return GC_ERR_ERROR;
}

// Where a sanitizer is built in, it can't be bound deeply, nor can the library be started.
#if defined(__SANITIZE_ADDRESS__) || defined(ZEVO_THREAD_SANITIZER)
#define ZEVO_SANITIZED
#endif

TEST(Library, CanBeLoadedInAnyWayAndCallsItsOwnFunctions)
{
    ASSERT_EQ(::dlsym(RTLD_DEFAULT, "TLClose"), reinterpret_cast<void*>(&TLClose));
    const int kWays[] = {
        RTLD_NOW | RTLD_LOCAL,
        RTLD_LAZY | RTLD_LOCAL,
#ifndef ZEVO_SANITIZED
        RTLD_NOW | RTLD_LOCAL | RTLD_DEEPBIND,
#endif
        RTLD_NOW | RTLD_GLOBAL,
        RTLD_NOW | RTLD_LOCAL,
    };
    for (const int flags : kWays) {
        Producer loaded = loadProducer(flags);
        useIt(loaded);
        EXPECT_EQ(loaded.GCCloseLib(), GC_ERR_SUCCESS);
        EXPECT_EQ(g_callsOfOwnFunction, 0);
        unloadProducer(loaded);
        EXPECT_FALSE(isMapped()) << flags;
    }
}

TEST(Library, ExportsTheFunctionsOfTheInterfaceAndNothingElse)
{
    std::set<std::string> expected;
#define GENTL_FUNCTION(name) expected.insert(#name);
#include <gentl/gentl_functions.inc>
#undef GENTL_FUNCTION
    EXPECT_EQ(expected.size(), 57u);
    std::set<std::string> exported;
    const std::string table = runCommand("nm -D --defined-only " + producerPath()).output;
    const std::regex row(R"([0-9a-f]+ (\w) (\w+))");
    for (std::sregex_iterator match(table.begin(), table.end(), row), end; match != end; ++match) {
        EXPECT_EQ((*match)[1], "T") << (*match)[2];
        exported.insert((*match)[2]);
    }
    EXPECT_EQ(exported, expected);
}

TEST(Library, NeedsNothingBeyondTheSystemsOwnLibraries)
{
    const std::string table = runCommand("readelf -d " + producerPath()).output;
    const std::regex row(R"(NEEDED.*\[(.*)\])");
    for (std::sregex_iterator match(table.begin(), table.end(), row), end; match != end; ++match)
        EXPECT_THAT((*match)[1].str(),
                    testing::MatchesRegex("(libstdc|libgcc_s|libm|libc|ld-linux|libasan|libubsan|"
                                          "libtsan)[-+_.a-z0-9]*"));
}

TEST(Library, StaysInMemoryWhileItIsInitialised)
{
    Producer loaded = loadProducer(RTLD_NOW | RTLD_LOCAL);
    const auto close = loaded.GCCloseLib;
    useIt(loaded); // leaves a thread running in the library's code
    unloadProducer(loaded);
    EXPECT_TRUE(isMapped());
    Producer again = loadProducer(RTLD_NOW | RTLD_LOCAL);
    EXPECT_EQ(again.GCCloseLib, close);
    EXPECT_EQ(again.GCCloseLib(), GC_ERR_SUCCESS);
    unloadProducer(again);
    EXPECT_FALSE(isMapped());
}

TEST(Library, AThreadThatUsedItMayOutliveIt)
{
    std::atomic<bool> isUsed{false};
    std::atomic<bool> isUnloaded{false};
    Producer loaded = loadProducer(RTLD_NOW | RTLD_LOCAL);
    EXPECT_EQ(loaded.GCInitLib(), GC_ERR_SUCCESS);
    std::thread user([&] {
        EXPECT_EQ(loaded.TLClose(nullptr), GC_ERR_INVALID_HANDLE) << "which leaves a record";
        isUsed = true;
        while (!isUnloaded)
            std::this_thread::yield();
    });
    while (!isUsed)
        std::this_thread::yield();
    EXPECT_EQ(loaded.GCCloseLib(), GC_ERR_SUCCESS);
    unloadProducer(loaded);
    EXPECT_FALSE(isMapped());
    isUnloaded = true;
    user.join(); // its end runs no code of the library
}

// The variables are read while the library is loaded, so that this needs a copy of its own.
TEST(Library, TracesEntryResultAndExitOfItsCalls)
{
    ::setenv("GENTL_TRACE_FLAGS", "0x402", 1);
    ::setenv("GENTL_TRACE_LEVEL", "5", 1);
    Producer loaded = loadProducer(RTLD_NOW | RTLD_LOCAL);
    ::unsetenv("GENTL_TRACE_FLAGS");
    ::unsetenv("GENTL_TRACE_LEVEL");
    TL_HANDLE system = nullptr;
    testing::internal::CaptureStderr();
    loaded.GCInitLib();
    loaded.TLOpen(&system);
    loaded.TLGetNumInterfaces(system, nullptr);
    loaded.TLUpdateInterfaceList(system, nullptr, 0);
    loaded.TLClose(system);
    loaded.GCCloseLib();
    const std::string trace = testing::internal::GetCapturedStderr();
    EXPECT_THAT(trace, testing::StartsWith("--> Entry to GCInitLib\n<-- Exit from GCInitLib:\n"
                                           "Status = 0x00000000\n--> Entry to TLOpen:\nphTL=0x"));
    EXPECT_THAT(trace,
                testing::EndsWith("\nOne of the parameter given was not valid or out of range"
                                  "\n<-- Exit from TLGetNumInterfaces:\n"
                                  "Status = 0xfffffc0f  Num=0\n"
                                  "--> Entry to TLUpdateInterfaceList:\n"
                                  "hTL=0x10, pbChanged=(nil), iTimeout=0\nNo Error\n"
                                  "<-- Exit from TLUpdateInterfaceList:\n"
                                  "Status = 0x00000000\n"
                                  "--> Entry to TLClose:\nhTL=0x10\n"
                                  "<-- Exit from TLClose:\nStatus = 0x00000000\n"
                                  "--> Entry to GCCloseLib\n<-- Exit from GCCloseLib:\n"
                                  "Status = 0x00000000\n"));
    unloadProducer(loaded);
}

TEST(Library, AForkedChildMayExit)
{
    Streaming camera;
    camera.start(3);
    ASSERT_TRUE(camera.take());
    const pid_t child = ::fork();
    if (child == 0)
        ::_exit(7);
    int status = 0;
    ASSERT_EQ(::waitpid(child, &status, 0), child);
    EXPECT_EQ(WEXITSTATUS(status), 7);
    EXPECT_TRUE(camera.take()) << "and the parent streams on";
    camera.stop();
}

#ifndef ZEVO_SANITIZED
TEST(Library, StartedAsAProgramItPrintsItsVersionAndEnds)
{
    const auto [status, output] = runCommand(ZEVO_EMULATOR " " + producerPath());
    EXPECT_EQ(status, 0);
    EXPECT_TRUE(std::regex_match(
        output, std::regex("GenTLProducerZEVO[^\n]*\nVersion 2\\.0\\.0\nTag: 2\\.0\\.0\n"
                           "Commit: [0-9a-f]{8}\nDate: \\w{3}, \\d+ \\w{3} \\d{4} "
                           "\\d\\d:\\d\\d:\\d\\d [-+]\\d{4}\n")))
        << output;
}
#endif

TEST(Library, SaysNothingUnlessItIsAsked)
{
    testing::internal::CaptureStderr();
    testing::internal::CaptureStdout();
    {
        Streaming camera;
        camera.start(3);
        ASSERT_TRUE(camera.take());
        camera.stop();
    }
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
}
