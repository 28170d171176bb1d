#include "runtime/CommandLineText.h"

#include <string_view>

namespace qpr
{

namespace
{

bool NeedsQuotes(std::wstring_view argument) noexcept
{
    return argument.empty() || argument.find_first_of(L" \t\n\v\"") != std::wstring_view::npos;
}

/// Backslashes are plain characters unless a quote follows them: then each counts half.
void AppendQuoted(std::wstring& line, std::wstring_view argument)
{
    std::size_t backslashCount = 0;
    line += L'"';
    for (const wchar_t character : argument)
    {
        if (character == L'"')
            line.append(backslashCount + 1, L'\\');
        backslashCount = character == L'\\' ? backslashCount + 1 : 0;
        line += character;
    }
    line.append(backslashCount, L'\\');
    line += L'"';
}

} // namespace

std::wstring CommandLineText(const std::vector<std::wstring>& arguments)
{
    std::wstring line;
    for (std::size_t i = 0; i < arguments.size(); ++i)
    {
        if (i > 0)
            line += L' ';
        if (i == 0)
            line += L'"' + arguments[i] + L'"';
        else if (NeedsQuotes(arguments[i]))
            AppendQuoted(line, arguments[i]);
        else
            line += arguments[i];
    }
    return line;
}

} // namespace qpr
