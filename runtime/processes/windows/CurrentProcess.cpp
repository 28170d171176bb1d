#include "runtime/processes/CurrentProcess.h"

#include "runtime/text/Errors.h"
#include "runtime/text/Utf8.h"
#include "runtime/threads/windows/Handle.h"

#include <iterator>
#include <memory>

#include <lmcons.h>
#include <shellapi.h>

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
    return std::size_t(1) << 24; // the most handles that a process may have; memory ends before
}

} // namespace qpr::CurrentProcess

namespace qpr
{

std::optional<std::wstring> EnvironmentVariable(std::wstring_view name)
{
    const std::wstring terminated(name);
    std::wstring value(256, L'\0');
    for (;;)
    {
        SetLastError(ERROR_SUCCESS);
        const DWORD length =
            GetEnvironmentVariableW(terminated.c_str(), value.data(), static_cast<DWORD>(value.size()));
        if (length == 0 && GetLastError() != ERROR_SUCCESS)
            return std::nullopt;
        const bool fits = length < value.size();
        value.resize(length); // includes the terminator when it does not fit
        if (fits)
            return value;
    }
}

std::vector<std::string> ProgramArguments(int argc, char** argv)
{
    // The arguments of main have lost the characters that the system's 8-bit character set lacks.
    int count = 0;
    const std::unique_ptr<wchar_t*, decltype(&LocalFree)> words(
        CommandLineToArgvW(GetCommandLineW(), &count), &LocalFree);
    if (!words)
        return std::vector<std::string>(argv, argv + argc);
    std::vector<std::string> arguments;
    for (int i = 0; i < count; ++i)
        arguments.push_back(ToUtf8(words.get()[i]));
    return arguments;
}

void ResetInheritedSignals() noexcept
{
    // Exit codes are always kept here.
}

bool IsProcessRunning(std::uint32_t id) noexcept
{
    const SystemHandle<"qpr::IsProcessRunning"> process(NativeHandleOf(OpenProcess(SYNCHRONIZE, FALSE, id)));
    if (!process.IsValid())
        return GetLastError() == ERROR_ACCESS_DENIED;
    return WaitForSingleObject(SystemHandleOf(process), 0) == WAIT_TIMEOUT;
}

} // namespace qpr
