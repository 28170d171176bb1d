#include "protocol/LineConversation.h"

#include "support/ErrorOf.h"

#include <gtest/gtest.h>

#include <sstream>

namespace
{

TEST(LineConversationTest, ReadsTrimmedLinesAndNothingBeyond)
{
    std::wistringstream input(L" \t one two \r\n\r\n\nlast");
    EXPECT_EQ(qxm::ReadLine(input), L"one two");
    EXPECT_EQ(qxm::ReadLine(input), L"");
    EXPECT_EQ(input.rdbuf()->in_avail(), 5);
    EXPECT_EQ(qxm::ReadLine(input), L"");
    EXPECT_EQ(qxm::ReadLine(input), L"last");
    EXPECT_EQ(qxm::ReadLine(input), L"");
}

TEST(LineConversationTest, RefusesALineThatDoesNotEnd)
{
    const std::wstring longest(qxm::maxLineLength, L'x');
    std::wistringstream input(longest + L"\n" + longest + L"x");
    EXPECT_EQ(qxm::ReadLine(input), longest);
    EXPECT_EQ(test::ErrorOf([&] { qxm::ReadLine(input); }), "Line of more than 65536 characters received");
}

TEST(LineConversationTest, ReadsPrompts)
{
    std::wstring reason;
    std::wistringstream accepted(L"$ more");
    EXPECT_TRUE(qxm::ReadPrompt(accepted, reason));
    EXPECT_EQ(accepted.rdbuf()->in_avail(), 4);

    std::wistringstream refused(L"! too busy \r\nmore");
    EXPECT_FALSE(qxm::ReadPrompt(refused, reason));
    EXPECT_EQ(reason, L"too busy");

    const std::pair<const wchar_t*, const char*> cases[] = {
        {L"$x", "Expected prompt but received '$x'"},
        {L"!\n", "Expected prompt but received '!\n'"},
        {L"$", "Expected prompt but received '$'"},
        {L"", "Expected prompt but received ''"},
    };
    for (const auto& c : cases)
    {
        std::wistringstream input(c.first);
        EXPECT_EQ(test::ErrorOf([&] { qxm::ReadPrompt(input, reason); }), c.second);
    }
}

} // namespace
