#include "streams/Utf8Streams.h"

#include "runtime/text/Errors.h"
#include "runtime/text/SystemErrors.h"
#include "runtime/text/Utf8.h"

#include <bit>
#include <cstdint>
#include <string>
#include <string_view>
#include <utility>

namespace qpr
{

namespace
{

constexpr int longestSequence = 4;

[[noreturn]] void ThrowInvalidByte(std::wstring_view message, unsigned char byte)
{
    constexpr std::wstring_view digits = L"0123456789ABCDEF";
    std::wstring text(message);
    text += L" (0x";
    text += digits[byte >> 4];
    text += digits[byte & 0xF];
    throw RuntimeError(text + L") in UTF-8 input stream");
}

/// The smallest code point that needs a sequence of that length.
constexpr char32_t SmallestOfLength(int length)
{
    return length == 2 ? 0x80 : length == 3 ? 0x800 : 0x10000;
}

bool IsWellFormed(std::wstring_view text)
{
    for (std::size_t index = 0; index < text.size();)
    {
        if (!IsCodePoint(TakeCodePoint(text, index)))
            return false;
    }
    return true;
}

} // namespace

UTF8InputStreamBuffer::int_type UTF8InputStreamBuffer::underflow()
{
    if (gptr() == egptr() && !ReadChar())
        return traits_type::eof();
    return traits_type::to_int_type(*gptr());
}

bool UTF8InputStreamBuffer::ReadChar()
{
    const auto first = m_source.rdbuf()->sbumpc();
    if (first == std::char_traits<char>::eof())
        return false;
    const auto lead = static_cast<unsigned char>(first);
    const int length = std::countl_one(lead);
    if (length == 1 || length > longestSequence)
        ThrowInvalidByte(L"Invalid lead byte", lead);
    m_characters.clear();
    if (length == 0)
        m_characters.push_back(static_cast<wchar_t>(lead));
    else
        AppendCodePoint(m_characters, ReadSequence(lead, length));
    setg(m_characters.data(), m_characters.data(), m_characters.data() + m_characters.size());
    return true;
}

char32_t UTF8InputStreamBuffer::ReadSequence(unsigned char lead, int length)
{
    char32_t codePoint = lead & (0x7F >> length);
    for (int i = 1; i < length; ++i)
    {
        const auto next = m_source.rdbuf()->sbumpc();
        if (next == std::char_traits<char>::eof())
            throw RuntimeError(L"Unexpected end of UTF-8 input stream");
        const auto byte = static_cast<unsigned char>(next);
        if ((byte & 0xC0) != 0x80)
            ThrowInvalidByte(L"Invalid continuation byte", byte);
        codePoint = codePoint << 6 | (byte & 0x3F);
    }
    if (codePoint < SmallestOfLength(length) || !IsCodePoint(codePoint))
    {
        ThrowSystemErrorWithNumber(
            L"MultiByteToWideChar() failed", L"qpr::UTF8InputStreamBuffer::ReadChar", InvalidTextError());
    }
    return codePoint;
}

UTF8OutputStreamBuffer::int_type UTF8OutputStreamBuffer::overflow(int_type character)
{
    if (traits_type::eq_int_type(character, traits_type::eof()))
        return traits_type::not_eof(character);
    const wchar_t single = traits_type::to_char_type(character);
    return Write({&single, 1}) ? character : traits_type::eof();
}

std::streamsize UTF8OutputStreamBuffer::xsputn(const wchar_t* source, std::streamsize size)
{
    return Write({source, static_cast<std::size_t>(size)}) ? size : 0;
}

int UTF8OutputStreamBuffer::sync()
{
    return m_target.rdbuf()->pubsync();
}

bool UTF8OutputStreamBuffer::Write(std::wstring_view text)
{
    std::wstring joined;
    if (!m_highSurrogate.empty())
    {
        joined = std::exchange(m_highSurrogate, {}).append(text);
        text = joined;
    }
    if (!text.empty() && IsHighSurrogate(static_cast<char32_t>(text.back())))
    {
        m_highSurrogate = text.back();
        text.remove_suffix(1);
    }
    if (!IsWellFormed(text))
    {
        ThrowSystemErrorWithNumber(
            L"WideCharToMultiByte() failed", L"qpr::UTF8OutputStreamBuffer::WriteChar", InvalidTextError());
    }
    const std::string bytes = ToUtf8(text);
    const auto size = static_cast<std::streamsize>(bytes.size());
    return m_target.rdbuf()->sputn(bytes.data(), size) == size;
}

} // namespace qpr
