#include "protocol/LineConversation.h"

#include "runtime/text/Errors.h"
#include "runtime/text/WhiteSpace.h"

#include <algorithm>

namespace qxm
{
namespace
{

// Taken from the buffer itself: a formatted stream would report the end of the data in ways of its own.
bool Take(std::wistream& input, wchar_t& character)
{
    const auto taken = input.rdbuf()->sbumpc();
    if (std::wistream::traits_type::eq_int_type(taken, std::wistream::traits_type::eof()))
        return false;
    character = std::wistream::traits_type::to_char_type(taken);
    return true;
}

} // namespace

std::wstring Trim(std::wstring_view text)
{
    const auto first = std::ranges::find_if_not(text, qpr::IsWhiteSpace);
    const auto last = std::find_if_not(text.rbegin(), std::make_reverse_iterator(first), qpr::IsWhiteSpace).base();
    return std::wstring(first, last);
}

std::wstring ReadLine(std::wistream& input)
{
    std::wstring line;
    wchar_t character = 0;
    while (Take(input, character) && character != L'\n')
    {
        if (line.size() == maxLineLength)
            throw qpr::RuntimeError(L"Line of more than " + std::to_wstring(maxLineLength) + L" characters received");
        line += character;
    }
    return Trim(line);
}

bool ReadPrompt(std::wistream& input, std::wstring& reason)
{
    std::wstring prompt;
    wchar_t character = 0;
    while (prompt.size() < 2 && Take(input, character))
        prompt += character;
    if (prompt == L"$ ")
        return true;
    if (prompt != L"! ")
        throw qpr::RuntimeError(L"Expected prompt but received '" + prompt + L"'");
    reason = ReadLine(input);
    return false;
}

} // namespace qxm
