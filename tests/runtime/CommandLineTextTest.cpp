#include "runtime/CommandLineText.h"

#include <gtest/gtest.h>

TEST(CommandLineText, IsQuotedWhereItMustBe)
{
    const std::pair<std::wstring, std::wstring> cases[] = {
        {L"plain", L"plain"},
        {L"", L"\"\""},
        {L"two words", L"\"two words\""},
        {L"a\tb", L"\"a\tb\""},
        {L"C:\\dir\\", L"C:\\dir\\"},
        {L"C:\\my dir\\", L"\"C:\\my dir\\\\\""},
        {L"say \"hi\"", L"\"say \\\"hi\\\"\""},
        {L"a\\\"b", L"\"a\\\\\\\"b\""},
        {L"a\\\\b c", L"\"a\\\\b c\""},
    };
    for (const auto& [argument, text] : cases)
        EXPECT_EQ(
            qpr::CommandLineText({L"C:\\Program Files\\x.exe", argument}), L"\"C:\\Program Files\\x.exe\" " + text);
    EXPECT_EQ(qpr::CommandLineText({L"x", L"a", L"b"}), L"\"x\" a b");
}
