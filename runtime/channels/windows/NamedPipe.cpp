#include "runtime/channels/NamedPipe.h"

#include "runtime/channels/windows/OverlappedOperation.h"
#include "runtime/text/CheckedIntCast.h"
#include "runtime/text/Errors.h"
#include "runtime/threads/Thread.h"
#include "runtime/threads/windows/Handle.h"

#include <algorithm>
#include <cstdint>
#include <cwchar>
#include <iterator>
#include <limits>

// Our end is overlapped: a wait that can be interrupted stands between the start of an operation and its end. A pipe
// without a name cannot be overlapped, so each pair has a name.

namespace qpr
{

namespace
{

/// Unique: no other pair is at this address, and the thread makes one pipe at a time.
std::wstring PipeName(const PipePair* pair)
{
    wchar_t name[100];
    std::swprintf(name, std::size(name), L"\\\\.\\pipe\\FerndelPipes.%lu.%lu.0x%016llX", GetCurrentProcessId(),
        GetCurrentThreadId(), static_cast<unsigned long long>(reinterpret_cast<std::uintptr_t>(pair)));
    return name;
}

DWORD ModeOf(PipePair::End end) noexcept
{
    return end == PipePair::End::Ours ? FILE_FLAG_OVERLAPPED : 0;
}

PipeEnd CreateServerEnd(const std::wstring& name, DWORD mode)
{
    const HANDLE handle = CreateNamedPipeW(
        name.c_str(), PIPE_ACCESS_INBOUND | mode, PIPE_TYPE_BYTE | PIPE_READMODE_BYTE | PIPE_WAIT, 1, 0, 0, 0, nullptr);
    if (handle == INVALID_HANDLE_VALUE)
        ThrowSystemError(L"CreateNamedPipe() failed", L"qpr::ServerPipeEnd::ServerPipeEnd", 173);
    return PipeEnd(NativeHandleOf(handle));
}

PipeEnd OpenClientEnd(const std::wstring& name, DWORD mode)
{
    const HANDLE handle =
        CreateFileW(name.c_str(), GENERIC_WRITE | FILE_READ_ATTRIBUTES, 0, nullptr, OPEN_EXISTING, mode, nullptr);
    if (handle == INVALID_HANDLE_VALUE)
        ThrowSystemError(L"CreateFile('" + name + L"') failed", L"qpr::ClientPipeEnd::ClientPipeEnd", 209);
    return PipeEnd(NativeHandleOf(handle));
}

/// The writer has closed its end, or the file is over.
bool IsEndOfData(DWORD error) noexcept
{
    return error == ERROR_BROKEN_PIPE || error == ERROR_HANDLE_EOF;
}

} // namespace

PipePair::PipePair(End serverEnd, End clientEnd)
{
    const std::wstring name = PipeName(this);
    server = CreateServerEnd(name, ModeOf(serverEnd));
    client = OpenClientEnd(name, ModeOf(clientEnd));
}

std::size_t IOReader::Read(void* buffer, std::size_t size)
{
    m_wait.Check();
    const HANDLE handle = SystemHandleOf(m_handle);
    const auto wanted = static_cast<DWORD>(std::min<std::size_t>(size, std::numeric_limits<DWORD>::max()));
    OverlappedOperation operation(m_ended);
    for (;;)
    {
        DWORD count = 0;
        bool isDone = ReadFile(handle, buffer, wanted, &count, operation.Begin());
        if (!isDone && GetLastError() == ERROR_IO_PENDING)
        {
            const auto wait = [&] { m_wait.For(operation.Object(), L"qpr::IOReader::Read"); };
            operation.WaitForEnd(handle, wait, "qpr::IOReader::Read", __LINE__);
            isDone = operation.TakeResult(handle, count);
        }
        if (!isDone && IsEndOfData(GetLastError()))
            return 0;
        if (!isDone)
            ThrowSystemError(L"ReadFile/GetOverlappedResult() failed", L"qpr::IOReader::Read");
        if (count > 0 || wanted == 0)
            return count; // 0 bytes: a writer wrote nothing, which is not the end
    }
}

bool PipeReader::InputPending()
{
    CheckWait();
    DWORD available = 0;
    if (PeekNamedPipe(SystemHandleOf(m_handle), nullptr, 0, nullptr, &available, nullptr))
        return available > 0;
    if (GetLastError() != ERROR_BROKEN_PIPE)
        ThrowSystemError(L"PeekNamedPipe() failed", L"qpr::PipeReader::InputPending", 265);
    return true;
}

std::size_t PipeReader::Available() const noexcept
{
    DWORD available = 0;
    return PeekNamedPipe(SystemHandleOf(m_handle), nullptr, 0, nullptr, &available, nullptr) ? available : 0;
}

namespace
{

[[noreturn]] void ThrowWriteError(DWORD error)
{
    const wchar_t* const text = L"WriteFile/GetOverlappedResult() failed";
    if (error == ERROR_NO_DATA || error == ERROR_BROKEN_PIPE)
        throw PeerClosedError(SystemErrorMessage(text, L"qpr::IOWriter::Write", 65, error));
    ThrowSystemErrorWithNumber(text, L"qpr::IOWriter::Write", error, 65);
}

/// Throws unless the pipe takes all of it.
void WritePiece(HANDLE handle, const void* buffer, std::uint32_t size, OverlappedOperation& operation, const Wait& wait)
{
    const auto requireAll = [size](const wchar_t* call, DWORD count)
    {
        if (count != size)
            throw RuntimeError(L"Incomplete " + std::wstring(call) + L": " + std::to_wstring(size) + L" requested, "
                + std::to_wstring(count) + L" written");
    };

    DWORD count = 0;
    if (WriteFile(handle, buffer, size, &count, operation.Begin()))
        return requireAll(L"WriteFile()", count);
    if (GetLastError() == ERROR_IO_PENDING)
    {
        const auto waitForIt = [&] { wait.For(operation.Object(), L"qpr::IOWriter::Write"); };
        operation.WaitForEnd(handle, waitForIt, "qpr::IOWriter::Write", 48);
        if (operation.TakeResult(handle, count))
            return requireAll(L"GetOverlappedResult() after WriteFile()", count);
    }
    ThrowWriteError(GetLastError());
}

} // namespace

void IOWriter::Write(const void* buffer, std::size_t size)
{
    const auto* next = static_cast<const char*>(buffer);
    m_wait.Check();
    OverlappedOperation operation(m_ended);
    // An empty buffer is not written: a reader would take it for the end of the data.
    for (auto left = CheckedIntCast<std::uint32_t>(size); left != 0;)
    {
        const DWORD piece = PieceSize(left);
        WritePiece(SystemHandleOf(m_handle), next, piece, operation, m_wait);
        Thread::CheckInterrupt();
        next += piece;
        left -= piece;
    }
}

} // namespace qpr
