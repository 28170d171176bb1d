#pragma once

#include "runtime/text/Errors.h"

#include <string>
#include <string_view>

namespace qexpr
{

/// An error in the text of a formula: "<message> at position <n> of <source>", or "<message> at end of <source>".
class ParseError : public qpr::RuntimeError
{
public:
    /// The position that stands for the end of the text.
    static constexpr int AtEnd = -1;

    ParseError(std::wstring_view message, std::wstring_view text, int position, std::wstring_view source);

    /// The same error, its text after the source's name and a colon: for texts that begin with where they come from.
    ParseError SourceFirst() const;

    /// What is wrong, without position and source.
    const std::wstring& GetReason() const noexcept { return m_reason; }

    /// The 1-based index of the offending character, or AtEnd.
    int GetPosition() const noexcept { return m_position; }

    /// Where a mark for it goes in the text: at the offending character, or behind the last character that is not white
    /// space.
    std::size_t GetIndex() const noexcept;

    /// The whole text that was parsed.
    const std::wstring& GetText() const noexcept { return m_text; }

    /// The description that it was parsed under.
    const std::wstring& GetSource() const noexcept { return m_source; }

private:
    ParseError(const std::wstring& wholeText, const ParseError& other);

    std::wstring m_reason;
    std::wstring m_text;
    int m_position;
    std::wstring m_source;
};

} // namespace qexpr
