#pragma once

#include <map>
#include <string>
#include <utility>
#include <vector>

/// What arguments of several commands have in common. All texts are UTF-8.
namespace qx
{

/// The argument itself, or for "@FILE" the file's text. Throws a RuntimeError that names a file it cannot read.
std::string ReadTextArgument(const std::string& argument);

/// KEY=VALUE arguments; of several with one key the last counts. Throws WrongCommandLine for one without a key.
std::map<std::wstring, std::wstring> ParseKeyValues(const std::vector<std::string>& arguments);

} // namespace qx
