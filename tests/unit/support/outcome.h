// What comes out of a call: its error, its messages, its log.
#pragma once

#include <cstdlib>
#include <exception>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

/// What the callable throws; empty when it throws nothing.
template <typename Callable>
std::string errorOf(Callable callable)
{
    try {
        callable();
    } catch (const std::exception& error) {
        return error.what();
    }
    return {};
}

template <typename Callable>
std::string stderrOf(Callable callable)
{
    testing::internal::CaptureStderr();
    callable();
    return testing::internal::GetCapturedStderr();
}

/// A log in which each of these lines stands, behind its time and this mark, "[000002] ".
inline auto hasLines(const std::string& mark, const std::vector<std::string>& lines)
{
    std::vector<testing::Matcher<const std::string&>> matchers;
    for (const std::string& line : lines)
        matchers.emplace_back(testing::HasSubstr(mark + line + "\n"));
    return testing::AllOfArray(matchers);
}

/// Runs the callable in a process of its own, since the camera log reads its settings at the
/// start, and looks at what it logs.
template <typename Callable, typename Matcher>
void expectLogged(const char* level, const char* flags, Callable callable, Matcher matcher)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    ::setenv("MCM_TRACE_LEVEL_CONSOLE", level, 1);
    ::setenv("MCM_TRACE_FLAGS", flags, 1);
    const auto run = [&] {
        callable();
        std::exit(0);
    };
    EXPECT_EXIT(run(), testing::ExitedWithCode(0), matcher);
    ::unsetenv("MCM_TRACE_FLAGS");
    ::unsetenv("MCM_TRACE_LEVEL_CONSOLE");
}
