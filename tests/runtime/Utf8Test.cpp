#include "runtime/Utf8.h"

#include <gtest/gtest.h>

namespace
{

using namespace qpr;

std::wstring Wide(std::u32string_view codePoints)
{
    std::wstring text;
    for (const char32_t codePoint : codePoints)
        AppendCodePoint(text, codePoint);
    return text;
}

TEST(Utf8Test, EveryLengthGoesThereAndBack)
{
    struct
    {
        std::u32string_view codePoints;
        std::string bytes;
    } const cases[] = {
        {U"", ""},
        {std::u32string_view(U"a\0b", 3), std::string("a\0b", 3)},
        {U"\u007F\u0080", "\x7F\xC2\x80"},
        {U"\u07FF\u0800", "\xDF\xBF\xE0\xA0\x80"},
        {U"\uD7FF\uE000\uFFFF", "\xED\x9F\xBF\xEE\x80\x80\xEF\xBF\xBF"},
        {U"\U00010000\U0010FFFF", "\xF0\x90\x80\x80\xF4\x8F\xBF\xBF"},
    };
    for (const auto& [codePoints, bytes] : cases)
    {
        EXPECT_EQ(bytes, ToUtf8(Wide(codePoints)));
        EXPECT_EQ(Wide(codePoints), FromUtf8(bytes));
    }
}

TEST(Utf8Test, SurrogatesArePairedOrReplaced)
{
    const wchar_t high = 0xD83D;
    const wchar_t low = 0xDE00;
    EXPECT_EQ("\xF0\x9F\x98\x80", ToUtf8(std::wstring{high, low}));
    EXPECT_EQ("\xEF\xBF\xBD\xEF\xBF\xBDx\xEF\xBF\xBD", ToUtf8(std::wstring{low, high, L'x', high}));
}

} // namespace
