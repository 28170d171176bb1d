#pragma once

#include <map>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

/// What arguments of several commands have in common. All texts are UTF-8.
namespace qx
{

/// The argument itself, or for "@FILE" the file's text. Throws an error that names a file it cannot read.
std::string ReadTextArgument(const std::string& argument);

/// KEY=VALUE arguments; of several with one key the last counts. Throws WrongCommandLine for one without a key.
std::map<std::wstring, std::wstring> ParseKeyValues(const std::vector<std::string>& arguments);

/// Bytes as text that fits into one field of a line and can be told from every other: control characters, and bytes
/// that are not UTF-8, appear as "\x0A", and so does a backslash before an x.
std::string Escaped(std::string_view bytes);

} // namespace qx
