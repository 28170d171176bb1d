#include "expr/ParseError.h"

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
    , m_text(text)
    , m_position(position)
    , m_source(source)
{
}

} // namespace qexpr
