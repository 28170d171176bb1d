#include "runtime/Utf8LossyDecoder.h"

#include "runtime/Utf8.h"

namespace qpr
{

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

// The limits of the second byte keep out overlong forms, surrogates and what lies beyond U+10FFFF.
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
