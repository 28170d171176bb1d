#include "runtime/text/TimeFormat.h"

#include <gtest/gtest.h>

namespace
{

using namespace std::chrono_literals;

TEST(TimeFormatTest, MomentsAreWrittenAsUtc)
{
    const std::chrono::system_clock::time_point epoch;
    EXPECT_EQ(L"1970-01-01 00:00:00", qpr::FormatUtcTime(epoch));
    EXPECT_EQ(L"1969-12-31 23:59:59", qpr::FormatUtcTime(epoch - 1ms));
    EXPECT_EQ(L"2024-02-29 23:59:59", qpr::FormatUtcTime(epoch + 1709251199s + 999ms));
    EXPECT_EQ(L"Thu 29 Feb 060", qpr::FormatUtcTime(epoch + 1709251199s, L"%a %d %b %j"));
}

} // namespace
