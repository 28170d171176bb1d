#include "config/Arguments.h"

#include "runtime/text/Errors.h"
#include "runtime/text/WhiteSpace.h"

#include <algorithm>
#include <utility>

namespace qxm
{

Arguments::Arguments(std::vector<std::wstring> words)
{
    for (std::wstring& word : words)
    {
        const std::size_t equals = word.find(L'=');
        if (equals == 0)
            throw qpr::RuntimeError(L"Syntax error in argument '" + word + L"'");
        if (equals == std::wstring::npos)
            m_positional.push_back(std::move(word));
        else
            m_named[word.substr(0, equals)] = word.substr(equals + 1);
    }
}

Arguments Arguments::Parse(std::wstring_view line)
{
    return Arguments(SplitWords(line));
}

std::vector<std::wstring> Arguments::SplitWords(std::wstring_view line)
{
    constexpr wchar_t none = L'\0';
    std::vector<std::wstring> words;
    std::wstring word;
    const auto endWord = [&words, &word]
    {
        if (!word.empty())
            words.push_back(std::exchange(word, {}));
    };

    wchar_t openQuote = none;
    for (const wchar_t character : line)
    {
        if (openQuote != none && character == openQuote)
            openQuote = none;
        else if (openQuote == none && (character == L'\'' || character == L'"'))
            openQuote = character;
        else if (openQuote == none && qpr::IsWhiteSpace(character))
            endWord();
        else
            word += character;
    }
    if (openQuote != none)
        throw qpr::RuntimeError(L"Unexpected end of string");
    endWord();
    return words;
}

const std::wstring& Arguments::Positional(std::size_t index) const
{
    if (index >= m_positional.size())
        throw qpr::RuntimeError(L"Missing required argument " + std::to_wstring(index));
    return m_positional[index];
}

bool Arguments::Named(const std::wstring& name, std::wstring& value) const
{
    const auto found = m_named.find(name);
    if (found == m_named.end())
        return false;
    value = found->second;
    return true;
}

std::wstring Arguments::NamedOrEmpty(const std::wstring& name) const
{
    std::wstring value;
    Named(name, value);
    return value;
}

void Arguments::Validate(std::size_t minPositional, std::size_t maxPositional, std::wstring_view context,
    const std::set<std::wstring>& allowedNames) const
{
    const std::wstring prefix = std::wstring(context) + L": ";
    const std::wstring count = std::to_wstring(m_positional.size());
    if (m_positional.size() < minPositional)
        throw qpr::RuntimeError(prefix + L"Not enough positional arguments (got " + count + L" but must be at least "
            + std::to_wstring(minPositional) + L")");
    if (m_positional.size() > maxPositional)
        throw qpr::RuntimeError(prefix + L"Too many positional arguments (got " + count + L" but must be at most "
            + std::to_wstring(maxPositional) + L")");
    const auto isUnknown = [&](const auto& argument) { return !allowedNames.contains(argument.first); };
    const auto unknown = std::ranges::find_if(m_named, isUnknown);
    if (unknown != m_named.end())
        throw qpr::RuntimeError(prefix + L"Invalid named argument '" + unknown->first + L"'");
}

} // namespace qxm
