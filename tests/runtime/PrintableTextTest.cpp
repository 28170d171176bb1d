#include "runtime/text/PrintableText.h"

#include "runtime/text/Utf8.h"

#include <gtest/gtest.h>

TEST(PrintableText, EscapesWhatATerminalObeysAndCutsWhatIsTooLong)
{
    const struct
    {
        std::wstring text;
        const char* line;
        const char* lines;
    } cases[] = {
        {L"Gr\u00FC\u00DFe, C:\\x \U0001F600", "Gr\u00FC\u00DFe, C:\\x \U0001F600",
            "Gr\u00FC\u00DFe, C:\\x \U0001F600"},
        {L"\x1B[2J\a\x7F\u009B", "\\x1B[2J\\x07\\x7F\\x9B", "\\x1B[2J\\x07\\x7F\\x9B"},
        {L"a\r\nb\tc\rd\r", "a\\x0D\\x0Ab\\x09c\\x0Dd\\x0D", "a\nb\tc\\x0Dd"},
        {L"\u061C\u200E\u2028\u202E\u2069", "\\u061C\\u200E\\u2028\\u202E\\u2069",
            "\\u061C\\u200E\\u2028\\u202E\\u2069"},
        {std::wstring{0, wchar_t(0xDE00), wchar_t(0xD83D)}, "\\x00\\uDE00\\uD83D", "\\x00\\uDE00\\uD83D"},
    };
    for (const auto& row : cases)
    {
        EXPECT_EQ(row.line, qpr::ToUtf8(qpr::Printable(row.text)));
        EXPECT_EQ(row.lines, qpr::ToUtf8(qpr::PrintableLines(row.text)));
    }
    EXPECT_EQ(L"123456", qpr::Printable(L"123456", 6));
    EXPECT_EQ(L"123...", qpr::Printable(L"1234567", 6));
    EXPECT_EQ(L"1...", qpr::Printable(L"1\n3456", 6)); // no half of an escape
    EXPECT_EQ(L"..", qpr::Printable(L"123", 2));
    EXPECT_EQ(299u, qpr::Printable(std::wstring(100000, L'\0')).size()); // 74 escapes and the dots
}
