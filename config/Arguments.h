#pragma once

#include <cstddef>
#include <map>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace qxm
{

/// The one syntax of servant command lines and protocol lines: words split at white space, single or double quotes
/// group and have no escape. A word with "=" in it is a named argument, any other a positional one.
class Arguments
{
public:
    using NamedMap = std::map<std::wstring, std::wstring>;

    Arguments() = default;

    /// Classifies words that are split already. Throws "Syntax error in argument '<word>'" for one that begins with
    /// "=".
    explicit Arguments(std::vector<std::wstring> words);

    /// Throws "Unexpected end of string" for an open quote, and what the constructor throws.
    static Arguments Parse(std::wstring_view line);

    /// The words of a line, without their quotes; there are no empty ones. Throws "Unexpected end of string".
    static std::vector<std::wstring> SplitWords(std::wstring_view line);

    /// Throws "Missing required argument <index>".
    const std::wstring& Positional(std::size_t index) const;

    /// False, and value left alone, when there is none of that name.
    bool Named(const std::wstring& name, std::wstring& value) const;
    std::wstring NamedOrEmpty(const std::wstring& name) const;

    const std::vector<std::wstring>& PositionalArguments() const noexcept { return m_positional; }

    /// Of arguments with one name the last one counts.
    const NamedMap& NamedArguments() const noexcept { return m_named; }

    /// Throws "<context>: ..." when the number of positional arguments is out of bounds or a name is not allowed.
    void Validate(std::size_t minPositional, std::size_t maxPositional, std::wstring_view context,
        const std::set<std::wstring>& allowedNames) const;

private:
    std::vector<std::wstring> m_positional;
    NamedMap m_named;
};

} // namespace qxm
