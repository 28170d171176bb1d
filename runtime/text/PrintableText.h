#pragma once

#include <cstddef>
#include <string>
#include <string_view>

/// Text from outside (a peer's, a servant's, a file's) made safe to show to people. A terminal obeys some characters,
/// and shows others so that the text around them reads differently; both kinds are escaped: "\x1B", "\u202E". They are
/// the control characters (C0, DEL, C1), the controls of writing direction, the line and paragraph separators, halves
/// of surrogate pairs, and values beyond Unicode. A backslash stays as it is, so that escapes cannot be decoded again.
namespace qpr
{

/// For one line of a journal, a message or a terminal. The result has at most maxLength characters; a text that would
/// need more is cut and ends in "...".
std::wstring Printable(std::wstring_view text, std::size_t maxLength = 300);

/// For a piece of a log on a terminal: line feeds and tabs stay, a carriage return at the end of a line or of the piece
/// is left out, and nothing is cut.
std::wstring PrintableLines(std::wstring_view text);

} // namespace qpr
