#include "runtime/text/CommandLineText.h"

#include "runtime/text/Errors.h"

#include <algorithm>
#include <string_view>

namespace qpr
{

namespace
{

bool NeedsQuotes(std::wstring_view argument) noexcept
{
    return argument.empty() || argument.find_first_of(L" \t\n\v\"") != std::wstring_view::npos;
}

/// Doubles the backslashes before a quote; all others are plain characters.
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

/// Stricter than quoting: even within quotes the interpreter expands variables and ends a line.
bool IsPlainText(std::wstring_view argument) noexcept
{
    return argument.find_first_of(L"\"%!^&|<>()\r\n") == std::wstring_view::npos && !argument.ends_with(L'\\');
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

bool IsBatchFile(std::wstring_view path) noexcept
{
    while (path.ends_with(L'.') || path.ends_with(L' ')) // the system drops them
        path.remove_suffix(1);
    const auto endsWith = [path](std::wstring_view extension)
    {
        return path.size() >= extension.size()
            && std::equal(extension.begin(), extension.end(),
                path.end() - static_cast<std::ptrdiff_t>(extension.size()),
                [](wchar_t lower, wchar_t other) { return lower == other || lower == other + (L'a' - L'A'); });
    };
    return endsWith(L".bat") || endsWith(L".cmd");
}

void CheckBatchArguments(const std::wstring& path, const std::vector<std::wstring>& arguments)
{
    for (std::size_t i = 1; i < arguments.size(); ++i)
    {
        if (!IsPlainText(arguments[i]))
            throw RuntimeError(L"Argument '" + arguments[i] + L"' cannot be passed to the batch file '" + path + L"'");
    }
}

} // namespace qpr
