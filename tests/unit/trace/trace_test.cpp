// What the three channels print under which settings, seen from outside the process.
#include <regex>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "../support/command.h"

namespace
{

using testing::HasSubstr;
using testing::Not;

// Both outputs of the probe, started with these variables.
std::string run(const std::string& variables)
{
    return runCommand("env -i " + variables + " " ZEVO_EMULATOR " " TRACE_PROBE " 2>&1").output;
}

bool matches(const std::string& output, const char* pattern)
{
    return std::regex_search(output, std::regex(pattern));
}

} // namespace

TEST(Trace, DefaultsShowErrorsAndWarningsOnly)
{
    const std::string output = run("");
    for (const char* absent : {"gentl", "xxx", "notice 2", "yyy", "INFO", "DEBUG"})
        EXPECT_THAT(output, Not(HasSubstr(absent)));
    EXPECT_TRUE(matches(output, R"(\d\d\.\d\d\.\d{4} \d\d:\d\d:\d\d\.\d{6} v4lx error 2\n)"));
    EXPECT_THAT(output, HasSubstr("v4lx warning 2\n"));
    EXPECT_TRUE(matches(output, R"(\[\+ {4}0\.\d{6}\]\[000000\] ERROR: mcm 3\n)")) << output;
    EXPECT_THAT(output, HasSubstr("] WARNING: mcm 4\n"));
    EXPECT_THAT(output, HasSubstr("] NOTICE: mcm 5\n"));
    EXPECT_TRUE(matches(output, R"(\]\[000000\]\[ {12}\] ERROR: printf 8\n)")) << output;
    EXPECT_TRUE(matches(output, "\n5\n$")) << "arguments of silent lines were built: " << output;
}

TEST(Trace, VariablesChooseChannelsAndLevels)
{
    const struct {
        const char* variables;
        const char* present;
        const char* absent;
    } kCases[] = {
        {"GENTL_TRACE_FLAGS=0x400 GENTL_TRACE_LEVEL=4", "gentl entry 1\n", "gentl exit"},
        {"GENTL_TRACE_FLAGS=0x400 GENTL_TRACE_LEVEL=5", "gentl exit 1\n", "gentl results"},
        {"GENTL_TRACE_FLAGS=02 GENTL_TRACE_LEVEL=2", "gentl results 1\n", "gentl entry"},
        {"GENTL_TRACE_FLAGS=0x402 GENTL_TRACE_LEVEL=nonsense", "v4lx error", "gentl"},
        {"V4LXAPI_TRACE_LEVEL=4", "v4lx notice 2\n", "yyy"},
        {"V4LXAPI_TRACE_LEVEL=nonsense", "v4lx warning", "v4lx notice"},
        {"V4LXAPI_TRACE_FLAGS=0 V4LXAPI_TRACE_LEVEL=9", "mcm 3", "v4lx"},
        {"MCM_TRACE_LEVEL_CONSOLE=6", "[000001] INFO: mcm 6 26000\n", "mcm 7"},
        {"MCM_TRACE_LEVEL_CONSOLE=7", "[000002] DEBUG: mcm 7\n", "nothing of this kind"},
        {"MCM_TRACE_LEVEL_CONSOLE=7", "[000008][            ] DEBUG: printf 9\n", "\n] "},
        {"MCM_TRACE_LEVEL_CONSOLE=7 MCM_TRACE_FLAGS=2", "mcm 7", "mcm 6"},
        {"MCM_TRACE_LEVEL_CONSOLE=7 MCM_TRACE_FLAGS=0", "WARNING: mcm 4", "DEBUG"},
        {"MCM_TRACE_LEVEL_CONSOLE=2", "v4lx error", "mcm"},
    };
    for (const auto& row : kCases) {
        const std::string output = run(row.variables);
        EXPECT_THAT(output, HasSubstr(row.present)) << row.variables;
        EXPECT_THAT(output, Not(HasSubstr(row.absent))) << row.variables;
    }
}

TEST(Trace, LongMessagesAreCutAt511Characters)
{
    const std::string output =
        run("GENTL_TRACE_FLAGS=0x400 GENTL_TRACE_LEVEL=7 V4LXAPI_TRACE_LEVEL=5");
    EXPECT_TRUE(matches(output, "(^|\n)x{511}\n"));
    EXPECT_TRUE(matches(output, " y{511}\n"));
}
