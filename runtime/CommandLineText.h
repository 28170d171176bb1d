#pragma once

#include <string>
#include <vector>

namespace qpr
{

/// A program's arguments as the one line that Windows starts it with, quoted such that its C library and
/// CommandLineToArgvW split it into the same arguments again. The first one, the program's name, cannot hold a quote.
std::wstring CommandLineText(const std::vector<std::wstring>& arguments);

} // namespace qpr
