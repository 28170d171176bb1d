#include "expr/ParseError.h"

#include "runtime/text/WhiteSpace.h"

namespace qexpr
{

namespace
{

std::wstring Place(int position)
{
    return position == ParseError::AtEnd ? L" at end" : L" at position " + std::to_wstring(position);
}

} // namespace

ParseError::ParseError(std::wstring_view message, std::wstring_view text, int position, std::wstring_view source)
    : qpr::RuntimeError(std::wstring(message) + Place(position) + L" of " + std::wstring(source))
    , m_reason(message)
    , m_text(text)
    , m_position(position)
    , m_source(source)
{
}

ParseError::ParseError(const std::wstring& wholeText, const ParseError& other)
    : qpr::RuntimeError(wholeText)
    , m_reason(other.m_reason)
    , m_text(other.m_text)
    , m_position(other.m_position)
    , m_source(other.m_source)
{
}

ParseError ParseError::SourceFirst() const
{
    return ParseError(m_source + L": " + qpr::ErrorText(*this), *this);
}

std::size_t ParseError::GetIndex() const noexcept
{
    if (m_position != AtEnd)
        return static_cast<std::size_t>(m_position - 1);
    std::size_t end = m_text.size();
    while (end != 0 && qpr::IsWhiteSpace(m_text[end - 1]))
        --end;
    return end;
}

} // namespace qexpr
