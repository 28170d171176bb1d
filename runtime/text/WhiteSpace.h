#pragma once

namespace qpr
{

/// Whether the character has Unicode's property White_Space, on every system and in every locale alike.
constexpr bool IsWhiteSpace(wchar_t character) noexcept
{
    if (character < 0x80)
        return character == L' ' || (character >= L'\t' && character <= L'\r');
    return character == 0x85 || character == 0xA0 || character == 0x1680 || (character >= 0x2000 && character <= 0x200A)
        || character == 0x2028 || character == 0x2029 || character == 0x202F || character == 0x205F
        || character == 0x3000;
}

} // namespace qpr
