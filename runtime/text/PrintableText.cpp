#include "runtime/text/PrintableText.h"

#include "runtime/text/Utf8.h"

#include <algorithm>
#include <iterator>

namespace qpr
{
namespace
{

struct Range
{
    char32_t first;
    char32_t last;
};

constexpr Range unprintable[] = {
    {0, 0x1F},
    {0x7F, 0x9F},
    {0x61C, 0x61C}, // Arabic letter mark
    {0x200E, 0x200F}, // marks of direction
    {0x2028, 0x202E}, // line and paragraph separator, embeddings and overrides of direction
    {0x2066, 0x2069}, // isolates
    {0xD800, 0xDFFF},
    {0x110000, 0xFFFFFFFF},
};

bool IsPrintable(char32_t codePoint)
{
    return std::none_of(std::begin(unprintable), std::end(unprintable),
        [codePoint](const Range& range) { return codePoint >= range.first && codePoint <= range.last; });
}

void AppendHexDigits(std::wstring& text, char32_t number, int count)
{
    for (int shift = 4 * (count - 1); shift >= 0; shift -= 4)
        text += L"0123456789ABCDEF"[(number >> shift) & 0xF];
}

void AppendPrintable(std::wstring& text, char32_t codePoint)
{
    if (IsPrintable(codePoint))
        return AppendCodePoint(text, codePoint);
    const int digits = codePoint <= 0xFF ? 2 : codePoint <= 0xFFFF ? 4 : 8;
    text += L'\\';
    text += digits == 2 ? L'x' : digits == 4 ? L'u' : L'U';
    AppendHexDigits(text, codePoint, digits);
}

} // namespace

std::wstring Printable(std::wstring_view text, std::size_t maxLength)
{
    const std::wstring_view ellipsis = L"...";
    const std::size_t roomBeforeEllipsis = maxLength - std::min(maxLength, ellipsis.size());
    std::wstring result;
    std::size_t lengthIfCut = 0;
    for (std::size_t index = 0; index < text.size();)
    {
        if (result.size() <= roomBeforeEllipsis)
            lengthIfCut = result.size();
        AppendPrintable(result, TakeCodePoint(text, index));
        if (result.size() <= maxLength)
            continue;
        result.resize(lengthIfCut);
        return result.append(ellipsis.substr(0, maxLength));
    }
    return result;
}

std::wstring PrintableLines(std::wstring_view text)
{
    std::wstring result;
    result.reserve(text.size());
    for (std::size_t index = 0; index < text.size();)
    {
        const char32_t codePoint = TakeCodePoint(text, index);
        const bool isAtLineEnd = index == text.size() || text[index] == L'\n';
        if (codePoint == '\r' && isAtLineEnd)
            continue;
        if (codePoint == '\n' || codePoint == '\t')
            result += static_cast<wchar_t>(codePoint);
        else
            AppendPrintable(result, codePoint);
    }
    return result;
}

} // namespace qpr
