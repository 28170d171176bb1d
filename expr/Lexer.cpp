#include "expr/Lexer.h"

#include "runtime/text/WhiteSpace.h"

#include <charconv>
#include <locale>
#include <sstream>
#include <string>

namespace qexpr
{

namespace
{

bool IsDigit(wchar_t c)
{
    return c >= L'0' && c <= L'9';
}

bool IsLowerCase(wchar_t c)
{
    return c >= L'a' && c <= L'z';
}

bool IsWordStart(wchar_t c)
{
    return IsLowerCase(c) || (c >= L'A' && c <= L'Z') || c == L'_';
}

std::size_t SkipDigits(std::wstring_view text, std::size_t offset)
{
    while (offset < text.size() && IsDigit(text[offset]))
        ++offset;
    return offset;
}

/// What a stream's extraction of a float takes from the text: digits, a point, digits, and from an "e" on an exponent,
/// complete or not.
std::size_t FloatLiteralLength(std::wstring_view text)
{
    std::size_t length = SkipDigits(text, 0);
    if (length < text.size() && text[length] == L'.')
        length = SkipDigits(text, length + 1);
    if (length == text.size() || (text[length] != L'e' && text[length] != L'E'))
        return length;
    ++length;
    if (length < text.size() && (text[length] == L'+' || text[length] == L'-'))
        ++length;
    return SkipDigits(text, length);
}

/// False for an incomplete exponent and for numbers too large.
bool ConvertFloatLiteral(std::wstring_view literal, float& number)
{
    const std::string narrow(literal.begin(), literal.end());
    const auto [end, error] = std::from_chars(narrow.data(), narrow.data() + narrow.size(), number);
    if (error == std::errc())
        return end == narrow.data() + narrow.size();
    // Too large or too small: the one is refused and the other becomes 0 or a denormal, as a stream does it.
    std::istringstream stream(narrow);
    stream.imbue(std::locale::classic());
    return static_cast<bool>(stream >> number);
}

} // namespace

bool Lexer::ReadToken()
{
    if (m_pushedBack)
    {
        m_pushedBack = false;
        return m_token.kind != TokenKind::End;
    }
    SkipWhiteSpace();
    if (m_offset == m_text.size())
    {
        m_token = Token();
        return false;
    }
    m_token.position = static_cast<int>(m_offset + 1);
    const wchar_t first = m_text[m_offset];
    if (IsWordStart(first))
        ReadWord();
    else if (IsDigit(first))
        ReadNumber();
    else if (first == L'"' || first == L'\'')
        ReadString();
    else if (std::wstring_view(L",;()+-*/^").find(first) != std::wstring_view::npos)
        ReadSymbol(1);
    else if (std::wstring_view(L"=!<>").find(first) != std::wstring_view::npos)
        ReadSymbol(NextIs(L'=') ? 2 : 1);
    else if (first == L'&' || first == L'|')
        ReadSymbol(NextIs(first) ? 2 : 1);
    else
        ThrowError(L"Invalid character '" + std::wstring(1, first) + L"'");
    return true;
}

void Lexer::ExpectSymbol(wchar_t symbol)
{
    ReadToken();
    if (m_token.text != std::wstring_view(&symbol, 1))
        ThrowExpected(std::wstring(L"'") + symbol + L"'");
}

void Lexer::ThrowError(std::wstring_view message) const
{
    throw ParseError(message, m_text, m_token.position, m_description);
}

void Lexer::ThrowExpected(std::wstring_view what) const
{
    std::wstring message = L"Expected " + std::wstring(what);
    if (m_token.kind != TokenKind::End)
        message += L" but got '" + std::wstring(m_token.text) + L"'";
    ThrowError(message);
}

void Lexer::ThrowInvalidToken() const
{
    ThrowError(L"Invalid token '" + std::wstring(m_token.text) + L"'");
}

void Lexer::SkipWhiteSpace()
{
    while (m_offset < m_text.size() && qpr::IsWhiteSpace(m_text[m_offset]))
        ++m_offset;
}

bool Lexer::NextIs(wchar_t c) const
{
    return m_offset + 1 < m_text.size() && m_text[m_offset + 1] == c;
}

void Lexer::TakeToken(TokenKind kind, std::size_t length)
{
    m_token.kind = kind;
    m_token.text = m_text.substr(m_offset, length);
}

void Lexer::ReadSymbol(std::size_t length)
{
    TakeToken(TokenKind::Symbol, length);
    m_offset += length;
}

void Lexer::ReadWord()
{
    std::size_t end = m_offset;
    while (end < m_text.size() && (IsWordStart(m_text[end]) || IsDigit(m_text[end])))
        ++end;
    TakeToken(TokenKind::Word, end - m_offset);
    m_offset = end;
}

void Lexer::ReadNumber()
{
    TakeToken(TokenKind::Number, 1);
    const std::wstring_view rest = m_text.substr(m_offset);
    const std::wstring_view literal = rest.substr(0, FloatLiteralLength(rest));
    if (!ConvertFloatLiteral(literal, m_token.number))
        ThrowError(L"Invalid float literal");
    m_offset += literal.size();
}

void Lexer::ReadString()
{
    TakeToken(TokenKind::String, 1);
    const std::size_t begin = m_offset + 1;
    const std::size_t end = m_text.find(m_text[m_offset], begin);
    if (end == std::wstring_view::npos)
        ThrowError(L"Unterminated string literal");
    m_token.string = m_text.substr(begin, end - begin);
    m_offset = end + 1;
}

bool IsVariableName(std::wstring_view word)
{
    if (word.empty() || !IsWordStart(word.front()))
        return false;
    bool onlyLowerCase = true;
    for (const wchar_t c : word)
    {
        if (!IsWordStart(c) && !IsDigit(c))
            return false;
        onlyLowerCase = onlyLowerCase && IsLowerCase(c);
    }
    return word.size() == 1 || !onlyLowerCase;
}

} // namespace qexpr
