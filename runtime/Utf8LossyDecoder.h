#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace qpr
{

/// What stands for what is no character.
inline constexpr char32_t replacementCharacter = 0xFFFD;

/// Decodes UTF-8 that arrives in pieces cut anywhere, for text that must never fail: each longest piece that is the
/// start of no character becomes one U+FFFD. Used by one thread at a time.
class Utf8LossyDecoder
{
public:
    /// Appends the characters that are complete.
    void Decode(std::string_view bytes, std::wstring& text);

    /// The end of the data: appends U+FFFD for a character that has only begun.
    void Finish(std::wstring& text);

private:
    void Begin(unsigned char byte, std::wstring& text);
    bool Continue(unsigned char byte, std::wstring& text);

    char32_t m_codePoint = 0;
    int m_bytesMissing = 0;
    unsigned char m_lowestNext = 0x80; ///< what the next byte may be: narrower after some leads
    unsigned char m_highestNext = 0xBF;
};

} // namespace qpr
