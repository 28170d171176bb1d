#pragma once

#include <fstream>
#include <string>

namespace qpr
{

/// Opens a file for reading its bytes. Throws "CreateFile('<path>') failed", for a directory too.
std::ifstream OpenInputFile(const std::wstring& path);

} // namespace qpr
