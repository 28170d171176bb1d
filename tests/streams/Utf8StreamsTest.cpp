#include "streams/Utf8Streams.h"

#include "runtime/text/Errors.h"
#include "runtime/text/SystemErrors.h"
#include "support/ErrorOf.h"

#include <gtest/gtest.h>

#include <regex>
#include <sstream>

namespace
{

std::wstring WithoutLineNumber(const std::wstring& error)
{
    return std::regex_replace(error, std::wregex(L"(Char)\\.[0-9]+"), L"$1");
}

/// What a stream of the bytes delivers: its text, then the error that ended it, without the line number.
std::wstring ReadAll(const std::string& bytes)
{
    std::istringstream source(bytes);
    qpr::UTF8InputStream stream(source);
    std::wstring text;
    try
    {
        for (wchar_t character; stream.get(character);)
            text += character;
    }
    catch (const qpr::RuntimeError& error)
    {
        text += WithoutLineNumber(qpr::ErrorText(error));
    }
    return text;
}

const std::wstring notDecoded = WithoutLineNumber(qpr::SystemErrorMessage(
    L"MultiByteToWideChar() failed", L"qpr::UTF8InputStreamBuffer::ReadChar", 1, qpr::InvalidTextError()));
constexpr const char* notEncoded = "WideCharToMultiByte() failed in qpr::UTF8OutputStreamBuffer::WriteChar.";

} // namespace

TEST(Utf8Streams, ReadsTextAndNamesWhatIsNone)
{
    const std::pair<std::string, std::wstring> cases[] = {
        {"", L""}, {"a\xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80\xF4\x8F\xBF\xBF", L"a\u00E4\u20AC\U0001F600\U0010FFFF"},
        {"a\x80", L"aInvalid lead byte (0x80) in UTF-8 input stream"},
        {"\xF8\x88\x80\x80\x80", L"Invalid lead byte (0xF8) in UTF-8 input stream"},
        {"\xC3\x28", L"Invalid continuation byte (0x28) in UTF-8 input stream"},
        {"\xE2\x82\xC3", L"Invalid continuation byte (0xC3) in UTF-8 input stream"},
        {"\xC3", L"Unexpected end of UTF-8 input stream"}, {"\xF0\x9F\x98", L"Unexpected end of UTF-8 input stream"},
        {"\xC1\xBF", notDecoded}, // overlong
        {"\xE0\x9F\xBF", notDecoded}, {"\xF0\x8F\xBF\xBF", notDecoded}, {"\xED\xA0\x80", notDecoded}, // a surrogate
        {"\xF4\x90\x80\x80", notDecoded}, // beyond the last code point
    };
    for (const auto& [bytes, text] : cases)
        EXPECT_EQ(ReadAll(bytes), text);
}

TEST(Utf8Streams, WritesTextAtOnceAndPairsAsOneCharacter)
{
    std::ostringstream target;
    qpr::UTF8OutputStream stream(target);
    stream << L"a\u00E4" << 42 << L'\u20AC' << L"\U0001F600";
    EXPECT_EQ(target.str(),
        "a\xC3\xA4"
        "42\xE2\x82\xAC\xF0\x9F\x98\x80");
    target.str("");
    stream.put(static_cast<wchar_t>(0xD83D));
    EXPECT_EQ(target.str(), "");
    stream.put(static_cast<wchar_t>(0xDE00)) << L"z";
    EXPECT_EQ(target.str(), "\xF0\x9F\x98\x80z");
}

TEST(Utf8Streams, RefusesToWriteWhatIsNoText)
{
    const std::wstring badTexts[] = {
        {L'a', static_cast<wchar_t>(0xDC00)}, {static_cast<wchar_t>(0xD800), L'a'},
        {static_cast<wchar_t>(0xD800), static_cast<wchar_t>(0xD800), L'a'},
        {static_cast<wchar_t>(
            sizeof(wchar_t) > 2 ? 0x110000 : 0xDFFF)}, // beyond the last code point, if there can be one
    };
    for (const std::wstring& text : badTexts)
    {
        std::ostringstream target;
        qpr::UTF8OutputStream stream(target);
        EXPECT_TRUE(test::ErrorOf([&] { stream << text; }).starts_with(notEncoded));
        EXPECT_EQ(target.str(), "");
    }
}
