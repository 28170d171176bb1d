#include "runtime/channels/StandardStreams.h"

#include "runtime/text/Errors.h"
#include "runtime/threads/Thread.h"
#include "runtime/threads/windows/Handle.h"
#include "runtime/threads/windows/InterruptState.h"

#include <cstdio>
#include <cstdlib>

#include <fcntl.h>
#include <io.h>

// Whoever started us has given us handles that are not overlapped, so that reads and writes wait in the system call; an
// interrupt cancels that call.
namespace qpr
{

namespace
{

DWORD StreamNumber(StandardStream stream) noexcept
{
    switch (stream)
    {
    case StandardStream::Input:
        return STD_INPUT_HANDLE;
    case StandardStream::Output:
        return STD_OUTPUT_HANDLE;
    case StandardStream::Error:
        break;
    }
    return STD_ERROR_HANDLE;
}

/// The console outlives the program, and others that share it expect its own code page.
void UseUtf8UntilTheEnd() noexcept
{
    static const UINT former = GetConsoleOutputCP();
    SetConsoleOutputCP(CP_UTF8);
    std::atexit([] { SetConsoleOutputCP(former); });
}

HANDLE InputHandle() noexcept
{
    return GetStdHandle(STD_INPUT_HANDLE);
}

} // namespace

void ReserveStandardStreams()
{
    // A file never takes a standard stream's place here; but the C library's streams are to pass bytes as they are too.
    for (FILE* const stream : {stdin, stdout, stderr})
        _setmode(_fileno(stream), _O_BINARY);
    SetErrorMode(GetErrorMode() | SEM_NOGPFAULTERRORBOX); // a crash is to end the program, not to wait for a click
    DWORD mode = 0;
    if (GetConsoleMode(GetStdHandle(STD_OUTPUT_HANDLE), &mode))
        UseUtf8UntilTheEnd();
}

NativeHandle HandleOf(StandardStream stream) noexcept
{
    return NativeHandleOf(GetStdHandle(StreamNumber(stream)));
}

std::size_t StandardInput::Read(void* buffer, std::size_t size)
{
    const InterruptState::SynchronousCall call;
    Thread::CheckInterrupt();
    DWORD count = 0;
    if (ReadFile(InputHandle(), buffer, PieceSize(size), &count, nullptr))
        return count;
    const DWORD error = GetLastError();
    if (error == ERROR_BROKEN_PIPE || error == ERROR_HANDLE_EOF)
        return 0;
    if (error == ERROR_OPERATION_ABORTED)
        Thread::CheckInterrupt();
    ThrowSystemErrorWithNumber(L"ReadFile() failed", L"qpr::StandardInput::Read", error);
}

bool StandardInput::InputPending()
{
    Thread::CheckInterrupt();
    const HANDLE handle = InputHandle();
    if (GetFileType(handle) != FILE_TYPE_PIPE)
        return WaitForSingleObject(handle, 0) == WAIT_OBJECT_0; // so of a file, always
    DWORD available = 0;
    return !PeekNamedPipe(handle, nullptr, 0, nullptr, &available, nullptr) || available > 0;
}

struct StandardOutput::State
{
    HANDLE handle = GetStdHandle(STD_OUTPUT_HANDLE); // not owned
};

StandardOutput::StandardOutput()
    : m_state(std::make_unique<State>())
{
}

StandardOutput::~StandardOutput() = default;

void StandardOutput::Write(const void* buffer, std::size_t size)
{
    const auto* next = static_cast<const char*>(buffer);
    for (std::size_t left = size; left > 0;)
    {
        const InterruptState::SynchronousCall call;
        Thread::CheckInterrupt();
        DWORD count = 0;
        if (!WriteFile(m_state->handle, next, PieceSize(left), &count, nullptr))
        {
            const DWORD error = GetLastError();
            if (error == ERROR_OPERATION_ABORTED)
                Thread::CheckInterrupt();
            ThrowSystemErrorWithNumber(L"WriteFile() failed", L"qpr::StandardOutput::Write", error);
        }
        next += count;
        left -= count;
    }
}

} // namespace qpr
