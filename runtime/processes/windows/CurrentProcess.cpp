#include "runtime/processes/CurrentProcess.h"

#include "runtime/text/Errors.h"
#include "runtime/text/windows/SystemHeaders.h"

#include <iterator>

#include <lmcons.h>

namespace qpr::CurrentProcess
{

std::wstring GetExecutablePath()
{
    std::wstring path(MAX_PATH, L'\0');
    for (;;)
    {
        const DWORD length = GetModuleFileNameW(nullptr, path.data(), static_cast<DWORD>(path.size()));
        if (length == 0)
            ThrowSystemError(L"GetModuleFileName() failed", L"qpr::CurrentProcess::GetExecutablePath");
        if (length < path.size())
        {
            path.resize(length);
            return path;
        }
        path.resize(path.size() * 2);
    }
}

std::uint32_t GetId() noexcept
{
    return GetCurrentProcessId();
}

std::wstring GetUserName()
{
    wchar_t name[UNLEN + 1];
    DWORD size = std::size(name);
    return GetUserNameW(name, &size) ? std::wstring(name) : std::wstring();
}

std::size_t RaiseDescriptorLimit() noexcept
{
    return std::size_t(1) << 24; // what a process may have of handles; memory ends before
}

} // namespace qpr::CurrentProcess

bool qpr::IsProcessRunning(std::uint32_t id) noexcept
{
    const HANDLE process = OpenProcess(SYNCHRONIZE, FALSE, id);
    if (!process)
        return GetLastError() == ERROR_ACCESS_DENIED;
    const bool isRunning = WaitForSingleObject(process, 0) == WAIT_TIMEOUT;
    CloseHandle(process);
    return isRunning;
}
