#pragma once

#include "expr/ParseError.h"

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace qexpr
{

enum class TokenKind
{
    End,
    Symbol, ///< operators and punctuation
    Word,
    Number,
    String,
};

/// Views into the lexer's text. The text of a number is its first digit, that of a string literal its opening quote.
struct Token
{
    TokenKind kind = TokenKind::End;
    std::wstring_view text;
    int position = ParseError::AtEnd; ///< 1-based
    float number = 0;
    std::wstring_view string;
};

/// Cuts a text into tokens, with one token of push-back. Errors are ParseError at the token's position. The text and
/// its description outlive the lexer.
class Lexer
{
public:
    Lexer(std::wstring_view text, std::wstring_view description)
        : m_text(text)
        , m_description(description)
    {
    }

    /// Reads the next token, or the current one again after PushBack. False at the end of the text.
    bool ReadToken();
    void PushBack() { m_pushedBack = true; }

    const Token& Current() const { return m_token; }

    /// Reads the next token, which must be this one character.
    void ExpectSymbol(wchar_t symbol);

    /// Throws ParseError at the current token.
    [[noreturn]] void ThrowError(std::wstring_view message) const;

    /// The same: "Expected <what> but got '<current token>'", without the last part at the end of the text.
    [[noreturn]] void ThrowExpected(std::wstring_view what) const;

    /// The same: "Invalid token '<current token>'".
    [[noreturn]] void ThrowInvalidToken() const;

private:
    void SkipWhiteSpace();
    bool NextIs(wchar_t c) const;
    void TakeToken(TokenKind kind, std::size_t length);
    void ReadSymbol(std::size_t length);
    void ReadWord();
    void ReadNumber();
    void ReadString();

    std::wstring_view m_text;
    std::wstring_view m_description;
    std::size_t m_offset = 0;
    Token m_token;
    bool m_pushedBack = false;
};

/// Whether a word names a variable: one character, or not made of lower-case letters only, so that the set of reserved
/// words can grow without breaking formulas.
bool IsVariableName(std::wstring_view word);

} // namespace qexpr
