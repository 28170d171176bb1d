#include "runtime/text/Utf8.h"

#include <gtest/gtest.h>

namespace
{

std::wstring DecodeInPieces(const std::string& bytes, std::size_t pieceSize)
{
    qpr::Utf8LossyDecoder decoder;
    std::wstring text;
    for (std::size_t i = 0; i < bytes.size(); i += pieceSize)
        decoder.Decode(std::string_view(bytes).substr(i, pieceSize), text);
    decoder.Finish(text);
    return text;
}

} // namespace

TEST(Utf8, GivesTheSameTextHoweverTheBytesAreCutAndGoesBackWhenItIsOne)
{
    const std::pair<std::string, std::wstring> cases[] = {
        {"", L""},
        {std::string("a\0b\n", 4), std::wstring(L"a\0b\n", 4)},
        {"\x7F\xC2\x80\xDF\xBF\xE0\xA0\x80", L"\u007F\u0080\u07FF\u0800"},
        {"\xED\x9F\xBF\xEE\x80\x80\xEF\xBF\xBF", L"\uD7FF\uE000\uFFFF"},
        {"\xF0\x90\x80\x80\xF0\x9F\x98\x80\xF4\x8F\xBF\xBF", L"\U00010000\U0001F600\U0010FFFF"},
        {"a\x80z", L"a\uFFFDz"}, // a continuation alone
        {"\xC3(", L"\uFFFD("}, // a character broken off by another
        {"\xE2\x82", L"\uFFFD"}, // and by the end
        {"\xF0\x9F\x98\xC3\xA4", L"\uFFFD\u00E4"},
        {"\xC0\xAF\xC1\xBF", L"\uFFFD\uFFFD\uFFFD\uFFFD"}, // overlong forms
        {"\xE0\x9F\xBF", L"\uFFFD\uFFFD\uFFFD"},
        {"\xF0\x8F\xBF\xBF", L"\uFFFD\uFFFD\uFFFD\uFFFD"},
        {"\xED\xA0\x80", L"\uFFFD\uFFFD\uFFFD"}, // a surrogate
        {"\xF4\x90\x80\x80", L"\uFFFD\uFFFD\uFFFD\uFFFD"}, // beyond the last code point
        {"\xF8\xFF", L"\uFFFD\uFFFD"},
    };
    for (const auto& [bytes, text] : cases)
    {
        for (std::size_t pieceSize : {1, 2, 3, 100})
            EXPECT_EQ(DecodeInPieces(bytes, pieceSize), text) << qpr::ToUtf8(text) << " in pieces of " << pieceSize;
        EXPECT_EQ(qpr::FromUtf8(bytes), text);
        if (text.find(L'\uFFFD') == std::wstring::npos)
        {
            EXPECT_EQ(qpr::ToUtf8(text), bytes);
        }
    }
}

TEST(Utf8, PairsOrReplacesSurrogates)
{
    const wchar_t high = 0xD83D;
    const wchar_t low = 0xDE00;
    EXPECT_EQ("\xF0\x9F\x98\x80", qpr::ToUtf8(std::wstring{high, low}));
    EXPECT_EQ("\xEF\xBF\xBD\xEF\xBF\xBDx\xEF\xBF\xBD", qpr::ToUtf8(std::wstring{low, high, L'x', high}));
}
