#pragma once

#include <cstddef>
#include <fstream>
#include <string>

namespace qx
{

class StandardError;

/// Where a call's log goes: a file, written anew, or the standard error stream. Used by one thread at a time.
class CallLog
{
public:
    /// An empty name is the standard error stream, which outlives it. Throws std::runtime_error that names a file it
    /// cannot write.
    CallLog(std::string fileName, StandardError& errors);

    void Write(const wchar_t* text, std::size_t length);

    /// Throws when something of the log could not be written.
    void Close();

private:
    [[noreturn]] void Fail() const;

    StandardError& m_errors;
    std::string m_fileName;
    std::ofstream m_file;
};

} // namespace qx
