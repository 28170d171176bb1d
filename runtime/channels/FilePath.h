#pragma once

#include <filesystem>
#include <fstream>
#include <string>
#include <string_view>

/// File paths as texts. A configured path may be written with either separator, "/" or "\", on every system.
namespace qpr
{

/// Begins with "\" or this system's separator, or with a drive and one of these ("C:\x"; "C:x" is relative). So on
/// Windows "/x" and "C:/x" are relative.
bool IsAbsolutePath(std::wstring_view path) noexcept;

/// The same path with this system's separator throughout.
std::wstring WithNativeSeparators(std::wstring_view path);

/// The directory, this system's separator and the name.
std::wstring JoinPath(std::wstring_view directory, std::wstring_view name);

/// The part before the last separator of this system.
std::wstring DirectoryOf(std::wstring_view path);

/// Absolute, from this process's working directory if need be, with "." and ".." resolved in the text.
std::wstring FullPath(std::wstring_view path);

/// For the standard library's file functions.
std::filesystem::path ToFilesystemPath(std::wstring_view path);

/// A file as a program's argument names it: on Linux by its bytes, which need not be UTF-8; on Windows in UTF-8.
std::filesystem::path PathOfArgument(const std::string& argument);

/// Opens a file for reading its bytes. Throws "CreateFile('<path>') failed", for a directory too.
std::ifstream OpenInputFile(const std::wstring& path);

} // namespace qpr
