#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace qpr
{

/// A program's arguments as the one line that Windows starts it with, quoted such that its C library and
/// CommandLineToArgvW split it into the same arguments again. The first one, the program's name, cannot contain a
/// quote.
std::wstring CommandLineText(const std::vector<std::wstring>& arguments);

/// Whether Windows gives the program to its command interpreter, which reads the line by rules of its own.
bool IsBatchFile(std::wstring_view path) noexcept;

/// Throws "Argument '<argument>' cannot be passed to the batch file '<path>'" for the first one that the command
/// interpreter might take for more than text. The first argument is the program's name.
void CheckBatchArguments(const std::wstring& path, const std::vector<std::wstring>& arguments);

} // namespace qpr
