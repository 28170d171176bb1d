#include "runtime/Utf8LossyDecoder.h"

#include "runtime/Utf8.h"

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

TEST(Utf8LossyDecoder, GivesTheSameTextHoweverTheBytesAreCut)
{
    const struct
    {
        std::string bytes;
        std::wstring text;
    } cases[] = {
        {"plain\n", L"plain\n"},
        {"\xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80\xED\x9F\xBF\xEE\x80\x80\xF4\x8F\xBF\xBF",
            L"\u00E4\u20AC\U0001F600\xD7FF\xE000\U0010FFFF"},
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
    }
}
