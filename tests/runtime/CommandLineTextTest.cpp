#include "runtime/text/CommandLineText.h"

#include "runtime/text/Utf8.h"
#include "support/ErrorOf.h"

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

TEST(CommandLineText, OfABatchFileHoldsNothingThatTheInterpreterMightRun)
{
    for (const wchar_t* path : {L"a.bat", L"C:\\dir\\A.CmD", L"a.bat.. ", L"bat.bat"})
        EXPECT_TRUE(qpr::IsBatchFile(path)) << path;
    for (const wchar_t* path : {L"bat", L"a.bat.exe", L"a.bat\\b", L""})
        EXPECT_FALSE(qpr::IsBatchFile(path)) << path;
    qpr::CheckBatchArguments(L"a.bat", {L"100%", L"execute", L"two words", L"ClientId=here/1", L"a\\b"});
    for (const std::string text : {"a&calc", "%PATH%", "say \"hi\"", "a\nb", "dir\\", "(", "^", ">x"})
        EXPECT_EQ(test::ErrorOf(
                      [&] {
                          qpr::CheckBatchArguments(L"a.bat", {L"a.bat", L"x", qpr::FromUtf8(text)});
                      }),
            "Argument '" + text + "' cannot be passed to the batch file 'a.bat'");
}
