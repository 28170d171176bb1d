#include "runtime/channels/StandardStreams.h"

#include "runtime/text/Errors.h"
#include "runtime/threads/Thread.h"
#include "runtime/threads/windows/Handle.h"
#include "runtime/threads/windows/InterruptState.h"

#include <cstdio>
#include <cstdlib>

#include <fcntl.h>
#include <io.h>

// The handles that we are started with are not overlapped: reads and writes wait in the system call, and an interrupt
// cancels that call.

namespace qpr
{

namespace
{

/// Restored at the end: the console outlives the program, and others that share it expect their code page.
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

/// Of a call that may have been cancelled by an interrupt.
[[noreturn]] void ThrowFailure(const wchar_t* text, const wchar_t* function, DWORD error)
{
    if (error == ERROR_OPERATION_ABORTED)
        Thread::CheckInterrupt();
    ThrowSystemErrorWithNumber(text, function, error);
}

} // namespace

void ReserveStandardStreams()
{
    // A file never takes a standard stream's place here. The C library's streams too must pass bytes as they are.
    for (FILE* const stream : {stdin, stdout, stderr})
        _setmode(_fileno(stream), _O_BINARY);
    SetErrorMode(GetErrorMode() | SEM_NOGPFAULTERRORBOX); // a crash ends the program without a box to click
    DWORD mode = 0;
    if (GetConsoleMode(GetStdHandle(STD_OUTPUT_HANDLE), &mode))
        UseUtf8UntilTheEnd();
}

NativeHandle HandleOf(StandardStream stream) noexcept
{
    constexpr DWORD numbers[] = {STD_INPUT_HANDLE, STD_OUTPUT_HANDLE, STD_ERROR_HANDLE};
    return NativeHandleOf(GetStdHandle(numbers[static_cast<int>(stream)]));
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
    ThrowFailure(L"ReadFile() failed", L"qpr::StandardInput::Read", error);
}

bool StandardInput::InputPending()
{
    Thread::CheckInterrupt();
    const HANDLE handle = InputHandle();
    if (GetFileType(handle) != FILE_TYPE_PIPE)
        return WaitForSingleObject(handle, 0) == WAIT_OBJECT_0; // a file is always signalled
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
            ThrowFailure(L"WriteFile() failed", L"qpr::StandardOutput::Write", GetLastError());
        next += count;
        left -= count;
    }
}

} // namespace qpr
