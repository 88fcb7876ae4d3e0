#include "base/last_error.h"

#include <thread>

#include <gtest/gtest.h>

namespace GenTLProducer
{

// Makes sure that the loading thread's record says "not initialized" until something is stored:
// this test must run before any other of this program does so.
TEST(LastError, AtLoadTheRecordSaysNotInitialized)
{
    std::thread([] { EXPECT_EQ(GetLastError().code, 0) << "a thread without a record"; }).join();
    EXPECT_EQ(GetLastError().code, -1002);
    EXPECT_EQ(GetLastError().text, "Module not initialized");
}

TEST(LastError, TextsCoverEveryRangeOfCodes)
{
    const std::pair<std::int32_t, const char*> kCases[] = {
        {0, "No Error"},
        {-1001, "Unspecified runtime error"},
        {-1015, "A given address is out of range or invalid for internal reasons"},
        {-1016, "Unknown error"},
        {-1, "Unknown error"},
        {-9999, "Unknown error"},
        {-10000, "Implementation specific error occurred"},
        {-10001, "Implementation specific error occurred"},
        {7, "Invalid error code"},
    };
    for (const auto& [code, text] : kCases)
        EXPECT_STREQ(ErrorText(code), text) << code;
}

TEST(LastError, ATextOfItsOwnGoesBeforeTheFixedOne)
{
    EXPECT_EQ(SetLastError(-1001, "Failed to open the camera"), -1001);
    EXPECT_EQ(GetLastError().text, "Failed to open the camera");
    EXPECT_EQ(SetLastError(-1004), -1004);
    EXPECT_EQ(GetLastError().text, "Requested resource is already in use");
    SetLastError(-1001, "");
    EXPECT_EQ(GetLastError().text, "") << "an empty text is a text";
}

TEST(LastError, TheAlreadyStoredCodeChangesNothing)
{
    SetLastError(-1011, "mine");
    EXPECT_EQ(SetLastError(kErrorAlreadyStored, "other"), -1011);
    EXPECT_EQ(GetLastError().text, "mine");
    SetLastError(0);
    EXPECT_EQ(SetLastError(kErrorAlreadyStored), -1001);
    DropLastError();
    EXPECT_EQ(SetLastError(kErrorAlreadyStored), kErrorAlreadyStored);
    EXPECT_EQ(GetLastError().code, 0);
}

TEST(LastError, EachThreadHasARecordOfItsOwn)
{
    SetLastError(-1006);
    std::thread([] {
        EXPECT_EQ(GetLastError().code, 0);
        SetLastError(-1009, "of the thread");
    }).join();
    EXPECT_EQ(GetLastError().code, -1006);
}

} // namespace GenTLProducer
