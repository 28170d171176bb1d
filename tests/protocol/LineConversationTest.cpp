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

TEST(LineConversationTest, NamesWhatIsNoPrompt)
{
    const std::pair<const wchar_t*, const char*> cases[] = {
        {L"!\n", "Expected prompt but received '!\n'"},
        {L"$", "Expected prompt but received '$'"},
        {L"", "Expected prompt but received ''"},
    };
    for (const auto& c : cases)
    {
        std::wistringstream input(c.first);
        std::wstring reason;
        EXPECT_EQ(test::ErrorOf([&] { qxm::ReadPrompt(input, reason); }), c.second);
    }
}

} // namespace
