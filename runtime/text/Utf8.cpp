#include "runtime/text/Utf8.h"

namespace qpr
{
namespace
{

void AppendUtf8(std::string& bytes, char32_t codePoint)
{
    const auto append = [&bytes](char32_t byte) { bytes.push_back(static_cast<char>(byte)); };
    const auto appendTail = [&](int shift) { append(0x80 | ((codePoint >> shift) & 0x3F)); };
    if (codePoint < 0x80)
        return append(codePoint);
    if (codePoint < 0x800)
    {
        append(0xC0 | (codePoint >> 6));
    }
    else
    {
        if (codePoint < 0x10000)
        {
            append(0xE0 | (codePoint >> 12));
        }
        else
        {
            append(0xF0 | (codePoint >> 18));
            appendTail(12);
        }
        appendTail(6);
    }
    appendTail(0);
}

} // namespace

std::string ToUtf8(std::wstring_view text)
{
    std::string bytes;
    bytes.reserve(text.size());
    for (std::size_t index = 0; index < text.size();)
    {
        const char32_t codePoint = TakeCodePoint(text, index);
        AppendUtf8(bytes, IsCodePoint(codePoint) ? codePoint : replacementCharacter);
    }
    return bytes;
}

std::wstring FromUtf8(std::string_view bytes)
{
    std::wstring text;
    text.reserve(bytes.size());
    Utf8LossyDecoder decoder;
    decoder.Decode(bytes, text);
    decoder.Finish(text);
    return text;
}

char32_t TakeCodePoint(std::wstring_view text, std::size_t& index) noexcept
{
    const auto unit = static_cast<char32_t>(text[index++]);
    if (!IsHighSurrogate(unit) || index == text.size() || !IsLowSurrogate(static_cast<char32_t>(text[index])))
        return unit;
    return 0x10000 + ((unit - 0xD800) << 10) + (static_cast<char32_t>(text[index++]) - 0xDC00);
}

void AppendCodePoint(std::wstring& text, char32_t codePoint)
{
    if (sizeof(wchar_t) == 2 && codePoint >= 0x10000)
    {
        text.push_back(static_cast<wchar_t>(0xD800 + ((codePoint - 0x10000) >> 10)));
        text.push_back(static_cast<wchar_t>(0xDC00 + ((codePoint - 0x10000) & 0x3FF)));
        return;
    }
    text.push_back(static_cast<wchar_t>(codePoint));
}

void Utf8LossyDecoder::Decode(std::string_view bytes, std::wstring& text)
{
    for (const char c : bytes)
    {
        const auto byte = static_cast<unsigned char>(c);
        if (m_bytesMissing == 0 || !Continue(byte, text))
            Begin(byte, text);
    }
}

void Utf8LossyDecoder::Finish(std::wstring& text)
{
    if (m_bytesMissing != 0)
        AppendCodePoint(text, replacementCharacter);
    m_bytesMissing = 0;
}

// The limits of the second byte exclude overlong forms, surrogates and values above U+10FFFF.
void Utf8LossyDecoder::Begin(unsigned char byte, std::wstring& text)
{
    if (byte < 0x80)
        return text.push_back(static_cast<wchar_t>(byte));
    if (byte < 0xC2 || byte > 0xF4)
        return AppendCodePoint(text, replacementCharacter);
    m_bytesMissing = byte < 0xE0 ? 1 : byte < 0xF0 ? 2 : 3;
    m_codePoint = byte & (0x3F >> m_bytesMissing);
    m_lowestNext = byte == 0xE0 ? 0xA0 : byte == 0xF0 ? 0x90 : 0x80;
    m_highestNext = byte == 0xED ? 0x9F : byte == 0xF4 ? 0x8F : 0xBF;
}

bool Utf8LossyDecoder::Continue(unsigned char byte, std::wstring& text)
{
    if (byte < m_lowestNext || byte > m_highestNext)
    {
        Finish(text);
        return false;
    }
    m_codePoint = m_codePoint << 6 | (byte & 0x3F);
    m_lowestNext = 0x80;
    m_highestNext = 0xBF;
    if (--m_bytesMissing == 0)
        AppendCodePoint(text, m_codePoint);
    return true;
}

} // namespace qpr
