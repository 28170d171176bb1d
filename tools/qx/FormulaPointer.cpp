#include "tools/qx/FormulaPointer.h"

#include "runtime/text/Utf8.h"

#include <algorithm>
#include <string_view>

namespace qx
{

namespace
{

std::size_t LineBegin(std::wstring_view text, std::size_t index)
{
    const std::size_t lineEnd = text.substr(0, index).rfind(L'\n');
    return lineEnd == std::wstring_view::npos ? 0 : lineEnd + 1;
}

/// Control characters, tabs among them, as blanks, so that each character takes a column.
std::wstring Shown(std::wstring_view text)
{
    std::wstring shown(text);
    std::ranges::replace_if(
        shown, [](wchar_t c) { return c < L' ' || (c >= 0x7F && c < 0xA0); }, L' ');
    return shown;
}

} // namespace

std::string PointAtError(const qexpr::ParseError& error, std::size_t columns)
{
    const std::wstring_view text = error.GetText();
    const std::size_t index = error.GetIndex();
    const std::size_t lineBegin = LineBegin(text, index);
    const std::size_t lineEnd = std::min(text.find(L'\n', index), text.size());
    // The last column stays empty: some terminals break the line there.
    const std::size_t room = std::max<std::size_t>(columns, 2) - 1;
    std::size_t begin = lineBegin;
    if (lineEnd - lineBegin >= room && index - lineBegin > room / 2)
        begin = std::max(lineBegin, std::min(index - room / 2, lineEnd + 1 - room));
    return qpr::ToUtf8(Shown(text.substr(begin, std::min(room, lineEnd - begin)))) + '\n'
        + std::string(index - begin, ' ') + '^';
}

} // namespace qx
