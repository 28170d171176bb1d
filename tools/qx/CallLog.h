#pragma once

#include <cstddef>
#include <fstream>
#include <string>
#include <string_view>

namespace qx
{

class StandardError;

/// The last lines of a log, for the report of a call that failed.
class LogTail
{
public:
    void Append(std::wstring_view piece);
    const std::wstring& Text() const noexcept { return m_text; }

private:
    std::wstring m_text;
};

/// Where a call's log goes: a file, written anew, or the standard error stream. Used by one thread at a time.
class CallLog
{
public:
    /// An empty name is the standard error stream, which outlives it. Throws std::runtime_error that names a file it
    /// cannot write.
    CallLog(std::string fileName, StandardError& errors);

    void Write(const wchar_t* text, std::size_t length);

    /// The last lines of a log that went to a file.
    const std::wstring& Tail() const noexcept { return m_tail.Text(); }

    /// Throws when something of the log could not be written.
    void Close();

private:
    [[noreturn]] void Fail() const;

    StandardError& m_errors;
    std::string m_fileName;
    std::ofstream m_file;
    LogTail m_tail;
};

} // namespace qx
