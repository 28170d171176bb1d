#pragma once

#include <cstddef>
#include <cstdint>
#include <exception>
#include <map>
#include <string>
#include <vector>

namespace qxmi
{

/// Describes one external process and hears of its output and end. Implemented by the application, which keeps it alive
/// until the call has ended. The queries are made inside CallProcess; the rest comes on threads of the library, one at
/// a time, and must not call back into it. A process call ends in exactly one of OnCompleted, OnError, OnCancelled.
/// Slot order is part of the binary interface.
class IProcessRequestW
{
public:
    virtual ~IProcessRequestW() = default;

    /// Path of the executable; a bare name is looked up as the system does for commands.
    virtual void GetExecutablePath(std::wstring& path) = 0;

    /// The arguments after the executable's own name.
    virtual void GetArguments(std::vector<std::wstring>& arguments) = 0;

    /// Where the process runs; left empty, in this process's own directory.
    virtual void GetWorkingDirectory(std::wstring& directory) = 0;

    /// Variables that the process gets beside those of this process, replacing ones of the same name. One set to an
    /// empty text is left out of the process's environment.
    virtual void GetEnvironment(std::map<std::wstring, std::wstring>& variables) = 0;

    /// One line of the process's standard output or error stream, without its line end.
    virtual void WriteLogLine(const wchar_t* text, std::size_t length) = 0;

    /// The process ended by itself with this exit code (128 + the signal's number when a signal ended it).
    virtual void OnCompleted(std::uint32_t exitCode) = 0;

    /// The call was cancelled, and the process ended.
    virtual void OnCancelled() = 0;

    /// The process could not be started or followed. what() is UTF-8.
    virtual void OnError(const std::exception& error) = 0;
};

} // namespace qxmi
