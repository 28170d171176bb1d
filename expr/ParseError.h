#pragma once

#include "runtime/Errors.h"

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

    /// The 1-based index of the offending character, or AtEnd.
    int GetPosition() const noexcept { return m_position; }

    /// The whole text that was parsed.
    const std::wstring& GetText() const noexcept { return m_text; }

    /// The description that it was parsed under.
    const std::wstring& GetSource() const noexcept { return m_source; }

private:
    std::wstring m_text;
    int m_position;
    std::wstring m_source;
};

} // namespace qexpr
