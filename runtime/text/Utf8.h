#pragma once

#include <cstddef>
#include <string>
#include <string_view>

/// Wide text to UTF-8 and back. Wide characters are UTF-16 or UTF-32 as the platform has them; nothing else in the tree
/// depends on which.
namespace qpr
{

/// Lone surrogates and values beyond U+10FFFF become U+FFFD.
std::string ToUtf8(std::wstring_view text);

/// Bytes that are not UTF-8 become U+FFFD.
std::wstring FromUtf8(std::string_view text);

/// The two halves of a surrogate pair.
constexpr bool IsHighSurrogate(char32_t unit) noexcept
{
    return unit >= 0xD800 && unit <= 0xDBFF;
}

constexpr bool IsLowSurrogate(char32_t unit) noexcept
{
    return unit >= 0xDC00 && unit <= 0xDFFF;
}

/// Whether UTF-8 can encode it.
constexpr bool IsCodePoint(char32_t value) noexcept
{
    return value <= 0x10FFFF && !IsHighSurrogate(value) && !IsLowSurrogate(value);
}

/// The code point at the index; moves the index behind it. Half of a pair is returned as it is. Requires: the index is
/// within the text.
char32_t TakeCodePoint(std::wstring_view text, std::size_t& index) noexcept;

/// Appends one code point, as a surrogate pair where wide characters have 16 bits.
void AppendCodePoint(std::wstring& text, char32_t codePoint);

/// Replaces what is not a character.
inline constexpr char32_t replacementCharacter = 0xFFFD;

/// Decodes UTF-8 that arrives in pieces, cut anywhere, and never fails: each longest sequence that begins no character
/// becomes one U+FFFD. Used by one thread at a time.
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
    unsigned char m_lowestNext = 0x80; ///< the range of the next byte, narrower after some lead bytes
    unsigned char m_highestNext = 0xBF;
};

} // namespace qpr
