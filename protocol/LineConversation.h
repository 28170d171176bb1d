#pragma once

#include <cstddef>
#include <istream>
#include <string>
#include <string_view>

/// The line primitives of every text exchange with servants and distributors.
namespace qxm
{

/// A longer line from outside is refused: "Line of more than 65536 characters received".
inline constexpr std::size_t maxLineLength = 65536;

/// Without the white space at both ends.
std::wstring Trim(std::wstring_view text);

/// Reads up to the line feed, which is taken but not returned, or to the end of the data; trims the line.
std::wstring ReadLine(std::wistream& input);

/// Reads the two characters of a reply. True for "$ ", after which nothing more is read; false for "! ", with the rest
/// of the line as the reason. Throws "Expected prompt but received '<the characters>'".
bool ReadPrompt(std::wistream& input, std::wstring& reason);

} // namespace qxm
